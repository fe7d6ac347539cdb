#include "benchmarks/Work.h"

#include "MediaConversion/Encoder/Encoder.h"
#include "MediaConversion/Encoder/Filters.h"
#include "MediaConversion/MediaFile/FileNames.h"
#include "MediaConversion/MediaFile/VelmoraMediaFileReader.h"
#include "MediaConversion/MediaFile/VelmoraMediaFileWriter.h"
#include "MediaConversion/MediaPipeline/Formats.h"
#include "MediaConversion/MediaPipeline/Frames.h"
#include "tests/support/Reference.h"

#include <opencv2/imgproc.hpp>

#include <cmath>
#include <numbers>
#include <utility>

namespace Benchmarks {

using namespace Velmora::Formats;
using Velmora::FrameFormat;

namespace {

cv::Mat noise(const FrameFormat& format, const cv::Size& size)
{
    const auto& packing = format.pixelPacking;
    const auto& full = Velmora::FullFormatCvTypes();
    const auto& types = full.contains(format) ? full : Velmora::PackedFormatCvTypes();
    cv::Mat image(size.height / static_cast<int>(packing.rowsPerGroup),
                  size.width / static_cast<int>(packing.columnsPerGroup),
                  openCvType(format, types));
    cv::Mat bytes(image.rows, image.cols * static_cast<int>(image.elemSize()), CV_8U, image.data);
    if (image.depth() == CV_32F)
        cv::randu(image, cv::Scalar::all(0), cv::Scalar::all(1));
    else
        cv::randu(bytes, 0, 256);
    return image;
}

// Each colour rises in a direction of its own and sways a little; alpha rises to the right.
cv::Mat smooth(const cv::Size& size)
{
    cv::Mat_<cv::Vec4f> image(size);
    image.forEach([&](cv::Vec4f& pixel, const int* place) {
        const double x = (place[1] + 0.5) / size.width;
        const double y = (place[0] + 0.5) / size.height;
        const double wave = 0.1 * std::sin(2 * std::numbers::pi * (3 * x + 2 * y));
        const auto value = [&](double slope) { return float(0.1 + 0.8 * slope + wave * slope); };
        pixel = {value(y), value(x), value(1 - (x + y) / 2), float(x)};
    });
    return image;
}

std::unique_ptr<MediaConversion::IFrameFilter> newFilter(const Conversion& conversion)
{
    if (conversion.source == RGBA_U8() && conversion.destination == RGB_DXT1())
        return std::make_unique<MediaConversion::ConvertRGBtoYCoCgDXT5>(conversion.destination);
    return std::make_unique<MediaConversion::Encoder>(conversion.source, conversion.destination);
}

}

cv::Mat makePicture(const FrameFormat& format, const Setting& setting)
{
    if (setting.picture == PictureKind::Noise)
        return noise(format, setting.size());
    return converted(BGRA_F32(), smooth(setting.size()), format);
}

cv::Mat photograph(const FrameFormat& format)
{
    auto frame = MediaConversion::readMediaFile(BENCHMARK_SAMPLES "/coffee.bgra-u8.zeq");
    auto floats = MediaConversion::convert(std::move(frame), BGRA_F32());
    return MediaConversion::convert(std::move(floats), format)->image().clone();
}

void writeMediaFile(const std::string& fileName, const Velmora::ImageFrame& frame)
{
    MediaConversion::VelmoraMediaFileWriter().write(MediaConversion::wideFileName(fileName), frame);
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
    return MediaConversion::convert(Velmora::frameOver(from, image), to)->image().clone();
}

cv::Mat referenceConverted(const Velmora::ImageFrame& frame, const FrameFormat& destination)
{
    return destination == BGRA_F32() ? MediaConversion::referenceOfChain(frame, destination)
                                     : MediaConversion::reference(frame, destination);
}

cv::Mat pictureOf(const FrameFormat& format, const cv::Mat& image)
{
    if (format == BGRA_F32()) {
        cv::Mat picture;
        cv::cvtColor(image, picture, cv::COLOR_BGRA2BGR);
        return picture;
    }
    const auto frame = Velmora::frameOver(format, image);
    if (format != RGB_DXT1())
        return pictureOf(BGRA_F32(), referenceConverted(*frame, BGRA_F32()));
    return pictureOf(BGRA_U8(), referenceConverted(*frame, BGRA_U8()));
}

}
