#include "MediaConversion/MediaPipeline/PackedFrame.h"

#include "MediaConversion/Errors.h"
#include "MediaConversion/MediaPipeline/FullFrame.h"
#include "MediaConversion/MediaPipeline/PackedMatrixShape.h"

#include <utility>

namespace Velmora {

namespace {

PackedMatrixShape shapeOf(const FrameFormat& format, int width, int height)
{
    return packedMatrixShape(format, openCvType(format, PackedFormatCvTypes()), width, height);
}

cv::Mat newMatrix(const FrameFormat& format, int width, int height)
{
    const auto shape = shapeOf(format, width, height);
    return cv::Mat(shape.groupRows, shape.groupColumns, shape.cvType);
}

cv::Mat matrixOver(const FrameFormat& format, int width, int height,
                   const RawFrameData* rawFrameData)
{
    if (!rawFrameData)
        MediaConversion::fail("no rawFrameData");
    PackedFrame::checkByteCount(format, width, height, rawFrameData->pixelByteCount());
    const auto shape = shapeOf(format, width, height);
    return cv::Mat(shape.groupRows, shape.groupColumns, shape.cvType, rawFrameData->pixels());
}

}

PackedFrame::PackedFrame(const FrameFormat& format, const cv::Mat& image, bool flip)
    : ImageFrame(PackedFormatCvTypes(), format, image, flip)
{
}

PackedFrame::PackedFrame(const FrameFormat& format, int width, int height)
    : PackedFrame(format, newMatrix(format, width, height))
{
}

PackedFrame::PackedFrame(const FullFrame& fullFrame, const FrameFormat& format)
    : PackedFrame(format, fullFrame.width(), fullFrame.height())
{
}

PackedFrame::PackedFrame(const FrameFormat& format, int width, int height,
                         std::unique_ptr<RawFrameData> rawFrameData)
    : ImageFrame(PackedFormatCvTypes(), format,
                 matrixOver(format, width, height, rawFrameData.get()), std::move(rawFrameData))
{
}

void PackedFrame::checkByteCount(const FrameFormat& format, int width, int height,
                                 std::uint64_t byteCount)
{
    const auto [groupRows, groupColumns, cvType] = shapeOf(format, width, height);
    const auto bytesPerGroup = format.pixelPacking.bytesPerGroup;
    // In 64 bits: a file's own 32-bit byte count wraps for a frame that is too large for it.
    const auto expected = static_cast<std::uint64_t>(groupRows) *
                          static_cast<std::uint64_t>(groupColumns) * bytesPerGroup;
    if (byteCount != expected)
        MediaConversion::fail("Expecting input byte count ", expected, " (", groupRows, "x",
                              groupColumns, "x", bytesPerGroup, " matrix), got ", byteCount,
                              " bytes");
}

}
