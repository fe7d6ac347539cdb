#include "benchmarks/Limit.h"

#include <opencv2/core.hpp>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#ifdef __x86_64__
#include <immintrin.h>
#endif

namespace Benchmarks {

namespace {

std::size_t byteCount(const cv::Mat& matrix)
{
    return matrix.total() * matrix.elemSize();
}

#ifdef __x86_64__

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

#else

void plain16(const std::byte* input, std::size_t inputSize, std::byte* output,
             std::size_t outputSize)
{
    using Vector [[gnu::vector_size(16), gnu::aligned(1), gnu::may_alias]] = std::uint64_t;
    Vector sum{};
    for (std::size_t i = 0; i + sizeof sum <= inputSize; i += sizeof sum)
        sum ^= *reinterpret_cast<const Vector*>(input + i);
    for (std::size_t i = 0; i + sizeof sum <= outputSize; i += sizeof sum)
        *reinterpret_cast<Vector*>(output + i) = sum;
}

#endif

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
#ifdef __x86_64__
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
#else
    return {{"plain, 16 bytes", true, plain16}};
#endif
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

Copy::Copy(const cv::Mat& input, const cv::Mat& output, int threads)
{
    const auto each = (byteCount(input) + byteCount(output)) / 2 / static_cast<unsigned>(threads);
    for (auto& pieces : m_pieces)
        pieces = cv::Mat(threads, static_cast<int>(each), CV_8U, cv::Scalar(1));
}

void Copy::run()
{
    const auto& from = m_pieces[m_turn];
    auto& to = m_pieces[m_turn ^= 1];
    cv::parallel_for_(
        cv::Range(0, from.rows),
        [&](const cv::Range& rows) {
            for (int row = rows.start; row < rows.end; ++row)
                std::memcpy(to.ptr(row), from.ptr(row), static_cast<std::size_t>(from.cols));
        },
        from.rows);
}

}
