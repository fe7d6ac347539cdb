#include "tools/InputFiles.h"

#include "tools/Files.h"
#include "tools/PictureTypes.h"
#include "tools/Report.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <iterator>
#include <set>
#include <stdexcept>

namespace Zeq {

namespace {

namespace fs = std::filesystem;

constexpr int largestCount = 1'000'000;

}

std::vector<int> parseFrames(const std::string& text)
{
    const auto fail = [&] {
        throw UsageError("--frames: " + text + " is no list of frames like 1-100x2,200");
    };
    const char* rest = text.data();
    const char* const end = rest + text.size();
    const auto number = [&] {
        int value = 0;
        const auto [stop, error] = std::from_chars(rest, end, value);
        if (error != std::errc())
            fail();
        rest = stop;
        return value;
    };
    const auto take = [&](char letter) {
        const bool isNext = rest != end && *rest == letter;
        rest += isNext ? 1 : 0;
        return isNext;
    };
    std::set<int> frames;
    do {
        const int first = number();
        const int last = take('-') ? number() : first;
        const int step = take('x') || take(':') ? number() : 1;
        if (last < first || step < 1)
            fail();
        if ((std::int64_t{last} - first) / step + 1 + std::ssize(frames) > largestCount)
            throw UsageError("--frames: more than " + std::to_string(largestCount) + " frames");
        for (std::int64_t frame = first; frame <= last; frame += step)
            frames.insert(static_cast<int>(frame));
    } while (take(','));
    if (rest != end)
        fail();
    return {frames.begin(), frames.end()};
}

namespace {

std::string noFramesText(const FramePattern& pattern)
{
    const auto hint = pattern.widthHint();
    return hint.empty() ? "no frames found" : "no frames found; " + hint;
}

// The pattern's frames, those that were asked for or all on the disk.
std::vector<InputFile> framesOf(const FramePattern& pattern, const std::string& name,
                                const std::optional<std::vector<int>>& wanted)
try {
    std::vector<InputFile> files;
    for (const int frame : wanted ? *wanted : pattern.framesOnDisk())
        files.push_back({pattern.fileName(frame), frame});
    if (std::ranges::none_of(files, exists, &InputFile::name))
        return {{name, {}, noFramesText(pattern)}};
    return files;
} catch (const fs::filesystem_error& error) {
    return {{name, {}, error.code().message()}};
}

// What bears the name of a picture is one, though it may be a link to nothing or a pipe: it is the
// reader who says what is wrong with it. Links to folders are not followed.
std::vector<InputFile> filesIn(const std::string& folder, InFolders inFolders)
{
    const auto isMeant = [&](const fs::path& path) {
        const auto extension = extensionOf(path);
        return extension == "zeq" || (inFolders == InFolders::pictures && isPictureKind(extension));
    };
    std::vector<InputFile> files;
    const auto add = [&](const std::string& name, const std::string& problem = {}) {
        files.push_back({name, frameNumberIn(name), problem, folder});
    };
    std::vector<fs::path> folders{folder};
    while (!folders.empty()) {
        const auto current = folders.back();
        folders.pop_back();
        std::error_code error;
        fs::directory_iterator entry(current, error);
        for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
            const auto& path = entry->path();
            if (path.filename().native().starts_with('.'))
                continue;
            std::error_code problem;
            const auto kind = entry->status(problem).type();
            if (kind == fs::file_type::none)
                add(path, problem.message());
            else if (kind != fs::file_type::directory && isMeant(path))
                add(path);
            else if (kind == fs::file_type::directory && !entry->is_symlink(problem))
                folders.push_back(path);
        }
        if (error)
            add(current, error.message());
    }
    std::ranges::sort(files, {}, &InputFile::name);
    if (files.empty())
        add(folder,
            inFolders == InFolders::pictures ? "no pictures found" : "no media files found");
    return files;
}

}

std::vector<InputFile> inputFiles(const std::vector<std::string>& names, const std::string& frames,
                                  InFolders inFolders)
{
    const auto wanted = frames.empty() ? std::nullopt : std::optional(parseFrames(frames));
    std::vector<InputFile> files;
    for (const auto& name : names) {
        if (name.empty())
            files.push_back({"''", {}, "no file has an empty name"});
        else if (const auto pattern = sequenceOf(name))
            std::ranges::move(framesOf(*pattern, name, wanted), std::back_inserter(files));
        else if (wanted)
            throw UsageError("--frames: " + name + " has no place for the frame's number");
        else if (inFolders != InFolders::nothing && isFolderName(name))
            std::ranges::move(filesIn(name, inFolders), std::back_inserter(files));
        else
            files.push_back({name, frameNumberIn(name)});
    }
    return files;
}

Share Share::parse(const std::string& text)
{
    if (text.empty())
        return {};
    Share share;
    const char* const end = text.data() + text.size();
    const auto [slash, error] = std::from_chars(text.data(), end, share.number);
    const bool hasCount = error == std::errc() && slash != end && *slash == '/';
    const auto [stop, problem] = std::from_chars(hasCount ? slash + 1 : end, end, share.count);
    if (problem != std::errc() || stop != end || share.number < 1 || share.number > share.count)
        throw UsageError("--share: " + text + " is no share like 2/10, the second of 10");
    return share;
}

std::string Gap::text() const
{
    return count == 1
               ? first + ": is missing"
               : first + " to " + last + ": " + std::to_string(count) + " frames are missing";
}

Gap gapBetween(const FramePattern& sequence, int frame, int next)
{
    const auto distance = std::int64_t{next} - frame;
    if (distance < 2)
        return {};
    return {sequence.fileName(frame + 1), sequence.fileName(next - 1),
            static_cast<std::size_t>(distance - 1)};
}

// A folder that cannot be read is a problem of its own.
std::size_t reportGaps(const std::vector<std::string>& names, const std::string& frames)
{
    std::size_t count = 0;
    for (const auto& name : names) {
        const auto sequence = frames.empty() ? sequenceOf(name) : std::nullopt;
        if (!sequence)
            continue;
        const auto files = framesOf(*sequence, name, std::nullopt);
        for (std::size_t index = 1; index < files.size(); ++index)
            if (const auto gap =
                    gapBetween(*sequence, *files[index - 1].frame, *files[index].frame);
                gap.count) {
                reportError(gap.text());
                count += gap.count;
            }
    }
    return count;
}

void throwProblem(const InputFile& file)
{
    if (!file.problem.empty())
        throw std::runtime_error(file.problem);
}

std::size_t forEachFile(const std::vector<InputFile>& files,
                        const std::function<void(const std::string& name)>& operation)
{
    std::size_t failures = 0;
    for (const auto& file : files) {
        try {
            throwProblem(file);
            operation(file.name);
        } catch (const std::exception& error) {
            reportError(file.name + ": " + messageOf(error));
            ++failures;
        }
    }
    return failures;
}

}
