#pragma once

#include "MediaConversion/MediaPipeline/ImageFrame.h"

#include <cstdint>
#include <memory>

namespace Velmora {

class PackedFrame;

// A frame with one pixel per matrix element, in a format of FullFormatCvTypes().
class FullFrame final : public ImageFrame
{
public:
    // Shares the matrix's pixels, or with `flip` copies them with the order of the rows reversed.
    FullFrame(const FrameFormat& format, const cv::Mat& image, bool flip = false);

    // Pixels still to be written.
    FullFrame(const FrameFormat& format, int width, int height);

    // A frame for the pixels of a packed one: as wide and as high, still to be written.
    FullFrame(const PackedFrame& packedFrame, const FrameFormat& format);

    // A frame over a file's bytes, without copying them.
    FullFrame(const FrameFormat& format, int width, int height,
              std::unique_ptr<RawFrameData> rawFrameData);

    // The checks of a frame over a file's bytes, for a caller that has no bytes yet.
    static void checkByteCount(const FrameFormat& format, int width, int height,
                               std::uint64_t byteCount);
};

}
