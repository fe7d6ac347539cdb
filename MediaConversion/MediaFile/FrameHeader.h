#pragma once

#include "MediaConversion/MediaFile/LittleEndianReader.h"
#include "MediaConversion/MediaPipeline/FrameFormat.h"

#include <cstdint>

namespace MediaConversion {

// The size of the one frame that a media file stores. It need not be the picture's size.
struct FrameHeader
{
    std::uint16_t frameWidth;   // pixels
    std::uint16_t frameField1;  // kept as it is read
    std::uint16_t frameHeight;  // pixels

    bool operator==(const FrameHeader&) const = default;
};

FrameHeader readFrameHeader(LittleEndianReader& fields);

// The bytes that a file holds for a frame: whole groups only. The file format defines it in 32
// bits, in which the size of a very large frame wraps.
std::uint32_t frameDataSize(const Velmora::FrameFormat& format, std::uint32_t width,
                            std::uint32_t height);

}
