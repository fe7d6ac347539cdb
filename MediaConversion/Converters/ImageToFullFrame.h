#pragma once

#include "MediaConversion/Converters/Decoding.h"
#include "MediaConversion/MediaPipeline/FrameFlow.h"

#include <memory>

namespace MediaConversion {

// Unpacks 10-bit DPX-filled words and 12-bit DPX and SMPTE ST 2110 groups into full frames. Integer
// channels of more than 8 bits are the sample scaled to full scale and rounded half up, float ones
// the sample over its full scale; U8 channels are the top eight bits of the sample. Alpha is
// opaque.
class ImageToFullFrame final : public IImageProcessor
{
public:
    explicit ImageToFullFrame(const Velmora::FrameFormat& destination);

    // Throws a std::runtime_error for a frame that is not packed or for a pair that the table
    // lacks.
    std::unique_ptr<Velmora::IFrame> onNewImage(
        std::shared_ptr<const Velmora::IImageFrame> frame) override;

    // The 62 supported pairs.
    static const DecodeTable& conversions();

private:
    Velmora::FrameFormat m_destination;
};

}
