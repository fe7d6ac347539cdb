#pragma once

#include "MediaConversion/Converters/ConversionTable.h"
#include "MediaConversion/MediaPipeline/Formats.h"
#include "MediaConversion/MediaPipeline/FrameFlow.h"
#include "MediaConversion/MediaPipeline/Frames.h"
#include "tests/support/Reference.h"

#include <gtest/gtest.h>
#include <opencv2/core.hpp>

#include <memory>
#include <vector>

// What the tests of all converters say: make a frame, convert it, compare it with the plain
// arithmetic.
namespace MediaConversion {

// All formats in which frames can be built, in the order of the table.
std::vector<Velmora::NamedFormat> allFormats();

// Groups for a packed format, or pixels for a full one, made of random bytes.
cv::Mat randomMatrix(const Velmora::FrameFormat& format, int rows, int columns);

// Whether two matrices hold the same bytes; if not, says where they first differ.
testing::AssertionResult sameBytes(const cv::Mat& expected, const cv::Mat& actual);

// What makes the processor of each pair of formats that is converted in one step, source first.
using Converters =
    ConversionTable<std::unique_ptr<IImageProcessor> (*)(const Velmora::FrameFormat&)>;
const Converters& converters();

// The matrix that the processor makes; checks the kind and the format of the result.
cv::Mat converted(const Velmora::FrameFormat& source, const cv::Mat& matrix,
                  const Velmora::FrameFormat& destination);

}
