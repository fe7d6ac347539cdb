#include "benchmarks/Limit.h"

#include <benchmark/benchmark.h>
#include <opencv2/core/hal/intrin.hpp>
#include <opencv2/core/utility.hpp>

#include <cstddef>

namespace {

constexpr std::size_t step = 16;
constexpr int stripes = 256;

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

std::size_t bytesOf(const cv::Mat& matrix)
{
    return matrix.total() * matrix.elemSize();
}

}

void readAndWrite(const cv::Mat& input, cv::Mat& output)
{
    const std::size_t inputStripe = bytesOf(input) / stripes;
    const std::size_t outputStripe = bytesOf(output) / stripes;
    cv::parallel_for_(cv::Range(0, stripes), [&](const cv::Range& band) {
        for (auto stripe = static_cast<std::size_t>(band.start);
             stripe < static_cast<std::size_t>(band.end); ++stripe)
            writeAll(output.data + stripe * outputStripe, outputStripe,
                     readAll(input.data + stripe * inputStripe, inputStripe));
    });
    benchmark::DoNotOptimize(output.data);
}
