#pragma once

#include <opencv2/core/utility.hpp>

#include <exception>

namespace MediaConversion {

// Calls the kernel with bands of rows, [first, end), on OpenCV's workers. The only place that knows
// of threads: kernels write disjoint rows and read what nobody writes. Where no worker can be
// started the loop fails before it is through. Then the rows are all done here, one by one: what
// OpenCV does inside a kernel spreads over workers, too, but never a single row.
template <class Kernel>
void forEachBandOfRows(int rows, const Kernel& kernel)
{
    try {
        cv::parallel_for_(cv::Range(0, rows),
                          [&](const cv::Range& band) { kernel(band.start, band.end); });
    } catch (const std::exception&) {
        for (int row = 0; row < rows; ++row)
            kernel(row, row + 1);
    }
}

}
