#include "MediaConversion/Converters/ImageToFullFrame.h"

#include "MediaConversion/Converters/KernelTables.h"

namespace MediaConversion {

ImageToFullFrame::ImageToFullFrame(const FrameFormat& destination) : m_destination(destination) {}

std::unique_ptr<Velmora::IFrame> ImageToFullFrame::onNewImage(
    std::shared_ptr<const Velmora::IImageFrame> frame)
{
    const auto* const packed = dynamic_cast<const Velmora::PackedFrame*>(frame.get());
    if (!packed)
        fail("Can only convert packed images");
    const auto unpack = findConversion(conversions(), packed->format(), m_destination,
                                       "Unpacking is not supported from ");
    return unpack(*packed, m_destination);
}

const DecodeTable& ImageToFullFrame::conversions()
{
    static const DecodeTable& table =
        *new DecodeTable(decodeTable<&Kernels::unpackRgb>(rgbUnpackings));
    return table;
}

namespace {

[[maybe_unused]] const auto& tableAtStartUp = ImageToFullFrame::conversions();

}

}
