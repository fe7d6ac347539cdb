#include "MediaConversion/Converters/ImageRGBtoYCbCr42x.h"

#include "MediaConversion/Converters/KernelTables.h"

namespace MediaConversion {

ImageRGBtoYCbCr42x::ImageRGBtoYCbCr42x(const FrameFormat& destination) : m_destination(destination)
{
}

std::unique_ptr<Velmora::IFrame> ImageRGBtoYCbCr42x::onNewImage(
    std::shared_ptr<const Velmora::IImageFrame> frame)
{
    // The text says 4:2:2 for 4:2:0, too.
    return encodeFromRgb(frame.get(), m_destination, conversions(),
                         "YCbCr 4:2:2 conversion is not supported from ");
}

const EncodeTable& ImageRGBtoYCbCr42x::conversions()
{
    static const EncodeTable& table =
        *new EncodeTable(encodeTable<&Kernels::encodeYCbCr>(yCbCrEncodings));
    return table;
}

namespace {

[[maybe_unused]] const auto& tableAtStartUp = ImageRGBtoYCbCr42x::conversions();

}

}
