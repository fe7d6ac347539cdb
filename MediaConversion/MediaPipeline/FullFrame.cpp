#include "MediaConversion/MediaPipeline/FullFrame.h"

#include "MediaConversion/Errors.h"
#include "MediaConversion/MediaPipeline/PackedFrame.h"

#include <utility>

namespace Velmora {

namespace {

cv::Mat matrixOver(const FrameFormat& format, int width, int height,
                   const RawFrameData* rawFrameData)
{
    if (!rawFrameData)
        MediaConversion::fail("no rawFrameData");
    FullFrame::checkByteCount(format, width, height, rawFrameData->pixelByteCount());
    return cv::Mat(height, width, openCvType(format, FullFormatCvTypes()), rawFrameData->pixels());
}

}

FullFrame::FullFrame(const FrameFormat& format, const cv::Mat& image, bool flip)
    : ImageFrame(FullFormatCvTypes(), format, image, flip)
{
}

FullFrame::FullFrame(const FrameFormat& format, int width, int height)
    : FullFrame(format, cv::Mat(height, width, openCvType(format, FullFormatCvTypes())))
{
}

FullFrame::FullFrame(const PackedFrame& packedFrame, const FrameFormat& format)
    : FullFrame(format, packedFrame.width(), packedFrame.height())
{
}

FullFrame::FullFrame(const FrameFormat& format, int width, int height,
                     std::unique_ptr<RawFrameData> rawFrameData)
    : ImageFrame(FullFormatCvTypes(), format, matrixOver(format, width, height, rawFrameData.get()),
                 std::move(rawFrameData))
{
}

void FullFrame::checkByteCount(const FrameFormat& format, int width, int height,
                               std::uint64_t byteCount)
{
    openCvType(format, FullFormatCvTypes());
    // In 64 bits: a file's own 32-bit byte count wraps for a frame that is too large for it.
    const auto expected = std::uint64_t{static_cast<std::uint32_t>(width)} *
                          static_cast<std::uint32_t>(height) * format.pixelPacking.bytesPerGroup;
    if (byteCount != expected)
        MediaConversion::fail("Expecting input data byte count ", expected, ", got ", byteCount);
}

}
