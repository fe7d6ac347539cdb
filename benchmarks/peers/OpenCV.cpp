#include "MediaConversion/MediaPipeline/Formats.h"
#include "benchmarks/OurWork.h"
#include "benchmarks/peers/Peers.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <memory>

namespace Benchmarks::Peers {

namespace {

// Of Y from 16 to 235 and chroma from 16 to 240, as cvtColor wants it.
class Yuy2Conversion final : public Work
{
public:
    explicit Yuy2Conversion(const cv::Mat& yuyv) : m_source(yuyv.clone().reshape(2))
    {
        for (int row = 0; row < m_source.rows; ++row)
            for (int column = 0; column < m_source.cols; ++column) {
                auto& pixel = m_source.at<cv::Vec2b>(row, column);
                pixel[0] = cv::saturate_cast<uchar>(16 + pixel[0] * (219 / 255.0));
                pixel[1] = cv::saturate_cast<uchar>(128 + (pixel[1] - 127.5) * (224 / 255.0));
            }
    }

    void run() override
    {
        cv::cvtColor(m_source, m_bytes, cv::COLOR_YUV2BGRA_YUY2);
        m_bytes.convertTo(m_floats, CV_32F, 1.0 / 255);
    }

    cv::Mat picture() const override { return pictureOf(Velmora::Formats::BGRA_F32(), m_floats); }

private:
    cv::Mat m_source;
    cv::Mat m_bytes;
    cv::Mat m_floats;
};

}

// Its threads are those of cv::setNumThreads.
std::unique_ptr<Work> convertYuy2(const cv::Mat& source, int /*threads*/)
{
    return std::make_unique<Yuy2Conversion>(source);
}

}
