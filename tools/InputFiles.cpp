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

std::optional<int> wholeNumber(std::string_view digits)
{
    int number = 0;
    const auto* const end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, number);
    return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

bool isDigit(char letter)
{
    return '0' <= letter && letter <= '9';
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
    const auto digits = *match[0].first == '#' ? static_cast<std::size_t>(match.length())
                        : match[2].matched     ? static_cast<std::size_t>(*match[2].first - '0')
                                               : 1;
    return FramePattern({path.begin(), match[0].first}, digits, {match[0].second, path.end()});
}

std::string FramePattern::fileName(int frame) const
{
    auto number = std::to_string(frame);
    if (number.size() < m_digits)
        number.insert(0, m_digits - number.size(), '0');
    return m_before + number + m_after;
}

std::vector<int> FramePattern::framesOnDisk() const
{
    auto folder = std::filesystem::path(m_before).parent_path();
    if (folder.empty())
        folder = ".";
    std::vector<int> frames;
    if (std::error_code isMissing; !std::filesystem::exists(folder, isMissing) && !isMissing)
        return frames;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        if (const auto frame = frameOf(entry.path().filename().native()))
            frames.push_back(*frame);
    std::ranges::sort(frames);
    return frames;
}

std::optional<int> FramePattern::frameOf(std::string_view name) const
{
    const auto before = std::filesystem::path(m_before).filename().native();
    if (name.size() < before.size() + m_digits + m_after.size() || !name.starts_with(before) ||
        !name.ends_with(m_after))
        return std::nullopt;
    const auto digits = name.substr(before.size(), name.size() - before.size() - m_after.size());
    const auto frame = std::ranges::all_of(digits, isDigit) ? wholeNumber(digits) : std::nullopt;
    const bool isTooLong = digits.size() > m_digits && digits.front() == '0';
    return isTooLong ? std::nullopt : frame;
}

std::optional<int> frameNumberIn(const std::string& path)
{
    const auto name = std::filesystem::path(path).stem().native();
    const auto end = std::find_if(name.rbegin(), name.rend(), isDigit).base();
    const auto begin =
        std::find_if_not(std::make_reverse_iterator(end), name.rend(), isDigit).base();
    return begin == end ? std::nullopt : wholeNumber({begin, end});
}

namespace {

constexpr int largestCount = 1'000'000;

// Takes what it understands off the front of the text.
class RangeText
{
public:
    explicit RangeText(std::string_view text) : m_rest(text), m_whole(text) {}

    int number()
    {
        int value = 0;
        const auto [end, error] =
            std::from_chars(m_rest.data(), m_rest.data() + m_rest.size(), value);
        if (error != std::errc() || value < 0)
            fail();
        m_rest.remove_prefix(static_cast<std::size_t>(end - m_rest.data()));
        return value;
    }

    bool take(char letter)
    {
        if (m_rest.empty() || m_rest.front() != letter)
            return false;
        m_rest.remove_prefix(1);
        return true;
    }

    bool atEnd() const { return m_rest.empty(); }

    [[noreturn]] void fail() const
    {
        throw UsageError("--frames: " + std::string(m_whole) +
                         " is no list of frames like 1-100x2,200");
    }

private:
    std::string_view m_rest;
    std::string_view m_whole;
};

}

std::vector<int> parseFrames(const std::string& text)
{
    std::set<int> frames;
    RangeText rest(text);
    do {
        const int first = rest.number();
        const int last = rest.take('-') ? rest.number() : first;
        const int step = rest.take('x') ? rest.number() : 1;
        if (last < first || step < 1)
            rest.fail();
        if ((std::int64_t{last} - first) / step + 1 + std::ssize(frames) > largestCount)
            throw UsageError("--frames: more than " + std::to_string(largestCount) + " frames");
        for (std::int64_t frame = first; frame <= last; frame += step)
            frames.insert(static_cast<int>(frame));
    } while (rest.take(','));
    if (!rest.atEnd())
        rest.fail();
    return {frames.begin(), frames.end()};
}

namespace {

namespace fs = std::filesystem;

// A file that bears the very name comes before the sequence that it might stand for.
std::optional<FramePattern> patternOf(const std::string& name)
{
    return exists(name) ? std::nullopt : FramePattern::parse(name);
}

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

void append(std::vector<InputFile>& files, std::vector<InputFile> more)
{
    std::ranges::move(more, std::back_inserter(files));
}

// What bears the name of a media file is one, though it may be a link to nothing or a pipe: it is
// the reader who says what is wrong with it. Links to folders are not followed.
void appendEntries(std::vector<fs::path> folders, std::vector<InputFile>& files)
{
    while (!folders.empty()) {
        const auto folder = folders.back();
        folders.pop_back();
        std::error_code error;
        fs::directory_iterator entry(folder, error);
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
            files.push_back({folder, {}, error.message()});
    }
}

}

std::vector<InputFile> inputFiles(const std::vector<std::string>& names, const std::string& frames)
{
    const auto wanted = frames.empty() ? std::nullopt : std::optional(parseFrames(frames));
    std::vector<InputFile> files;
    for (const auto& name : names) {
        if (name.empty())
            files.push_back({"''", {}, "no file has an empty name"});
        else if (const auto pattern = patternOf(name))
            append(files, framesOf(*pattern, name, wanted));
        else if (wanted)
            throw UsageError("--frames: " + name + " has no place for the frame's number");
        else
            files.push_back({name, frameNumberIn(name)});
    }
    return files;
}

std::vector<InputFile> mediaFilesIn(const std::string& folder)
{
    std::vector<InputFile> files;
    appendEntries({folder}, files);
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
