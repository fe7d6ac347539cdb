#include "tools/FramePattern.h"

#include "tools/Command.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <regex>

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

}
