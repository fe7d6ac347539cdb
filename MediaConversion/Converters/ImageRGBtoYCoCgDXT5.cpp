#include "MediaConversion/Converters/ImageRGBtoYCoCgDXT5.h"

#include "MediaConversion/Converters/KernelTables.h"

#include <cstddef>

namespace MediaConversion {

namespace {

// Encodes only to the format of the entry, whoever calls it.
struct BlockEntries : EncodeEntries<&Kernels::encodeBlocks>
{
    template <class Conversion, std::size_t index>
    static std::unique_ptr<Velmora::PackedFrame> entry(const Velmora::ImageFrame& source,
                                                       const FrameFormat& destination)
    {
        // The two blanks before the second name are part of the message.
        using Packing = typename Conversion::Destination;
        if (destination != Packing::format())
            fail(Packing::name, " conversion destination format only supports ", Packing::format(),
                 ", no support for  ", destination);
        return EncodeEntries::entry<Conversion, index>(source, destination);
    }
};

}

ImageRGBtoYCoCgDXT5::ImageRGBtoYCoCgDXT5(const FrameFormat& destination)
    : m_destination(destination)
{
}

std::unique_ptr<Velmora::IFrame> ImageRGBtoYCoCgDXT5::onNewImage(
    std::shared_ptr<const Velmora::IImageFrame> frame)
{
    return encodeFromRgb(frame.get(), m_destination, conversions(),
                         "DXT conversion is not supported from ");
}

const EncodeTable& ImageRGBtoYCoCgDXT5::conversions()
{
    static const EncodeTable& table =
        *new EncodeTable(conversionTable<BlockEntries>(blockEncodings));
    return table;
}

namespace {

[[maybe_unused]] const auto& tableAtStartUp = ImageRGBtoYCoCgDXT5::conversions();

}

}
