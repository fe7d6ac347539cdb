#include "MediaConversion/MediaPipeline/ImageFrame.h"

#include "MediaConversion/Errors.h"

#include <opencv2/core.hpp>

#include <utility>

namespace Velmora {

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

}
