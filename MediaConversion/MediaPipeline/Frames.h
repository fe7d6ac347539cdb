#pragma once

#include "MediaConversion/MediaPipeline/Formats.h"
#include "MediaConversion/MediaPipeline/MemoryPool.h"

#include <opencv2/core/mat.hpp>

#include <cstddef>
#include <cstdint>
#include <memory>

namespace Velmora {

// One picture on its way through the conversion. A frame has one owner at a time and is moved from
// stage to stage.
class IFrame
{
public:
    virtual ~IFrame() = default;

    virtual const FrameFormat& format() const = 0;
};

// A frame in host memory. The elements of its matrix are pixels or packing groups.
class IImageFrame : public IFrame
{
public:
    virtual const cv::Mat& image() const = 0;
};

// A frame in a texture of the graphics card.
class ITextureFrame : public IFrame
{
};

// The bytes of one frame as read from a file. Headers before the pixels may stay in the buffer.
class RawFrameData
{
public:
    // The pixels lie from `pixelDataOffset` to `pixelDataEnd`, both in bytes from the start of the
    // buffer; an end of 0 means the end of the buffer. Throws a std::runtime_error when there is no
    // buffer or when they do not lie inside it.
    RawFrameData(std::unique_ptr<PooledBuffer> data, std::uint64_t pixelDataOffset,
                 std::uint64_t pixelDataEnd = 0);

    std::byte* pixels() const { return m_data->data() + m_pixelDataOffset; }
    std::uint64_t pixelByteCount() const;

private:
    std::unique_ptr<PooledBuffer> m_data;
    std::uint64_t m_pixelDataOffset;
    std::uint64_t m_pixelDataEnd;
};

// What full and packed frames share: a matrix that fits the frame's format. Sizes in pixels. All
// failures are std::runtime_errors, thrown before the frame exists.
class ImageFrame : public IImageFrame
{
public:
    // A frame over an existing matrix, which the table must give for the format: the frame shares
    // its pixels, or with `flip` has a copy of its own with the order of the rows reversed.
    ImageFrame(const CvTypes& table, const FrameFormat& format, const cv::Mat& image, bool flip);

    ImageFrame(const ImageFrame&) = delete;
    ImageFrame& operator=(const ImageFrame&) = delete;

    int cvType() const { return m_cvType; }
    const FrameFormat& format() const override { return m_format; }
    const cv::Mat& image() const override { return m_image; }

    int width() const;
    int height() const;

    // The file's bytes under the matrix; throws when the frame was not made from a file's bytes.
    const RawFrameData& rawFrameData() const;

    // Installs the pool that frames draw from, process-wide, and with it the allocator that makes
    // every new matrix of the process draw from it as well. An empty pool takes both away again.
    // Matrices that are alive keep their blocks and the pool that lent them.
    static void setMemoryPool(std::shared_ptr<IMemoryPool> pool);

    // The same for a guest in a process whose other matrices are not ours: frames alone draw from
    // the pool, and OpenCV's default allocator stays as it is.
    static void setFramePool(std::shared_ptr<IMemoryPool> pool);

    // The installed pool; throws when there is none.
    static std::shared_ptr<IMemoryPool> memoryPool();

protected:
    // By reference: the matrix is made from the same data in the caller's argument list.
    ImageFrame(const CvTypes& table, const FrameFormat& format, const cv::Mat& image,
               std::unique_ptr<RawFrameData>&& rawFrameData);

private:
    int m_cvType;
    FrameFormat m_format;
    std::unique_ptr<RawFrameData> m_rawFrameData;  // stays as long as the matrix points into it
    cv::Mat m_image;
};

class PackedFrame;

// A frame with one pixel per matrix element, in a format of FullFormatCvTypes().
class FullFrame final : public ImageFrame
{
public:
    // Shares the matrix's pixels, or with `flip` copies them with the order of the rows reversed.
    FullFrame(const FrameFormat& format, const cv::Mat& image, bool flip = false);

    // Pixels still to be written.
    FullFrame(const FrameFormat& format, int width, int height);

    // A frame for the pixels of a packed one: as wide and as high, still to be written.
    FullFrame(const PackedFrame& packedFrame, const FrameFormat& format);

    // A frame over a file's bytes, without copying them.
    FullFrame(const FrameFormat& format, int width, int height,
              std::unique_ptr<RawFrameData> rawFrameData);

    // The checks of a frame over a file's bytes, for a caller that has no bytes yet.
    static void checkByteCount(const FrameFormat& format, int width, int height,
                               std::uint64_t byteCount);
};

class FullFrame;

// A frame with one packing group per matrix element, in a format of PackedFormatCvTypes(). Its
// width and height are multiples of the group's columns and rows.
class PackedFrame final : public ImageFrame
{
public:
    // Shares the matrix's groups, or with `flip` copies them with the order of the rows reversed.
    PackedFrame(const FrameFormat& format, const cv::Mat& image, bool flip = false);

    // Groups still to be written.
    PackedFrame(const FrameFormat& format, int width, int height);

    // A frame for the pixels of a full one: as wide and as high, still to be written.
    PackedFrame(const FullFrame& fullFrame, const FrameFormat& format);

    // A frame over a file's bytes, without copying them.
    PackedFrame(const FrameFormat& format, int width, int height,
                std::unique_ptr<RawFrameData> rawFrameData);

    // The checks of a frame over a file's bytes, for a caller that has no bytes yet.
    static void checkByteCount(const FrameFormat& format, int width, int height,
                               std::uint64_t byteCount);
};

// A full or packed frame over an existing matrix, whichever the format is: it shares the elements.
std::unique_ptr<ImageFrame> frameOver(const FrameFormat& format, const cv::Mat& image);

// The matrix of a packed frame: one element per group.
struct PackedMatrixShape
{
    int groupRows;
    int groupColumns;
    int cvType;
};

// The matrix of a frame of width x height pixels. Throws a std::runtime_error when the pixels do
// not fill whole groups, columns first, or when a group does not fill an element of the OpenCV
// type.
PackedMatrixShape packedMatrixShape(const FrameFormat& format, int cvType, int width, int height);

}
