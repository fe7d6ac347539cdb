#pragma once

#include "imaging/Picture.h"

#include <opencv2/core/matx.hpp>

#include <cstddef>
#include <vector>

// Rows of samples as files have them, and as floats. Whole numbers stand for 0 to 1, and those of
// 10 and 12 bits fill 16 as OpenImageIO wants it: their upper bits stand again below.
namespace Imaging {

// The depth of OpenCV, CV_8U to CV_32F, that holds such samples in memory.
int storedDepth(SampleDepth depth);

// Makes floats of samples of this depth of OpenCV.
void toFloats(const std::byte* samples, int count, int depth, float* floats);

// Makes samples of floats. Whole numbers are rounded to the nearest, and halves up; what they
// cannot hold is cut off at 0 and 1, and what is no number becomes 0.
void toSamples(const float* floats, int count, SampleDepth depth, std::byte* samples);

// The floats of one channel in a row, each so far from the one before.
struct ChannelFloats
{
    const float* first;
    std::ptrdiff_t distance;
};

// Puts channels of blue, green, red and, where there are four, alpha together; else alpha is 1.
void toPixels(const std::vector<ChannelFloats>& channels, int count, cv::Vec4f* pixels);

// Takes red, green, blue and, where it is wanted, alpha out of pixels.
void toChannels(const cv::Vec4f* pixels, int count, bool hasAlpha, float* floats);

}
