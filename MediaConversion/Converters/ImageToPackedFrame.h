#pragma once

#include "MediaConversion/Converters/Encoding.h"
#include "MediaConversion/MediaPipeline/FrameFlow.h"

#include <memory>

namespace MediaConversion {

// Packs full frames into 10-bit DPX-filled words and 12-bit SMPTE ST 2110 groups: each sample is
// the channel as a fraction of its full scale, times 1023 or 4095, clamped to that and rounded half
// up. Alpha is dropped.
class ImageToPackedFrame final : public IImageProcessor
{
public:
    explicit ImageToPackedFrame(const Velmora::FrameFormat& destination);

    // Throws a std::runtime_error for a frame that is not full, for a pair that the table lacks or
    // for a frame whose pixels do not fill whole groups.
    std::unique_ptr<Velmora::IFrame> onNewImage(
        std::shared_ptr<const Velmora::IImageFrame> frame) override;

    // The 40 supported pairs.
    static const EncodeTable& conversions();

private:
    Velmora::FrameFormat m_destination;
};

}
