#include "imaging/OutsideValues.h"

#include <opencv2/core.hpp>
#include <opencv2/core/hal/intrin.hpp>

#include <algorithm>

namespace Imaging {

void OutsideValues::add(const cv::Vec4f* pixels, int count)
{
    const auto zero = cv::v_setzero_f32();
    const auto one = cv::v_setall_f32(1);
    auto smallest = cv::v_load(m_smallest.val);
    auto largest = cv::v_load(m_largest.val);
    auto least = cv::v_setall_f32(m_leastAlpha);
    auto inside = cv::v_setzero_s32();
    for (const auto* const end = pixels + count; pixels != end; ++pixels) {
        const auto values = cv::v_load(pixels->val);
        // What is true has all bits set, which is -1.
        inside = inside - cv::v_reinterpret_as_s32((values >= zero) & (values <= one));
        const auto numbers = cv::v_select(values == values, values, zero);
        smallest = cv::v_min(smallest, numbers);
        largest = cv::v_max(largest, numbers);
        least = cv::v_min(least, numbers);
    }
    cv::v_store(m_smallest.val, smallest);
    cv::v_store(m_largest.val, largest);
    std::array<float, 4> leastOfChannels;
    cv::v_store(leastOfChannels.data(), least);
    m_leastAlpha = leastOfChannels[3];
    std::array<int, 4> insideCounts;
    cv::v_store(insideCounts.data(), inside);
    for (std::size_t channel = 0; channel < m_counts.size(); ++channel)
        m_counts[channel] += static_cast<std::uint64_t>(count - insideCounts[channel]);
}

void OutsideValues::add(const OutsideValues& others)
{
    for (int channel = 0; channel < 4; ++channel) {
        m_counts[static_cast<std::size_t>(channel)] += others.count(channel);
        m_smallest[channel] = std::min(m_smallest[channel], others.smallest(channel));
        m_largest[channel] = std::max(m_largest[channel], others.largest(channel));
    }
    m_leastAlpha = std::min(m_leastAlpha, others.m_leastAlpha);
}

}
