#include "MediaConversion/Converters/ImageYCoCgDXT5toRGB.h"

#include "MediaConversion/Converters/KernelTables.h"

namespace MediaConversion {

ImageYCoCgDXT5toRGB::ImageYCoCgDXT5toRGB(const FrameFormat& destination)
    : m_destination(destination)
{
}

std::unique_ptr<Velmora::IFrame> ImageYCoCgDXT5toRGB::onNewImage(
    std::shared_ptr<const Velmora::IImageFrame> frame)
{
    return decodeToRgb(frame.get(), m_destination, conversions());
}

const DecodeTable& ImageYCoCgDXT5toRGB::conversions()
{
    static const DecodeTable& table =
        *new DecodeTable(decodeTable<&Kernels::decodeBlocks>(blockDecodings));
    return table;
}

namespace {

[[maybe_unused]] const auto& tableAtStartUp = ImageYCoCgDXT5toRGB::conversions();

}

}
