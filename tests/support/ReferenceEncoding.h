#pragma once

#include "MediaConversion/MediaPipeline/Frames.h"

#include <opencv2/core.hpp>

namespace MediaConversion {

// The encoding conversions as their arithmetic is written: one pixel after the other in double
// precision, blocks step by step on whole numbers. Tests hold the converters to it, and benchmarks
// measure them against it. The channels of the source are found by the letters of its pixel format.
// The pair has to be one that a converter supports, and the pixels have to fill whole groups.
cv::Mat referenceEncode(const Velmora::FullFrame& source, const Velmora::FrameFormat& destination);

}
