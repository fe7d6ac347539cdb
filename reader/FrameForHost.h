#pragma once

#include "MediaConversion/Errors.h"
#include "MediaConversion/MediaPipeline/Frames.h"

// What the host may be shown of a file, and how a file is refused that it may not.
namespace ForHost {

// The bits per sample that the host is told.
inline int depth(Velmora::ChannelType channelType)
{
    switch (channelType) {
        case Velmora::ChannelType::U8:
            return 8;
        case Velmora::ChannelType::U10:
            return 10;
        case Velmora::ChannelType::U12:
            return 12;
        default:
            MediaConversion::fail("Unsupported channel type ", channelType);
    }
}

// The matrix that rows are served from.
inline const cv::Mat& image(const Velmora::IFrame* frame)
{
    if (!frame)
        MediaConversion::fail("No input frame!");
    const auto* const imageFrame = dynamic_cast<const Velmora::IImageFrame*>(frame);
    if (!imageFrame)
        MediaConversion::fail("Unsupported input frame type!");
    return imageFrame->image();
}

}
