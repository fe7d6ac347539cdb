#include "benchmarks/Machine.h"

#include "tests/support/KernelLevels.h"

#include <benchmark/benchmark.h>
#include <opencv2/core.hpp>

#include <cstddef>
#include <cstring>
#include <vector>

#include <immintrin.h>

namespace Benchmarks {

namespace {

std::size_t byteCount(const cv::Mat& matrix)
{
    return matrix.total() * matrix.elemSize();
}

// Instructions are chosen by an attribute of a function, which no template can vary. The output is
// aligned to the vector.
#define READ_AND_WRITE(name, instructions, Vector, load, combine, store)                   \
    [[gnu::target(instructions)]] void name(const std::byte* input, std::size_t inputSize, \
                                            std::byte* output, std::size_t outputSize)     \
    {                                                                                      \
        Vector sum{};                                                                      \
        for (std::size_t i = 0; i + sizeof sum <= inputSize; i += sizeof sum)              \
            sum = combine(sum, load(reinterpret_cast<const Vector*>(input + i)));          \
        for (std::size_t i = 0; i + sizeof sum <= outputSize; i += sizeof sum)             \
            store(reinterpret_cast<Vector*>(output + i), sum);                             \
        _mm_sfence();                                                                      \
    }

// clang-format off
READ_AND_WRITE(plain16,       "sse2",    __m128i, _mm_loadu_si128,    _mm_xor_si128,    _mm_store_si128)
READ_AND_WRITE(plain32,       "avx2",    __m256i, _mm256_loadu_si256, _mm256_xor_si256, _mm256_store_si256)
READ_AND_WRITE(plain64,       "avx512f", __m512i, _mm512_loadu_si512, _mm512_xor_si512, _mm512_store_si512)
READ_AND_WRITE(nonTemporal16, "sse2",    __m128i, _mm_loadu_si128,    _mm_xor_si128,    _mm_stream_si128)
READ_AND_WRITE(nonTemporal32, "avx2",    __m256i, _mm256_loadu_si256, _mm256_xor_si256, _mm256_stream_si256)
READ_AND_WRITE(nonTemporal64, "avx512f", __m512i, _mm512_loadu_si512, _mm512_xor_si512, _mm512_stream_si512)
// clang-format on
#undef READ_AND_WRITE

constexpr int stripes = 256;
constexpr std::size_t alignment = 64;

// Where a stripe begins in so many bytes.
std::size_t beginning(int stripe, std::size_t size)
{
    return size * static_cast<std::size_t>(stripe) / stripes / alignment * alignment;
}

}

std::vector<Stores> storesOfThisMachine()
{
    const bool hasAvx2 = __builtin_cpu_supports("avx2");
    const bool hasAvx512 = __builtin_cpu_supports("avx512f");
    std::vector<Stores> stores{
        {"plain, 16 bytes", true, plain16},
        {"plain, 32 bytes", hasAvx2, plain32},
        {"plain, 64 bytes", hasAvx512, plain64},
        {"non-temporal, 16 bytes", true, nonTemporal16},
        {"non-temporal, 32 bytes", hasAvx2, nonTemporal32},
        {"non-temporal, 64 bytes", hasAvx512, nonTemporal64},
    };
    std::erase_if(stores, [](const Stores& each) { return !each.isSupported; });
    return stores;
}

void readAndWrite(const Stores& stores, const cv::Mat& input, cv::Mat& output)
{
    const auto* const source = reinterpret_cast<const std::byte*>(input.data);
    auto* const target = cv::alignPtr(reinterpret_cast<std::byte*>(output.data), alignment);
    const std::size_t inputSize = byteCount(input);
    const std::size_t outputSize = byteCount(output) - (alignment - 1);
    cv::parallel_for_(cv::Range(0, stripes), [&](const cv::Range& band) {
        for (int stripe = band.start; stripe < band.end; ++stripe) {
            const auto from = beginning(stripe, inputSize);
            const auto to = beginning(stripe, outputSize);
            stores.readAndWrite(source + from, beginning(stripe + 1, inputSize) - from, target + to,
                                beginning(stripe + 1, outputSize) - to);
        }
    });
}

void copyRows(const cv::Mat& from, cv::Mat& to)
{
    const auto copy = [&](const cv::Range& rows) {
        for (int row = rows.start; row < rows.end; ++row)
            std::memcpy(to.ptr(row), from.ptr(row), static_cast<std::size_t>(from.cols));
    };
    cv::parallel_for_(cv::Range(0, from.rows), copy, from.rows);
}

int runBenchmarks(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    constexpr const char* levels[] = {"baseline", "SSE4.1", "AVX2", "AVX-512"};
    const auto level = static_cast<std::size_t>(MediaConversion::useLevelOfEnvironment());
    benchmark::AddCustomContext("kernel level", levels[level]);
#ifdef __clang__
    benchmark::AddCustomContext("compiler", __VERSION__);
#else
    benchmark::AddCustomContext("compiler", "g++ " __VERSION__);
#endif
    benchmark::AddCustomContext("OpenCV", cv::getVersionString());
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}

}
