#include "benchmarks/OurWork.h"

#include "MediaConversion/Encoder/Encoder.h"
#include "MediaConversion/Encoder/Filters.h"
#include "MediaConversion/MediaFile/FileNames.h"
#include "MediaConversion/MediaFile/FileStreams.h"
#include "MediaConversion/MediaFile/VelmoraMediaFileReader.h"
#include "MediaConversion/MediaFile/VelmoraMediaFileWriter.h"
#include "MediaConversion/MediaPipeline/Formats.h"
#include "MediaConversion/MediaPipeline/Frames.h"
#include "tests/support/PlainDecoding.h"

#include <opencv2/imgproc.hpp>

#include <utility>

namespace Benchmarks {

using namespace Velmora::Formats;
using Velmora::FrameFormat;

namespace {

std::unique_ptr<MediaConversion::IFrameFilter> newFilter(const Conversion& conversion)
{
    const auto& [source, destination, target] = conversion;
    if (source == RGBA_U8() && destination == RGB_DXT1())
        return std::make_unique<MediaConversion::ConvertRGBtoYCoCgDXT5>(destination);
    return std::make_unique<MediaConversion::Encoder>(source, destination);
}

}

std::unique_ptr<Velmora::ImageFrame> frameOf(const FrameFormat& format, const cv::Mat& image)
{
    if (Velmora::FullFormatCvTypes().contains(format))
        return std::make_unique<Velmora::FullFrame>(format, image);
    return std::make_unique<Velmora::PackedFrame>(format, image);
}

OurWork::OurWork(const Conversion& conversion)
    : m_filter(newFilter(conversion)), m_destination(conversion.destination)
{
    m_filter->connectFrameSink(&m_sink);
    dynamic_cast<MediaConversion::IFrameControl&>(*m_filter).start();
}

void OurWork::convert(std::unique_ptr<Velmora::IFrame> frame)
{
    m_filter->onNewFrame(std::move(frame));
    m_result = m_sink.takeFrame();
}

const cv::Mat& OurWork::result() const
{
    return dynamic_cast<const Velmora::IImageFrame&>(*m_result).image();
}

cv::Mat OurWork::picture() const
{
    return pictureOf(m_destination, result());
}

ConversionWork::ConversionWork(const Conversion& conversion, const cv::Mat& image)
    : OurWork(conversion), m_format(conversion.source), m_image(image)
{
}

std::unique_ptr<Velmora::IFrame> ConversionWork::source()
{
    return frameOf(m_format, m_image);
}

ReadingWork::ReadingWork(const Conversion& conversion, const cv::Mat& image)
    : OurWork(conversion), m_fileName(MediaConversion::wideFileName(m_folder.file("frame.zeq")))
{
    MediaConversion::VelmoraMediaFileWriter().write(m_fileName, *frameOf(conversion.source, image));
}

std::unique_ptr<Velmora::IFrame> ReadingWork::source()
{
    MediaConversion::FileStreamFactory streams;
    MediaConversion::VelmoraMediaFileReader file(streams);
    file.open(m_fileName);
    return file.readFrame();
}

cv::Mat converted(const FrameFormat& from, const cv::Mat& image, const FrameFormat& to)
{
    if (from == to)
        return image;
    ConversionWork work({from, to, {}}, image);
    work.run();
    return work.result().clone();
}

cv::Mat readMediaFile(const std::string& fileName)
{
    MediaConversion::FileStreamFactory streams;
    MediaConversion::VelmoraMediaFileReader file(streams);
    file.open(MediaConversion::wideFileName(fileName));
    const auto frame = file.readFrame();
    return converted(frame->format(), dynamic_cast<Velmora::IImageFrame&>(*frame).image(),
                     BGRA_F32())
        .clone();
}

cv::Mat pictureOf(const FrameFormat& format, const cv::Mat& image)
{
    cv::Mat pixels = image;
    if (Velmora::PackedFormatCvTypes().contains(format))
        pixels = MediaConversion::plainDecode(Velmora::PackedFrame(format, image), BGRA_U8());
    cv::Mat picture;
    cv::cvtColor(pixels, picture,
                 format.pixelFormat == "RGBA" ? cv::COLOR_RGBA2BGR : cv::COLOR_BGRA2BGR);
    if (picture.depth() == CV_8U)
        picture.convertTo(picture, CV_32F, 1.0 / 255);
    return picture;
}

}
