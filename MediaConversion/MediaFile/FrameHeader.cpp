#include "MediaConversion/MediaFile/FrameHeader.h"

namespace MediaConversion {

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
