#pragma once

#include "MediaConversion/MediaPipeline/CvTypes.h"
#include "MediaConversion/MediaPipeline/IFrame.h"
#include "MediaConversion/MediaPipeline/Memory.h"
#include "MediaConversion/MediaPipeline/RawFrameData.h"

#include <memory>

namespace Velmora {

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

}
