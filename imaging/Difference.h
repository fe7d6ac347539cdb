#pragma once

#include "imaging/Picture.h"

#include <opencv2/core/mat.hpp>

#include <array>
#include <cstddef>
#include <cstdint>

namespace Imaging {

// How far the samples of one channel, or of all, are from those of another picture. A sample that
// is infinite or no number on one side only is infinitely far.
struct Deviation
{
    std::uint64_t samples = 0;
    double largest = 0;
    double sum = 0;      // of all
    double squares = 0;  // their sum
    double peak = 1;     // the largest finite sample on either side, at least 1

    double mean() const;
    double rootMeanSquare() const;

    // The signal-to-noise ratio in decibels: that of the peak to the root mean square. It is
    // infinite for samples that are the same.
    double peakSignalToNoise() const;

    void add(double deviation, double sample, double otherSample);
    void add(const Deviation& deviation);
};

// A pixel with both its values, the channels in the order of those of a Difference.
struct WorstPixel
{
    cv::Point position;
    std::size_t channel = 0;
    cv::Vec4f value;
    cv::Vec4f otherValue;
};

// How far a picture is from another of the same size.
struct Difference
{
    cv::Size size;
    std::size_t channelCount = 0;         // 3 where neither picture has alpha
    std::array<Deviation, 4> ofChannels;  // red, green, blue and alpha
    WorstPixel worst;                     // the first, of several; none where nothing differs

    Deviation ofAll() const;
};

inline constexpr std::array channelNames = {"red", "green", "blue", "alpha"};

// A picture that has no alpha is opaque where the other has it. Throws a std::runtime_error when
// the sizes differ.
Difference differenceOf(const Picture& picture, const Picture& other);

// For each pixel the largest deviation of its channels, in float.
cv::Mat largestDeviations(const Picture& picture, const Picture& other);

}
