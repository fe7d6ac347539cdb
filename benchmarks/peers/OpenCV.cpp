#include "MediaConversion/MediaPipeline/Formats.h"
#include "benchmarks/peers/Peers.h"

#include <opencv2/imgproc.hpp>

#include <memory>

namespace Benchmarks::Peers {

// Its threads are those of cv::setNumThreads.
Work convertYuy2(const cv::Mat& source, int /*threads*/)
{
    // cvtColor wants Y from 16 to 235 and chroma from 16 to 240.
    cv::Mat yuyv = source.clone().reshape(2);
    for (auto& pixel : cv::Mat_<cv::Vec2b>(yuyv)) {
        pixel[0] = cv::saturate_cast<uchar>(16 + pixel[0] * (219 / 255.0));
        pixel[1] = cv::saturate_cast<uchar>(128 + (pixel[1] - 127.5) * (224 / 255.0));
    }
    struct Results
    {
        cv::Mat bytes, floats;
    };
    const auto results = std::make_shared<Results>();
    return {[=] {
                cv::cvtColor(yuyv, results->bytes, cv::COLOR_YUV2BGRA_YUY2);
                results->bytes.convertTo(results->floats, CV_32F, 1.0 / 255);
            },
            [=] { return pictureOf(Velmora::Formats::BGRA_F32(), results->floats); }};
}

}
