#include "MediaConversion/Converters/Decoding.h"

#include "MediaConversion/Converters/Rows.h"

namespace MediaConversion {

std::unique_ptr<Velmora::FullFrame> decodeRows(const Velmora::PackedFrame& source,
                                               const Velmora::FrameFormat& destination,
                                               DecodeRow decodeRow)
{
    auto decoded = std::make_unique<Velmora::FullFrame>(source, destination);
    const cv::Mat& groups = source.image();
    cv::Mat pixels = decoded->image();
    const int pixelRows = static_cast<int>(source.format().pixelPacking.rowsPerGroup);
    forEachBandOfRows(groups.rows, [&](int first, int end) {
        for (int row = first; row < end; ++row)
            decodeRow(groups.ptr(row), groups.cols, pixels.ptr(row * pixelRows), pixels.step);
    });
    return decoded;
}

std::unique_ptr<Velmora::FullFrame> decodeToRgb(const Velmora::IImageFrame* frame,
                                                const Velmora::FrameFormat& destination,
                                                const DecodeTable& conversions)
{
    const auto* const packed = dynamic_cast<const Velmora::PackedFrame*>(frame);
    if (!packed)
        fail("Can only convert PackedFrame images");
    const auto decode = findConversion(conversions, packed->format(), destination,
                                       "RGB conversion is not supported from ");
    if (packed->image().empty())
        fail("no image data in frame");
    return decode(*packed, destination);
}

}
