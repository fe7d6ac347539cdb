#pragma once

#include "MediaConversion/MediaPipeline/FrameFlow.h"
#include "MediaConversion/MediaPipeline/Frames.h"
#include "benchmarks/Cases.h"

#include <opencv2/core/mat.hpp>

#include <functional>
#include <memory>
#include <string>

namespace Benchmarks {

cv::Mat makePicture(const Velmora::FrameFormat& format, const Setting& setting);

// A photograph of 300 x 200 pixels.
cv::Mat photograph(const Velmora::FrameFormat& format);

void writeMediaFile(const std::string& fileName, const Velmora::ImageFrame& frame);

using FrameSource = std::function<std::unique_ptr<Velmora::IFrame>()>;

// The frame's way through the Encoder, or through the filter alone for RGB-DXT1 of RGBA, which the
// registry does not offer. Like the reader, it holds a result until the next replaces it.
class OurWork
{
public:
    OurWork(const Conversion& conversion, FrameSource source);

    void run();
    const cv::Mat& result() const;

private:
    FrameSource m_source;
    MediaConversion::FrameSinkDestination m_sink;
    std::unique_ptr<MediaConversion::IFrameFilter> m_filter;
    std::unique_ptr<Velmora::IFrame> m_result;
};

// The image in another format, by the Encoder.
cv::Mat converted(const Velmora::FrameFormat& from, const cv::Mat& image,
                  const Velmora::FrameFormat& to);

// The same by the reference: one pixel after the other in double precision.
cv::Mat referenceConverted(const Velmora::ImageFrame& frame,
                           const Velmora::FrameFormat& destination);

// Float BGR of a full frame with 8-bit or float channels, or of blocks.
cv::Mat pictureOf(const Velmora::FrameFormat& format, const cv::Mat& image);

}
