#include "MediaConversion/Converters/ImageColourspace.h"

#include "MediaConversion/Converters/Pixels.h"
#include "MediaConversion/Converters/Rows.h"
#include "MediaConversion/MediaPipeline/Frames.h"

#include <opencv2/imgproc.hpp>

#include <cstddef>

namespace MediaConversion {

namespace {

// OpenCV names its codes for a blue-first source; only whether red and blue change places matters.
constexpr int conversionCode(ChannelOrder source, ChannelOrder destination)
{
    const bool swaps = source.red != destination.red;
    const bool hasAlpha = source.alpha != ChannelOrder::none;
    const bool wantsAlpha = destination.alpha != ChannelOrder::none;
    if (hasAlpha == wantsAlpha)
        return hasAlpha ? cv::COLOR_BGRA2RGBA : cv::COLOR_BGR2RGB;
    if (wantsAlpha)
        return swaps ? cv::COLOR_BGR2RGBA : cv::COLOR_BGR2BGRA;
    return swaps ? cv::COLOR_RGBA2BGR : cv::COLOR_BGRA2BGR;
}

struct Reorder
{
    using Entry = int;

    template <class Conversion, std::size_t>
    static constexpr Entry entry = conversionCode(Conversion::Source::order,
                                                  Conversion::Destination::order);
};

}

ImageColourspace::ImageColourspace(const FrameFormat& destination) : m_destination(destination) {}

std::unique_ptr<Velmora::IFrame> ImageColourspace::onNewImage(
    std::shared_ptr<const Velmora::IImageFrame> frame)
{
    const auto* const full = dynamic_cast<const Velmora::FullFrame*>(frame.get());
    if (!full)
        fail("Can only convert FullFrame images");
    const int code = findConversion(conversions(), full->format(), m_destination,
                                    "Colourspace conversion is not supported from ");
    auto reordered =
        std::make_unique<Velmora::FullFrame>(m_destination, full->width(), full->height());
    cv::Mat pixels = reordered->image();
    forEachBandOfRows(pixels.rows, [&](int first, int end) {
        cv::Mat band = pixels.rowRange(first, end);
        cv::cvtColor(full->image().rowRange(first, end), band, code);
    });
    return reordered;
}

const ImageColourspace::Table& ImageColourspace::conversions()
{
    // clang-format off
    static const Table& table = *new Table(conversionTable<Reorder>(
        from<RgbU8> (to<       BgrU8, RgbaU8, BgraU8>) +
        from<BgrU8> (to<RgbU8,        RgbaU8, BgraU8>) +
        from<RgbaU8>(to<RgbU8, BgrU8,         BgraU8>) +
        from<BgraU8>(to<RgbU8, BgrU8, RgbaU8        >) +
        from<BgrF32>(to<BgraF32>)));
    // clang-format on
    return table;
}

namespace {

[[maybe_unused]] const auto& tableAtStartUp = ImageColourspace::conversions();

}

}
