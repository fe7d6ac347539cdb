#pragma once

#include "MediaConversion/MediaPipeline/ImageFrame.h"

#include <cstdint>
#include <memory>

namespace Velmora {

class FullFrame;

// A frame with one packing group per matrix element, in a format of PackedFormatCvTypes(). Its
// width and height are multiples of the group's columns and rows.
class PackedFrame final : public ImageFrame
{
public:
    // Shares the matrix's groups, or with `flip` copies them with the order of the rows reversed.
    PackedFrame(const FrameFormat& format, const cv::Mat& image, bool flip = false);

    // Groups still to be written.
    PackedFrame(const FrameFormat& format, int width, int height);

    // A frame for the pixels of a full one: as wide and as high, still to be written.
    PackedFrame(const FullFrame& fullFrame, const FrameFormat& format);

    // A frame over a file's bytes, without copying them.
    PackedFrame(const FrameFormat& format, int width, int height,
                std::unique_ptr<RawFrameData> rawFrameData);

    // The checks of a frame over a file's bytes, for a caller that has no bytes yet.
    static void checkByteCount(const FrameFormat& format, int width, int height,
                               std::uint64_t byteCount);
};

}
