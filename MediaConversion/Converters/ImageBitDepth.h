#pragma once

#include "MediaConversion/MediaPipeline/FrameFlow.h"

#include <map>
#include <memory>
#include <utility>

namespace MediaConversion {

// Changes the channel type of a full frame, all channels alike. The result is that of
// cv::Mat::convertTo: rounded to nearest and saturated at the storage, not at full scale (F32 1.5
// becomes U10 1534).
class ImageBitDepth final : public IImageProcessor
{
public:
    struct Scaling
    {
        int depth;     // OpenCV's element depth of the result
        double scale;  // destination full scale over source full scale
    };

    // Source first, destination second.
    using Table = std::map<std::pair<Velmora::ChannelType, Velmora::ChannelType>, Scaling>;

    explicit ImageBitDepth(const Velmora::FrameFormat& destination);

    // Throws a std::runtime_error for a frame that is not full, that differs from the destination
    // in colourspace or channel order, or whose pair of channel types the table lacks.
    std::unique_ptr<Velmora::IFrame> onNewImage(
        std::shared_ptr<const Velmora::IImageFrame> frame) override;

    // The 12 supported pairs.
    static const Table& conversions();

private:
    Velmora::FrameFormat m_destination;
};

}
