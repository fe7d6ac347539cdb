#pragma once

#include "MediaConversion/Converters/ConversionTable.h"
#include "MediaConversion/MediaPipeline/FrameFlow.h"

#include <memory>

namespace MediaConversion {

// Reorders the channels of a full frame and adds or drops alpha; the channel type stays. An added
// alpha is opaque.
class ImageColourspace final : public IImageProcessor
{
public:
    // OpenCV's colour conversion code for each pair.
    using Table = ConversionTable<int>;

    explicit ImageColourspace(const Velmora::FrameFormat& destination);

    // Throws a std::runtime_error for a frame that is not full or for a pair that the table lacks.
    std::unique_ptr<Velmora::IFrame> onNewImage(
        std::shared_ptr<const Velmora::IImageFrame> frame) override;

    // The 13 supported pairs.
    static const Table& conversions();

private:
    Velmora::FrameFormat m_destination;
};

}
