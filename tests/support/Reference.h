#pragma once

#include "MediaConversion/MediaPipeline/Frames.h"

#include <opencv2/core.hpp>

// The conversions as their arithmetic is written: one pixel after the other in double precision,
// blocks step by step on whole numbers. Tests hold the converters to it, and benchmarks measure
// them against it. Channels are found by the letters of the pixel formats.
namespace MediaConversion {

// Whether frames of the format hold groups, and the type of their matrices.
bool isPacked(const Velmora::FrameFormat& format);
int matrixType(const Velmora::FrameFormat& format);

// What any conversion in one step gives: to and from packings, else with the channels moved, or
// their type changed by OpenCV. The pair has to be one that a converter supports, and the pixels
// have to fill whole groups.
cv::Mat reference(const Velmora::ImageFrame& source, const Velmora::FrameFormat& destination);

// What the whole chain of conversions between two formats gives, or the two through the hub. There
// has to be one.
cv::Mat referenceOfChain(const Velmora::ImageFrame& source,
                         const Velmora::FrameFormat& destination);

}
