#include "MediaConversion/Converters/Encoding.h"

#include "MediaConversion/Converters/Rows.h"

namespace MediaConversion {

std::unique_ptr<Velmora::PackedFrame> encodeRows(const Velmora::ImageFrame& source,
                                                 const Velmora::FrameFormat& destination,
                                                 EncodeRow encodeRow)
{
    auto encoded =
        std::make_unique<Velmora::PackedFrame>(destination, source.width(), source.height());
    const cv::Mat& pixels = source.image();
    cv::Mat groups = encoded->image();
    const int pixelRows = static_cast<int>(destination.pixelPacking.rowsPerGroup);
    forEachBandOfRows(groups.rows, [&](int first, int end) {
        for (int row = first; row < end; ++row)
            encodeRow(pixels.ptr(row * pixelRows), pixels.step, groups.ptr(row), groups.cols);
    });
    return encoded;
}

std::unique_ptr<Velmora::PackedFrame> encodeFromRgb(const Velmora::IImageFrame* frame,
                                                    const Velmora::FrameFormat& destination,
                                                    const EncodeTable& conversions,
                                                    std::string_view refusal)
{
    const auto* const image = dynamic_cast<const Velmora::ImageFrame*>(frame);
    if (!image)
        fail("Can only convert FullFrame images");
    const auto encode = findConversion(conversions, image->format(), destination, refusal);
    if (image->image().empty())
        fail("no image data in frame");
    return encode(*image, destination);
}

}
