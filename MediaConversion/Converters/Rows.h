#pragma once

#include <opencv2/core/utility.hpp>

namespace MediaConversion {

// Calls the kernel with bands of rows, [first, end), on OpenCV's workers. The only place that knows
// of threads: kernels write disjoint rows and read what nobody writes.
template <class Kernel>
void forEachBandOfRows(int rows, const Kernel& kernel)
{
    cv::parallel_for_(cv::Range(0, rows),
                      [&](const cv::Range& band) { kernel(band.start, band.end); });
}

}
