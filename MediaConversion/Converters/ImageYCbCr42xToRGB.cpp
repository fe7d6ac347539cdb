#include "MediaConversion/Converters/ImageYCbCr42xToRGB.h"

#include "MediaConversion/Converters/KernelTables.h"

namespace MediaConversion {

ImageYCbCr42xToRGB::ImageYCbCr42xToRGB(const FrameFormat& destination) : m_destination(destination)
{
}

std::unique_ptr<Velmora::IFrame> ImageYCbCr42xToRGB::onNewImage(
    std::shared_ptr<const Velmora::IImageFrame> frame)
{
    return decodeToRgb(frame.get(), m_destination, conversions());
}

const DecodeTable& ImageYCbCr42xToRGB::conversions()
{
    static const DecodeTable& table =
        *new DecodeTable(decodeTable<&Kernels::decodeYCbCr>(yCbCrDecodings));
    return table;
}

namespace {

[[maybe_unused]] const auto& tableAtStartUp = ImageYCbCr42xToRGB::conversions();

}

}
