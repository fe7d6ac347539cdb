#include "MediaConversion/MediaPipeline/Frames.h"

#include "MediaConversion/Errors.h"
#include "MediaConversion/MediaPipeline/OpenCvMatAllocator.h"

#include <opencv2/core.hpp>
#include <opencv2/core/mat.hpp>

#include <cstdint>
#include <utility>

namespace Velmora {

PackedMatrixShape packedMatrixShape(const FrameFormat& format, int cvType, int width, int height)
{
    using MediaConversion::fail;
    const auto& packing = format.pixelPacking;
    const auto columns = static_cast<std::uint32_t>(width);
    const auto rows = static_cast<std::uint32_t>(height);
    if (columns % packing.columnsPerGroup != 0)
        fail("Frame format column pixel packing of ", packing.columnsPerGroup,
             " pixels is incompatible with supplied image columns of ", columns);
    if (rows % packing.rowsPerGroup != 0)
        fail("Frame format row pixel packing of ", packing.rowsPerGroup,
             " pixels is incompatible with supplied image rows of ", rows);
    if (static_cast<std::uint32_t>(CV_ELEM_SIZE(cvType)) != packing.bytesPerGroup)
        fail("Mismatch in channel count between packing format (", packing.bytesPerGroup,
             ") and underlying image matrix (", CV_ELEM_SIZE1(cvType), " bytes per channel, ",
             CV_MAT_CN(cvType), " channels)");
    return {static_cast<int>(rows / packing.rowsPerGroup),
            static_cast<int>(columns / packing.columnsPerGroup), cvType};
}

RawFrameData::RawFrameData(std::unique_ptr<PooledBuffer> data, std::uint64_t pixelDataOffset,
                           std::uint64_t pixelDataEnd)
    : m_data(std::move(data)), m_pixelDataOffset(pixelDataOffset), m_pixelDataEnd(pixelDataEnd)
{
    using MediaConversion::fail;
    if (!m_data)
        fail("Null data");
    const auto size = m_data->size();
    if (m_pixelDataOffset > size)
        fail("Pixel data offset (", m_pixelDataOffset, ") exceeds data size (", size, ")");
    if (m_pixelDataEnd == 0)
        return;
    if (m_pixelDataEnd < m_pixelDataOffset)
        fail("Pixel data end (", m_pixelDataEnd, ") is before pixel data offset (",
             m_pixelDataOffset, ")");
    if (m_pixelDataEnd > size)
        fail("Pixel data end (", m_pixelDataEnd, ") exceeds data size (", size, ")");
}

std::uint64_t RawFrameData::pixelByteCount() const
{
    return (m_pixelDataEnd ? m_pixelDataEnd : m_data->size()) - m_pixelDataOffset;
}

ImageFrame::ImageFrame(const CvTypes& table, const FrameFormat& format, const cv::Mat& image,
                       bool flip)
    : m_cvType(openCvType(format, table)), m_format(format)
{
    using MediaConversion::fail;
    if (image.type() != m_cvType)
        fail("Frame format ", format, " needs OpenCV type ", m_cvType,
             " and is incompatible with supplied image of type ", image.type());
    if (image.elemSize() != format.pixelPacking.bytesPerGroup)
        fail("Frame pixel packing of ", format.pixelPacking.bytesPerGroup,
             " bytes is incompatible with supplied image element size of ", image.elemSize());
    if (flip)
        cv::flip(image, m_image, 0);
    else
        m_image = image;
}

ImageFrame::ImageFrame(const CvTypes& table, const FrameFormat& format, const cv::Mat& image,
                       std::unique_ptr<RawFrameData>&& rawFrameData)
    : ImageFrame(table, format, image, false)
{
    m_rawFrameData = std::move(rawFrameData);
}

int ImageFrame::width() const
{
    return m_image.cols * static_cast<int>(m_format.pixelPacking.columnsPerGroup);
}

int ImageFrame::height() const
{
    return m_image.rows * static_cast<int>(m_format.pixelPacking.rowsPerGroup);
}

const RawFrameData& ImageFrame::rawFrameData() const
{
    if (!m_rawFrameData)
        MediaConversion::fail("ImageFrame does not contain any raw data");
    return *m_rawFrameData;
}

namespace {

cv::Mat pixelsOver(const FrameFormat& format, int width, int height,
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
    : FullFrame(format, frameMatrix(height, width, openCvType(format, FullFormatCvTypes())))
{
}

FullFrame::FullFrame(const PackedFrame& packedFrame, const FrameFormat& format)
    : FullFrame(format, packedFrame.width(), packedFrame.height())
{
}

FullFrame::FullFrame(const FrameFormat& format, int width, int height,
                     std::unique_ptr<RawFrameData> rawFrameData)
    : ImageFrame(FullFormatCvTypes(), format, pixelsOver(format, width, height, rawFrameData.get()),
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

namespace {

PackedMatrixShape shapeOf(const FrameFormat& format, int width, int height)
{
    return packedMatrixShape(format, openCvType(format, PackedFormatCvTypes()), width, height);
}

cv::Mat newMatrix(const FrameFormat& format, int width, int height)
{
    const auto shape = shapeOf(format, width, height);
    return frameMatrix(shape.groupRows, shape.groupColumns, shape.cvType);
}

cv::Mat groupsOver(const FrameFormat& format, int width, int height,
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
                 groupsOver(format, width, height, rawFrameData.get()), std::move(rawFrameData))
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

std::unique_ptr<ImageFrame> frameOver(const FrameFormat& format, const cv::Mat& image)
{
    if (PackedFormatCvTypes().contains(format))
        return std::make_unique<PackedFrame>(format, image);
    return std::make_unique<FullFrame>(format, image);
}

}
