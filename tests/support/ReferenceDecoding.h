#pragma once

#include "MediaConversion/MediaPipeline/Frames.h"

#include <opencv2/core.hpp>

// The decoding conversions as their arithmetic is written: fill the frame, then visit the groups
// and compute one pixel after the other in double precision. Tests hold the converters to it, and
// benchmarks measure them against it.
namespace MediaConversion {

// Decodes a frame of any packing to a full format with red, green and blue channels, alpha or not.
// The channels are found by the letters of the two pixel formats.
cv::Mat referenceDecode(const Velmora::PackedFrame& source,
                        const Velmora::FrameFormat& destination);

// What the whole chain of conversions from a media file's frame to BGRA at F32 gives. Full frames
// have 8-bit channels.
cv::Mat referenceBgraF32(const Velmora::ImageFrame& source);

}
