#include "tools/Pixmap.h"

#include "MediaConversion/Encoder/ConversionRegistry.h"
#include "MediaConversion/Encoder/Encoder.h"
#include "MediaConversion/Errors.h"
#include "MediaConversion/MediaPipeline/Formats.h"

#include <opencv2/core.hpp>

#include <array>
#include <bit>
#include <memory>
#include <utility>

namespace Zeq {

using Velmora::FrameFormat;
using namespace Velmora::Formats;

namespace {

// The samples of files are big-endian.
constexpr std::uint16_t stored(std::uint16_t sample)
{
    if constexpr (std::endian::native == std::endian::big)
        return sample;
    return static_cast<std::uint16_t>(sample << 8 | sample >> 8);
}

constexpr std::uint16_t quantised(float value)
{
    const float limited = value > 0 ? (value < 1 ? value : 1) : 0;  // no number becomes 0
    return static_cast<std::uint16_t>(double{limited} * 65535 + 0.5);
}

// Makes red, green and blue of each pixel.
template <class Pixel, class Convert>
cv::Mat storedSamples(const cv::Mat& image, const Convert& convert)
{
    cv::Mat samples(image.size(), CV_16UC3);
    cv::parallel_for_(cv::Range(0, image.rows), [&](const cv::Range& rows) {
        for (int row = rows.start; row < rows.end; ++row) {
            const auto* pixel = image.ptr<Pixel>(row);
            auto* sample = samples.ptr<std::uint16_t>(row);
            for (const auto* const end = pixel + image.cols; pixel != end; ++pixel)
                for (const auto value : convert(*pixel))
                    *sample++ = stored(value);
        }
    });
    return samples;
}

using Samples = std::array<std::uint16_t, 3>;

// The format of 16 bits to which there is a direct way, else float.
FrameFormat deepFormat(const FrameFormat& format)
{
    for (const auto& deep : {RGB_U16(), BGRA_U16()})
        if (MediaConversion::conversionRegistry().contains({deep, format}))
            return deep;
    return BGRA_F32();
}

cv::Mat deepSamples(std::unique_ptr<Velmora::IFrame> frame)
{
    const auto format = deepFormat(frame->format());
    const auto converted = MediaConversion::convert(std::move(frame), format);
    const auto& image = converted->image();
    if (format == RGB_U16())
        return storedSamples<cv::Vec3w>(image, [](const cv::Vec3w& pixel) {
            return Samples{pixel[0], pixel[1], pixel[2]};
        });
    if (format == BGRA_U16())
        return storedSamples<cv::Vec4w>(image, [](const cv::Vec4w& pixel) {
            return Samples{pixel[2], pixel[1], pixel[0]};
        });
    return storedSamples<cv::Vec4f>(image, [](const cv::Vec4f& pixel) {
        return Samples{quantised(pixel[2]), quantised(pixel[1]), quantised(pixel[0])};
    });
}

cv::Mat samplesOf(std::unique_ptr<Velmora::IFrame> frame, int bits)
{
    if (bits == 16)
        return deepSamples(std::move(frame));
    // A frame that is in the format already may lie over a file's bytes, which go with it.
    const bool isConverted = frame->format() != RGB_U8();
    const auto converted = MediaConversion::convert(std::move(frame), RGB_U8());
    return isConverted ? converted->image() : converted->image().clone();
}

int typeOf(int bits)
{
    return bits == 16 ? CV_16UC3 : CV_8UC3;
}

}

std::string pixmapHeader(cv::Size size, int bits)
{
    return MediaConversion::joined("P6\n", size.width, " ", size.height, "\n", (1 << bits) - 1,
                                   "\n");
}

std::uint64_t pixmapByteCount(cv::Size size, int bits)
{
    return static_cast<std::uint64_t>(size.width) * static_cast<std::uint64_t>(size.height) * 3 *
           static_cast<std::uint64_t>(bits / 8);
}

cv::Mat blackSamples(cv::Size size, int bits)
{
    return cv::Mat::zeros(size, typeOf(bits));
}

cv::Mat pixmapSamples(IOpenFile& file, int bits)
{
    const auto size = file.facts().size;
    auto samples = samplesOf(file.readFrame(), bits);
    if (samples.size() == size && samples.isContinuous())
        return samples;
    // A media file's frame may be smaller or larger than its picture.
    auto shown = blackSamples(size, bits);
    const auto part = cv::Rect({}, size) & cv::Rect({}, samples.size());
    samples(part).copyTo(shown(part));
    return shown;
}

}
