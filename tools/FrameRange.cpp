#include "tools/FrameRange.h"

#include "tools/Command.h"

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <set>
#include <string_view>

namespace Zeq {

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

}
