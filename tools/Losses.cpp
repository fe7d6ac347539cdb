#include "tools/Losses.h"

#include "imaging/ChannelNames.h"
#include "tools/Report.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <functional>
#include <vector>

namespace Zeq {

namespace {

// How much of the samples, so that some are never none.
std::string percentage(std::uint64_t count, std::uint64_t total)
{
    const double percent = 100 * static_cast<double>(count) / static_cast<double>(total);
    if (percent < 0.1)
        return "less than 0.1 %";
    const double tenths = std::min(std::round(percent * 10), count == total ? 1000.0 : 999.0);
    return Zeq::text(tenths / 10) + " %";
}

// The one of these channels whose value lies furthest, with its name.
template <class Value, class IsFurther>
std::string furthest(const std::vector<int>& channels, const Value& value, const IsFurther& further)
{
    constexpr std::array names = {"blue", "green", "red", "alpha"};
    const int channel = *std::ranges::max_element(
        channels, [&](int a, int b) { return further(value(b), value(a)); });
    return Zeq::text(value(channel)) + " in " + names[static_cast<std::size_t>(channel)];
}

}

std::string cutOffText(const Imaging::OutsideValues& outside, std::uint64_t pixelCount,
                       bool hasAlpha)
{
    const std::vector<int> channels = hasAlpha ? std::vector{2, 1, 0, 3} : std::vector{2, 1, 0};
    std::uint64_t count = 0;
    for (const int channel : channels)
        count += outside.count(channel);
    if (count == 0)
        return {};
    const auto largest = [&](int channel) { return outside.largest(channel); };
    const auto smallest = [&](int channel) { return outside.smallest(channel); };
    const bool isAbove = std::ranges::any_of(channels, [&](int each) { return largest(each) > 1; });
    const bool isBelow =
        std::ranges::any_of(channels, [&](int each) { return smallest(each) < 0; });
    const auto total = pixelCount * channels.size();
    auto text = percentage(count, total) + " of the samples were ";
    if (!isAbove && !isBelow)
        return text + "no numbers and became 0";
    text += "cut off at 0 and 1";
    if (isAbove)
        text += ", up to " + furthest(channels, largest, std::greater());
    if (isBelow)
        text += ", down to " + furthest(channels, smallest, std::less());
    return text;
}

std::string lossText(const IOpenFile& file, bool holdsAlpha, bool isFloat)
{
    const auto& facts = file.facts();
    std::vector<std::string> losses;
    if (!isFloat)
        losses.push_back(cutOffText(file.outside(), static_cast<std::uint64_t>(facts.size.area()),
                                    facts.hasAlpha && holdsAlpha));
    if (facts.hasAlpha && !holdsAlpha && !file.outside().areOpaque())
        losses.emplace_back("alpha was dropped");
    if (!facts.leftOut.empty())
        losses.push_back("left out: " + Imaging::listedNames(facts.leftOut));
    std::string text;
    for (const auto& loss : losses)
        if (!loss.empty())
            text += (text.empty() ? "" : "; ") + loss;
    return text.empty() ? "" : text + acceptanceText;
}

}
