#pragma once

#include "MediaConversion/Converters/Decoding.h"
#include "MediaConversion/MediaPipeline/FrameFlow.h"

#include <memory>

namespace MediaConversion {

// Decodes block-compressed frames, scaled YCoCg in DXT5 (BC3) blocks and plain DXT1 (BC1), into
// 8-bit RGB frames. Alpha is opaque, for the transparent colour of DXT1 too.
class ImageYCoCgDXT5toRGB final : public IImageProcessor
{
public:
    explicit ImageYCoCgDXT5toRGB(const Velmora::FrameFormat& destination);

    // Throws a std::runtime_error for a frame that is not packed, for a pair that the table lacks
    // or for a frame without data. The pair is looked up before the data is.
    std::unique_ptr<Velmora::IFrame> onNewImage(
        std::shared_ptr<const Velmora::IImageFrame> frame) override;

    // The 6 supported pairs.
    static const DecodeTable& conversions();

private:
    Velmora::FrameFormat m_destination;
};

}
