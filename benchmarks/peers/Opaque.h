#pragma once

#include <opencv2/core.hpp>

namespace Benchmarks::Peers {

// A copy with an alpha of 255, for encoders that would give transparent pixels another block.
inline cv::Mat opaque(const cv::Mat& rgba)
{
    cv::Mat copy = rgba | cv::Scalar(0, 0, 0, 255);
    return copy;
}

}
