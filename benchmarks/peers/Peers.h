#pragma once

#include "benchmarks/Work.h"

#include <memory>

// Other libraries' ways to do what ours do. Each takes a source as our conversion has it, and the
// number of threads, which libraries without threads of their own ignore.
namespace Benchmarks::Peers {

// FFmpeg's libswscale, to planes of float green, blue and red.
std::unique_ptr<Work> scaleYuyv422(const cv::Mat& source, int threads);
std::unique_ptr<Work> scaleYuv422p10(const cv::Mat& source, int threads);
std::unique_ptr<Work> scaleYuv420p(const cv::Mat& source, int threads);
std::unique_ptr<Work> scaleX2rgb10(const cv::Mat& source, int threads);

// FFmpeg's libavcodec.
std::unique_ptr<Work> decodeDds(const cv::Mat& source, int threads);
std::unique_ptr<Work> encodeHap(const cv::Mat& source, int threads);
std::unique_ptr<Work> encodeHapQ(const cv::Mat& source, int threads);

std::unique_ptr<Work> readDpx(const cv::Mat& source, int threads);
std::unique_ptr<Work> convertYuy2(const cv::Mat& source, int threads);
std::unique_ptr<Work> encodeBySquish(const cv::Mat& source, int threads);
std::unique_ptr<Work> encodeByStb(const cv::Mat& source, int threads);

}
