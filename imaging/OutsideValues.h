#pragma once

#include <opencv2/core/matx.hpp>

#include <array>
#include <cstdint>
#include <limits>

namespace Imaging {

// What a file that holds values from 0 to 1 alone would lose of a picture: how many samples of each
// channel lie outside or are no numbers, and how far; and whether its alpha says anything.
class OutsideValues
{
public:
    // Adds pixels of blue, green, red and alpha.
    void add(const cv::Vec4f* pixels, int count);

    void add(const OutsideValues& others);

    std::uint64_t count(int channel) const { return m_counts[static_cast<std::size_t>(channel)]; }

    // At most 0 and at least 1, in that order.
    float smallest(int channel) const { return m_smallest[channel]; }
    float largest(int channel) const { return m_largest[channel]; }

    // Whether there were pixels, and the alpha of all was 1.
    bool areOpaque() const { return m_leastAlpha == 1 && m_largest[3] == 1; }

private:
    static constexpr float noAlphaYet = std::numeric_limits<float>::max();

    std::array<std::uint64_t, 4> m_counts{};
    cv::Vec4f m_smallest = cv::Vec4f::all(0);
    cv::Vec4f m_largest = cv::Vec4f::all(1);
    float m_leastAlpha = noAlphaYet;
};

}
