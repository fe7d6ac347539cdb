#include "MediaConversion/Converters/ImageToPackedFrame.h"

#include "MediaConversion/Converters/KernelTables.h"

namespace MediaConversion {

ImageToPackedFrame::ImageToPackedFrame(const FrameFormat& destination) : m_destination(destination)
{
}

std::unique_ptr<Velmora::IFrame> ImageToPackedFrame::onNewImage(
    std::shared_ptr<const Velmora::IImageFrame> frame)
{
    // The pair comes first: a packed frame is a source that is not supported.
    const auto pack = frame ? findConversion(conversions(), frame->format(), m_destination,
                                             "Packing is not supported from ")
                            : nullptr;
    const auto* const full = dynamic_cast<const Velmora::FullFrame*>(frame.get());
    if (!full)
        fail("Can only convert FullFrame images");
    return pack(*full, m_destination);
}

const EncodeTable& ImageToPackedFrame::conversions()
{
    static const EncodeTable& table = *new EncodeTable(encodeTable<&Kernels::packRgb>(rgbPackings));
    return table;
}

namespace {

[[maybe_unused]] const auto& tableAtStartUp = ImageToPackedFrame::conversions();

}

}
