#include "benchmarks/Work.h"

#include "MediaConversion/MediaFile/FileNames.h"
#include "MediaConversion/MediaFile/FileStreamFactory.h"
#include "MediaConversion/MediaFile/VelmoraMediaFileReader.h"
#include "MediaConversion/MediaPipeline/CvTypes.h"
#include "MediaConversion/MediaPipeline/Encoder.h"
#include "MediaConversion/MediaPipeline/Filters.h"
#include "MediaConversion/MediaPipeline/Formats.h"
#include "MediaConversion/MediaPipeline/FullFrame.h"
#include "MediaConversion/MediaPipeline/PackedFrame.h"
#include "tests/support/PlainDecoding.h"
#include "tests/support/PlainEncoding.h"

#include <opencv2/imgproc.hpp>

#include <utility>

namespace Benchmarks {

using namespace Velmora::Formats;
using Velmora::FrameFormat;

namespace {

std::unique_ptr<MediaConversion::IFrameFilter> newFilter(const Conversion& conversion)
{
    if (conversion.source == RGBA_U8() && conversion.destination == RGB_DXT1())
        return std::make_unique<MediaConversion::ConvertRGBtoYCoCgDXT5>(conversion.destination);
    return std::make_unique<MediaConversion::Encoder>(conversion.source, conversion.destination);
}

}

std::unique_ptr<Velmora::ImageFrame> frameOf(const FrameFormat& format, const cv::Mat& image)
{
    if (Velmora::FullFormatCvTypes().contains(format))
        return std::make_unique<Velmora::FullFrame>(format, image);
    return std::make_unique<Velmora::PackedFrame>(format, image);
}

FrameSource fromMemory(const FrameFormat& format, const cv::Mat& image)
{
    return [=] { return frameOf(format, image); };
}

FrameSource fromFile(const std::string& fileName)
{
    return [name = MediaConversion::wideFileName(fileName)] {
        MediaConversion::FileStreamFactory streams;
        MediaConversion::VelmoraMediaFileReader file(streams);
        file.open(name);
        return file.readFrame();
    };
}

OurWork::OurWork(const Conversion& conversion, FrameSource source)
    : m_source(std::move(source)), m_filter(newFilter(conversion))
{
    m_filter->connectFrameSink(&m_sink);
    dynamic_cast<MediaConversion::IFrameControl&>(*m_filter).start();
}

void OurWork::run()
{
    m_filter->onNewFrame(m_source());
    m_result = m_sink.takeFrame();
}

const cv::Mat& OurWork::result() const
{
    return dynamic_cast<const Velmora::IImageFrame&>(*m_result).image();
}

cv::Mat converted(const FrameFormat& from, const cv::Mat& image, const FrameFormat& to)
{
    if (from == to)
        return image;
    OurWork work({from, to}, fromMemory(from, image));
    work.run();
    return work.result().clone();
}

cv::Mat referenceConverted(const Velmora::ImageFrame& frame, const FrameFormat& destination)
{
    if (destination == BGRA_F32())
        return MediaConversion::plainBgraF32(frame);
    if (const auto* packed = dynamic_cast<const Velmora::PackedFrame*>(&frame))
        return MediaConversion::plainDecode(*packed, destination);
    if (frame.format() != BGRA_F32() || destination != YCoCg_DXT5())
        return MediaConversion::plainEncode(dynamic_cast<const Velmora::FullFrame&>(frame),
                                            destination);
    // Blocks are the one packing that is not made from float directly.
    cv::Mat bytes;
    frame.image().convertTo(bytes, CV_8U, 255);
    return MediaConversion::plainEncode(Velmora::FullFrame(BGRA_U8(), bytes), destination);
}

cv::Mat readMediaFile(const std::string& fileName)
{
    const auto frame = fromFile(fileName)();
    const auto& image = dynamic_cast<Velmora::IImageFrame&>(*frame).image();
    return converted(frame->format(), image, BGRA_F32()).clone();
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
