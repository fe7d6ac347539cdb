#include "benchmarks/Limit.h"

#include <benchmark/benchmark.h>
#include <opencv2/core/hal/intrin.hpp>
#include <opencv2/core/utility.hpp>

#include <cstddef>

namespace {

constexpr std::size_t step = 16;

cv::v_uint8x16 readAll(const uchar* bytes, std::size_t count)
{
    auto sum = cv::v_setzero_u8();
    for (std::size_t i = 0; i + step <= count; i += step)
        sum = sum ^ cv::v_load(bytes + i);
    return sum;
}

void writeAll(uchar* bytes, std::size_t count, const cv::v_uint8x16& value)
{
    for (std::size_t i = 0; i + step <= count; i += step)
        cv::v_store(bytes + i, value);
}

}

void readAndWrite(const cv::Mat& input, cv::Mat& output)
{
    // A row of groups may stand for several rows of pixels.
    const int rowsPerRow = output.rows / input.rows;
    cv::parallel_for_(cv::Range(0, input.rows), [&](const cv::Range& band) {
        for (int row = band.start; row < band.end; ++row) {
            const auto sum = readAll(input.ptr(row), input.cols * input.elemSize());
            for (int pixelRow = row * rowsPerRow; pixelRow < (row + 1) * rowsPerRow; ++pixelRow)
                writeAll(output.ptr(pixelRow), output.cols * output.elemSize(), sum);
        }
    });
    benchmark::DoNotOptimize(output.data);
}
