#include "MediaConversion/MediaFile/Headers.h"

namespace MediaConversion {

namespace {

constexpr std::uint32_t littleEndian(const char (&text)[5])
{
    std::uint32_t value = 0;
    for (int byte = 3; byte >= 0; --byte)
        value = value << 8 | static_cast<unsigned char>(text[byte]);
    return value;
}

}

MediaHeader readMediaHeader(LittleEndianReader& fields)
{
    MediaHeader header;
    header.headerByte0 = fields.read<std::uint8_t>();
    header.headerByte1 = fields.read<std::uint8_t>();
    header.headerRevision = fields.read<std::uint8_t>();
    header.headerByte3 = fields.read<std::uint8_t>();
    header.mediaFormatCode = fields.read<std::uint32_t>();
    header.width = fields.read<std::uint16_t>();
    fields.skip<2>();
    header.height = fields.read<std::uint16_t>();
    fields.skip<2>();
    if (header.headerRevision > 1) {
        fields.skip<4>();
        fields.skip<16>();
    }
    return header;
}

bool isMediaFileMagic(std::uint32_t magic)
{
    return magic == littleEndian("zeq ") || magic == littleEndian("zeqZ");
}

FrameHeader readFrameHeader(LittleEndianReader& fields)
{
    FrameHeader header;
    header.frameWidth = fields.read<std::uint16_t>();
    header.frameField1 = fields.read<std::uint16_t>();
    header.frameHeight = fields.read<std::uint16_t>();
    fields.skip<2>();
    return header;
}

std::uint32_t frameDataSize(const Velmora::FrameFormat& format, std::uint32_t width,
                            std::uint32_t height)
{
    const auto& packing = format.pixelPacking;
    return (width / packing.columnsPerGroup) * (height / packing.rowsPerGroup) *
           packing.bytesPerGroup;
}

}
