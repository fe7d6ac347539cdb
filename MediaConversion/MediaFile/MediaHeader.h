#pragma once

#include "MediaConversion/MediaFile/LittleEndianReader.h"

#include <cstdint>

namespace MediaConversion {

// What a media file says of its picture, behind the magic. The bytes without a meaning of their own
// are kept as they are read.
struct MediaHeader
{
    std::uint8_t headerByte0;
    std::uint8_t headerByte1;
    std::uint8_t headerRevision;  // more than 1 announces the extension block
    std::uint8_t headerByte3;
    std::uint32_t mediaFormatCode;
    std::uint16_t width;   // pixels
    std::uint16_t height;  // pixels

    bool operator==(const MediaHeader&) const = default;
};

// Reads the header and the extension block, if there is one, which is not kept.
MediaHeader readMediaHeader(LittleEndianReader& fields);

// Whether a file that begins with these four bytes is a media file.
bool isMediaFileMagic(std::uint32_t magic);

}
