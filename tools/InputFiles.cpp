#include "tools/InputFiles.h"

#include "tools/Files.h"
#include "tools/Report.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <iterator>
#include <regex>
#include <set>
#include <stdexcept>
#include <string_view>

namespace Zeq {

namespace {

namespace fs = std::filesystem;

constexpr auto allDigits = "0123456789";
constexpr int largestCount = 1'000'000;

// Gives nothing for what is no number, has a sign or is too large.
std::optional<int> wholeNumber(std::string_view text)
{
    int number = 0;
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool isWhole =
        error == std::errc() && text.find_first_not_of(allDigits) == std::string_view::npos;
    return isWhole ? std::optional(number) : std::nullopt;
}

// The number in a file's name, without its folder, that the pattern gives for it.
std::optional<int> frameOf(const FramePattern& pattern, std::string_view name)
{
    const auto before = fs::path(pattern.before).filename().native();
    if (name.size() < before.size() + pattern.digits + pattern.after.size() ||
        !name.starts_with(before) || !name.ends_with(pattern.after))
        return std::nullopt;
    name.remove_prefix(before.size());
    name.remove_suffix(pattern.after.size());
    const bool isTooLong = name.size() > pattern.digits && name.front() == '0';
    return isTooLong ? std::nullopt : wholeNumber(name);
}

}

std::optional<FramePattern> FramePattern::parse(const std::string& path)
{
    static const std::regex signs("#+|%(0([1-9]))?d");
    const auto name = path.begin() + static_cast<std::ptrdiff_t>(path.rfind('/') + 1);
    std::smatch match;
    if (!std::regex_search(name, path.end(), match, signs))
        return std::nullopt;
    if (std::regex_search(match[0].second, path.end(), signs))
        throw UsageError(path + " has two places for the frame's number");
    const auto digitCount = *match[0].first == '#' ? static_cast<std::size_t>(match.length())
                            : match[2].matched     ? static_cast<std::size_t>(*match[2].first - '0')
                                                   : 1;
    return FramePattern{{path.begin(), match[0].first}, digitCount, match.suffix()};
}

std::string FramePattern::fileName(int frame) const
{
    const auto number = std::to_string(frame);
    return before + std::string(digits - std::min(digits, number.size()), '0') + number + after;
}

std::vector<int> FramePattern::framesOnDisk() const
{
    auto folder = fs::path(before).parent_path();
    if (folder.empty())
        folder = ".";
    std::vector<int> frames;
    if (std::error_code isMissing; !fs::exists(folder, isMissing) && !isMissing)
        return frames;
    for (const auto& entry : fs::directory_iterator(folder))
        if (const auto frame = frameOf(*this, entry.path().filename().native()))
            frames.push_back(*frame);
    std::ranges::sort(frames);
    return frames;
}

std::optional<FramePattern> sequenceOf(const std::string& name)
{
    return exists(name) ? std::nullopt : FramePattern::parse(name);
}

std::optional<int> frameNumberIn(const std::string& path)
{
    const auto name = fs::path(path).stem().native();
    const auto last = name.find_last_of(allDigits);
    const auto first = name.find_last_not_of(allDigits, last) + 1;  // 0 where there is none
    return last == std::string::npos ? std::nullopt
                                     : wholeNumber(name.substr(first, last - first + 1));
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
        if (error != std::errc() || value < 0)
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
        const int step = take('x') ? number() : 1;
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

// The pattern's frames, those that were asked for or all on the disk.
std::vector<InputFile> framesOf(const FramePattern& pattern, const std::string& name,
                                const std::optional<std::vector<int>>& wanted)
try {
    std::vector<InputFile> files;
    for (const int frame : wanted ? *wanted : pattern.framesOnDisk())
        files.push_back({pattern.fileName(frame), frame});
    if (std::ranges::none_of(files, exists, &InputFile::name))
        return {{name, {}, "no frames found"}};
    return files;
} catch (const fs::filesystem_error& error) {
    return {{name, {}, error.code().message()}};
}

}

std::vector<InputFile> inputFiles(const std::vector<std::string>& names, const std::string& frames)
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
        else
            files.push_back({name, frameNumberIn(name)});
    }
    return files;
}

std::string Gap::text() const
{
    return count == 1
               ? first + ": is missing"
               : first + " to " + last + ": " + std::to_string(count) + " frames are missing";
}

Gap gapBetween(const FramePattern& sequence, int frame, int next)
{
    if (next - frame < 2)
        return {};
    return {sequence.fileName(frame + 1), sequence.fileName(next - 1),
            static_cast<std::size_t>(next - frame - 1)};
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

// What bears the name of a media file is one, though it may be a link to nothing or a pipe: it is
// the reader who says what is wrong with it. Links to folders are not followed.
std::vector<InputFile> mediaFilesIn(const std::string& folder)
{
    std::vector<InputFile> files;
    std::vector<fs::path> folders{folder};
    while (!folders.empty()) {
        const auto current = folders.back();
        folders.pop_back();
        std::error_code error;
        fs::directory_iterator entry(current, error);
        for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
            std::error_code problem;
            const auto kind = entry->status(problem).type();
            if (kind == fs::file_type::none)
                files.push_back({entry->path(), {}, problem.message()});
            else if (kind != fs::file_type::directory && extensionOf(entry->path()) == "zeq")
                files.push_back({entry->path(), {}});
            else if (kind == fs::file_type::directory && !entry->is_symlink(problem))
                folders.push_back(entry->path());
        }
        if (error)
            files.push_back({current, {}, error.message()});
    }
    std::ranges::sort(files, {}, &InputFile::name);
    if (files.empty())
        files.push_back({folder, {}, "no media files found"});
    return files;
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
