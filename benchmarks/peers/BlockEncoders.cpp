#include "MediaConversion/MediaPipeline/Formats.h"
#include "benchmarks/peers/Peers.h"

#include <squish.h>
#include <opencv2/core.hpp>

#define STB_DXT_IMPLEMENTATION
#include <stb/stb_dxt.h>

#include <cstring>

// The threads of Debian's libsquish are those of GNU's OpenMP.
extern "C" void omp_set_num_threads(int threads);

namespace Benchmarks::Peers {

namespace {

void squishAll(const cv::Mat& rgba, cv::Mat& blocks)
{
    squish::CompressImage(rgba.data, rgba.cols, rgba.rows, blocks.data,
                          squish::kDxt1 | squish::kColourRangeFit);
}

void compressByStb(const cv::Mat& rgba, cv::Mat& blocks)
{
    for (int row = 0; row < blocks.rows; ++row)
        for (int column = 0; column < blocks.cols; ++column) {
            uchar pixels[64];
            for (int k = 0; k < 4; ++k)
                std::memcpy(pixels + 16 * k, rgba.ptr(4 * row + k, 4 * column), 16);
            stb_compress_dxt_block(blocks.ptr(row, column), pixels, 0, STB_DXT_NORMAL);
        }
}

Work encoding(const cv::Mat& source, void (*encode)(const cv::Mat&, cv::Mat&))
{
    // Transparent pixels would get another kind of block.
    const cv::Mat rgba = source | cv::Scalar(0, 0, 0, 255);
    cv::Mat blocks(rgba.rows / 4, rgba.cols / 4, CV_8UC(8));
    return {[=]() mutable { encode(rgba, blocks); },
            [=] { return pictureOf(Velmora::Formats::RGB_DXT1(), blocks); }};
}

}

Work encodeBySquish(const cv::Mat& source, int threads)
{
    omp_set_num_threads(threads);
    return encoding(source, squishAll);
}

Work encodeByStb(const cv::Mat& source, int /*threads*/)
{
    return encoding(source, compressByStb);
}

}
