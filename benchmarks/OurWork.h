#pragma once

#include "MediaConversion/MediaPipeline/FrameFlow.h"
#include "MediaConversion/MediaPipeline/Frames.h"
#include "benchmarks/Conversions.h"
#include "benchmarks/ScratchFolder.h"
#include "benchmarks/Work.h"

#include <memory>
#include <string>

namespace Benchmarks {

std::unique_ptr<Velmora::ImageFrame> frameOf(const Velmora::FrameFormat& format,
                                             const cv::Mat& image);

// The frame's way through the Encoder, or through the filter alone for RGB-DXT1 of RGBA, which the
// registry does not offer. Like the reader, it holds a result until the next replaces it.
class OurWork : public Work
{
public:
    explicit OurWork(const Conversion& conversion);

    void run() override { convert(source()); }
    cv::Mat picture() const override;
    const cv::Mat& result() const;

protected:
    virtual std::unique_ptr<Velmora::IFrame> source() = 0;

private:
    void convert(std::unique_ptr<Velmora::IFrame> frame);

    MediaConversion::FrameSinkDestination m_sink;
    std::unique_ptr<MediaConversion::IFrameFilter> m_filter;
    Velmora::FrameFormat m_destination;
    std::unique_ptr<Velmora::IFrame> m_result;
};

// From a frame in memory.
class ConversionWork final : public OurWork
{
public:
    ConversionWork(const Conversion& conversion, const cv::Mat& image);

private:
    std::unique_ptr<Velmora::IFrame> source() override;

    Velmora::FrameFormat m_format;
    cv::Mat m_image;
};

// From a media file: opens it, reads its frame and converts it.
class ReadingWork final : public OurWork
{
public:
    ReadingWork(const Conversion& conversion, const cv::Mat& image);

private:
    std::unique_ptr<Velmora::IFrame> source() override;

    ScratchFolder m_folder;
    std::wstring m_fileName;
};

// Once through the Encoder, or the image itself where the formats are the same.
cv::Mat converted(const Velmora::FrameFormat& from, const cv::Mat& image,
                  const Velmora::FrameFormat& to);

// As float BGRA.
cv::Mat readMediaFile(const std::string& fileName);

// Float BGR of a full frame with 8-bit or float channels, or of blocks.
cv::Mat pictureOf(const Velmora::FrameFormat& format, const cv::Mat& image);

}
