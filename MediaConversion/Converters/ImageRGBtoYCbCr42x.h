#pragma once

#include "MediaConversion/Converters/Encoding.h"
#include "MediaConversion/MediaPipeline/FrameFlow.h"

#include <memory>

namespace MediaConversion {

// Encodes RGB frames as YCbCr with shared chroma, by the full-range matrix of ITU-T T.871. The
// chroma of a group is the average of its pixels'; ZEQ-4224-HYBRID takes the left pixel's alone and
// keeps alpha.
class ImageRGBtoYCbCr42x final : public IImageProcessor
{
public:
    explicit ImageRGBtoYCbCr42x(const Velmora::FrameFormat& destination);

    // Throws a std::runtime_error for a frame of another kind, for a pair that the table lacks, for
    // a frame without data or for one whose pixels do not fill whole groups, in this order.
    std::unique_ptr<Velmora::IFrame> onNewImage(
        std::shared_ptr<const Velmora::IImageFrame> frame) override;

    // The 25 supported pairs.
    static const EncodeTable& conversions();

private:
    Velmora::FrameFormat m_destination;
};

}
