#include "benchmarks/Pictures.h"

#include "MediaConversion/MediaPipeline/CvTypes.h"
#include "MediaConversion/MediaPipeline/Formats.h"
#include "benchmarks/Work.h"

#include <opencv2/core.hpp>

#include <cmath>
#include <numbers>

namespace Benchmarks {

namespace {

using Velmora::FrameFormat;

cv::Mat noise(const FrameFormat& format, const cv::Size& size)
{
    const auto& packing = format.pixelPacking;
    const auto& full = Velmora::FullFormatCvTypes();
    const auto& types = full.contains(format) ? full : Velmora::PackedFormatCvTypes();
    cv::Mat image(size.height / static_cast<int>(packing.rowsPerGroup),
                  size.width / static_cast<int>(packing.columnsPerGroup),
                  openCvType(format, types));
    if (image.depth() == CV_32F) {
        cv::randu(image, cv::Scalar::all(0), cv::Scalar::all(1));
        return image;
    }
    cv::Mat bytes(image.rows, image.cols * static_cast<int>(image.elemSize()), CV_8U, image.data,
                  image.step);
    cv::randu(bytes, 0, 256);
    return image;
}

// Each colour rises in a direction of its own and sways a little; alpha rises to the right.
cv::Mat smooth(const cv::Size& size)
{
    cv::Mat image(size, CV_32FC4);
    for (int row = 0; row < size.height; ++row)
        for (int column = 0; column < size.width; ++column) {
            const double x = (column + 0.5) / size.width;
            const double y = (row + 0.5) / size.height;
            const double wave = 0.1 * std::sin(2 * std::numbers::pi * (3 * x + 2 * y));
            const auto value = [&](double slope) {
                return float(0.1 + 0.8 * slope + wave * slope);
            };
            image.at<cv::Vec4f>(row, column) = {value(y), value(x), value(1 - (x + y) / 2),
                                                float(x)};
        }
    return image;
}

}

std::string nameOf(const Setting& setting)
{
    return cv::format("%s/%d/%d", setting.picture == Picture::Noise ? "noise" : "smooth",
                      setting.height, setting.threads);
}

cv::Mat makePicture(const FrameFormat& format, const Setting& setting)
{
    if (setting.picture == Picture::Noise)
        return noise(format, setting.size());
    return converted(Velmora::Formats::BGRA_F32(), smooth(setting.size()), format);
}

cv::Mat photograph(const FrameFormat& format)
{
    return converted(Velmora::Formats::BGRA_F32(),
                     readMediaFile(BENCHMARK_SAMPLES "/coffee.bgra-u8.zeq"), format);
}

}
