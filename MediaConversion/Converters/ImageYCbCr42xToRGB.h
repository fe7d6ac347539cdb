#pragma once

#include "MediaConversion/Converters/Decoding.h"
#include "MediaConversion/MediaPipeline/FrameFlow.h"

#include <memory>

namespace MediaConversion {

// Decodes YCbCr frames with shared chroma into RGB frames by the full-range matrix of ITU-T T.871.
// Chroma is repeated over the pixels of its group. Alpha is the source's, or opaque.
class ImageYCbCr42xToRGB final : public IImageProcessor
{
public:
    explicit ImageYCbCr42xToRGB(const Velmora::FrameFormat& destination);

    // Throws a std::runtime_error for a frame that is not packed, for a pair that the table lacks
    // or for a frame without data. The pair is looked up before the data is.
    std::unique_ptr<Velmora::IFrame> onNewImage(
        std::shared_ptr<const Velmora::IImageFrame> frame) override;

    // The 22 supported pairs.
    static const DecodeTable& conversions();

private:
    Velmora::FrameFormat m_destination;
};

}
