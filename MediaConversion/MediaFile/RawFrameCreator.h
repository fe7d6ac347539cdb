#pragma once

#include "MediaConversion/MediaPipeline/ImageFrame.h"
#include "MediaConversion/MediaPipeline/RawFrameData.h"

#include <cstdint>
#include <memory>

namespace MediaConversion {

// How a file's bytes become a frame: the operations of the kind of frame that a format belongs to.
struct RawFrameCreator
{
    std::unique_ptr<Velmora::ImageFrame> (*create)(
        const Velmora::FrameFormat& format, int rows, int columns,
        std::unique_ptr<Velmora::RawFrameData> rawFrameData);

    // The same checks as by `create`, for a caller that has no bytes yet.
    void (*checkByteCount)(const Velmora::FrameFormat& format, int rows, int columns,
                           std::uint64_t byteCount);
};

// Throws a std::runtime_error for a format that is neither full nor packed.
RawFrameCreator rawFrameCreator(const Velmora::FrameFormat& format);

}
