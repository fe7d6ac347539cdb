#pragma once

#include "MediaConversion/Converters/Encoding.h"
#include "MediaConversion/MediaPipeline/FrameFlow.h"

#include <memory>

namespace MediaConversion {

// Compresses 8-bit RGB frames to scaled YCoCg in DXT5 (BC3) blocks or to plain DXT1 (BC1). A fast
// single-pass encoder: it fits a box around the colours of a block and does not search for better
// endpoints. Alpha is dropped.
class ImageRGBtoYCoCgDXT5 final : public IImageProcessor
{
public:
    explicit ImageRGBtoYCoCgDXT5(const Velmora::FrameFormat& destination);

    // Throws a std::runtime_error for a frame of another kind, for a pair that the table lacks, for
    // a frame without data or for one whose pixels do not fill whole blocks, in this order.
    std::unique_ptr<Velmora::IFrame> onNewImage(
        std::shared_ptr<const Velmora::IImageFrame> frame) override;

    // The 5 supported pairs. Each conversion refuses any destination but its own.
    static const EncodeTable& conversions();

private:
    Velmora::FrameFormat m_destination;
};

}
