#include "tools/FramePattern.h"

#include "MediaConversion/Errors.h"
#include "tools/Files.h"
#include "tools/Report.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstddef>
#include <filesystem>
#include <iterator>
#include <regex>
#include <string_view>
#include <system_error>
#include <utility>

namespace Zeq {

namespace {

namespace fs = std::filesystem;

constexpr auto allDigits = "0123456789";

// A number may be negative where its sign cannot be a hyphen between words: "shot.-005.zeq".
bool isSignAfter(std::string_view before)
{
    return before.empty() || before.ends_with('.') || before.ends_with('_');
}

// Gives nothing for what is no number or is too large.
std::optional<int> wholeNumber(std::string_view text)
{
    int number = 0;
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool isWhole = error == std::errc() && stop == text.data() + text.size();
    return isWhole ? std::optional(number) : std::nullopt;
}

// What stands between the two in a file's name, without its folder.
std::optional<std::string_view> middleOf(const FramePattern& pattern, std::string_view name)
{
    const auto before = fs::path(pattern.before).filename().native();
    if (name.size() <= before.size() + pattern.after.size() || !name.starts_with(before) ||
        !name.ends_with(pattern.after))
        return std::nullopt;
    name.remove_prefix(before.size());
    name.remove_suffix(pattern.after.size());
    return name;
}

// The number that the pattern gives the name of.
std::optional<int> frameOf(const FramePattern& pattern, std::string_view name)
{
    const auto middle = middleOf(pattern, name);
    const auto frame = middle ? wholeNumber(*middle) : std::nullopt;
    if (!frame || *middle != pattern.number(*frame))
        return std::nullopt;
    const auto before = fs::path(pattern.before).filename().native();
    return *frame < 0 && !isSignAfter(before) ? std::nullopt : frame;
}

// As in an address, "a@b", where it is no sign.
bool isBetweenWords(const std::smatch& match)
{
    const auto isWord = [](unsigned char letter) { return std::isalnum(letter) != 0; };
    return match.str() == "@" && match.prefix().matched && match.suffix().matched &&
           isWord(*std::prev(match.prefix().second)) && isWord(*match.suffix().first);
}

// The names of what is in the pattern's folder, if there is one.
std::vector<std::string> namesBeside(const FramePattern& pattern)
{
    auto folder = fs::path(pattern.before).parent_path();
    if (folder.empty())
        folder = ".";
    std::vector<std::string> names;
    if (std::error_code isMissing; !fs::exists(folder, isMissing) && !isMissing)
        return names;
    for (const auto& entry : fs::directory_iterator(folder))
        names.push_back(entry.path().filename());
    return names;
}

}

std::optional<FramePattern> FramePattern::parse(const std::string& path)
{
    // "####" or "@@@@", "%04d" or "%d", "$F4" or "$F".
    static const std::regex signs(R"((#+|@+)|%(?:0([1-9]))?d|\$F(?:([1-9])|(?![A-Za-z0-9])))");
    const auto name = path.begin() + static_cast<std::ptrdiff_t>(path.rfind('/') + 1);
    std::optional<FramePattern> pattern;
    for (std::sregex_iterator sign(name, path.end(), signs); sign != std::sregex_iterator();
         ++sign) {
        const auto& match = *sign;
        if (isBetweenWords(match))
            continue;
        if (pattern)
            throw UsageError(path + " has two places for the frame's number");
        const auto width = match.str(2) + match.str(3);
        const auto digitCount = match[1].matched ? static_cast<std::size_t>(match[1].length())
                                : width.empty()  ? 1
                                                 : static_cast<std::size_t>(width.front() - '0');
        pattern = {{path.begin(), match[0].first}, digitCount, {match[0].second, path.end()}};
    }
    return pattern;
}

std::string FramePattern::fileName(int frame) const
{
    return before + number(frame) + after;
}

std::string FramePattern::number(int frame) const
{
    auto number = std::to_string(frame);
    const std::size_t signs = frame < 0;
    return number.insert(signs, digits - std::min(digits, number.size()), '0');
}

std::vector<int> FramePattern::framesOnDisk() const
{
    std::vector<int> frames;
    for (const auto& name : namesBeside(*this))
        if (const auto frame = frameOf(*this, name))
            frames.push_back(*frame);
    std::ranges::sort(frames);
    return frames;
}

std::string FramePattern::widthHint() const
{
    auto names = namesBeside(*this);
    std::erase_if(names, [&](const std::string& name) {
        const auto number = middleOf(*this, name);
        return !number || number->find_first_not_of(allDigits) != std::string_view::npos;
    });
    const auto shortest = std::ranges::min_element(
        names, {}, [](const std::string& name) { return std::pair(name.size(), name); });
    if (shortest == names.end())
        return {};
    const auto width = middleOf(*this, *shortest)->size();
    return MediaConversion::joined(*shortest, " has ", width, width == 1 ? " digit" : " digits",
                                   ": write ", std::string(width, '#'));
}

std::optional<FramePattern> sequenceOf(const std::string& name)
{
    return exists(name) ? std::nullopt : FramePattern::parse(name);
}

std::optional<int> frameNumberIn(const std::string& path)
{
    const auto name = fs::path(path).stem().native();
    const auto last = name.find_last_of(allDigits);
    auto first = name.find_last_not_of(allDigits, last) + 1;  // 0 where there is none
    if (first > 0 && name[first - 1] == '-' && isSignAfter({name.data(), first - 1}))
        --first;
    return last == std::string::npos ? std::nullopt
                                     : wholeNumber(name.substr(first, last - first + 1));
}

}
