#pragma once

#include "MediaConversion/Converters/Kernels.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

#if defined(__SSE2__)
#include <immintrin.h>
#elif defined(__aarch64__)
#include <arm_neon.h>
#endif

// What the kernels need of single registers beyond the operators of the compilers' own vector
// types: shuffles, selections and conversions, each as the best instruction of the level that is
// compiled for.
namespace MediaConversion {

static_assert(std::endian::native == std::endian::little,
              "lanes are taken from and put into little-endian words");

// The level that this source is compiled for. The build says which: a user's own flags may allow
// for more than the level has.
inline constexpr Level compiledLevel = Level::KERNEL_LEVEL;

#if defined(__AVX512BW__)
inline constexpr int registerBytes = 64;
#elif defined(__AVX2__)
inline constexpr int registerBytes = 32;
#else
inline constexpr int registerBytes = 16;
#endif

// Without a name: every level has vectors of its own that the linker never joins with another's.
namespace {

template <class T, int lanes>
struct Register
{
    typedef T Type __attribute__((vector_size(lanes * sizeof(T))));
};

// Where one of the operands is not a number, the result is the second.
template <class R>
inline R larger(R one, R other)
{
    return one > other ? one : other;
}

template <class R>
inline R smaller(R one, R other)
{
    return one < other ? one : other;
}

// All bits of a lane are set where two numbers are equal.
template <class R>
inline R equalLanes(R one, R other)
{
    return reinterpret_cast<R>(one == other);
}

// Selects bytes of `one` where the highest bit of the mask's byte is set, else those of `other`.
template <class R>
inline R select(R mask, R one, R other)
{
    using SignedBytes = typename Register<std::int8_t, sizeof(R)>::Type;
    const auto bytesOf = [](R values) { return reinterpret_cast<SignedBytes>(values); };
    return reinterpret_cast<R>(bytesOf(mask) < 0 ? bytesOf(one) : bytesOf(other));
}

template <class To, class From>
inline To converted(From values)
{
    return __builtin_convertvector(values, To);
}

// Converts the lower two of four values.
template <class R>
inline typename Register<double, 2>::Type lowerDoubles(R values)
{
    using Doubles = typename Register<double, 2>::Type;
    return Doubles{static_cast<double>(values[0]), static_cast<double>(values[1])};
}

#if __has_builtin(__builtin_shufflevector)
// Shuffles the lanes of two registers, which are numbered through.
template <class T, int... lanes, class R>
inline typename Register<T, sizeof...(lanes)>::Type lanesOf(R one, R other)
{
    return __builtin_shufflevector(one, other, lanes...);
}
#else
// g++ 11 shuffles registers of one size only. Where the result is twice as wide, the lanes are
// always those of both registers in order.
template <std::size_t bytes>
struct IntegerOf;
// clang-format off
template <> struct IntegerOf<1>  { using Type = std::int8_t; };
template <> struct IntegerOf<2>  { using Type = std::int16_t; };
template <> struct IntegerOf<4>  { using Type = std::int32_t; };
template <> struct IntegerOf<8>  { using Type = std::int64_t; };
template <> struct IntegerOf<16> { __extension__ using Type = __int128; };
// clang-format on

template <class T, int... lanes, class R>
inline typename Register<T, sizeof...(lanes)>::Type lanesOf(R one, R other)
{
    using Lanes = typename Register<T, sizeof...(lanes)>::Type;
    if constexpr (sizeof(Lanes) > sizeof(R)) {
        using Whole = typename IntegerOf<sizeof(R)>::Type;
        return reinterpret_cast<Lanes>(typename Register<Whole, 2>::Type{
            reinterpret_cast<Whole>(one), reinterpret_cast<Whole>(other)});
    } else {
        using Index = typename IntegerOf<sizeof(T)>::Type;
        using Mask = typename Register<Index, sizeof(R) / sizeof(T)>::Type;
        const R shuffled = __builtin_shuffle(one, other, Mask{lanes...});
        Lanes first;
        std::memcpy(&first, &shuffled, sizeof first);
        return first;
    }
}
#endif

#if defined(__SSE2__) && !defined(__SSSE3__) && !defined(__clang__)
// Without an instruction for it, g++ shuffles bytes one by one into words of 64 bits, by way of
// memory that the processor then has to wait for. Here they are fetched by twos.
template <int first, int second>
inline std::uint16_t twoBytes(const std::uint8_t* bytes)
{
    if constexpr (second == first + 1) {
        std::uint16_t both;
        std::memcpy(&both, bytes + first, sizeof both);
        return both;
    } else {
        return static_cast<std::uint16_t>(bytes[first] | bytes[second] << 8);
    }
}

template <std::array lanes, class R, int... word>
inline R shuffledByTwos(R one, R other, std::integer_sequence<int, word...>)
{
    using Words = typename Register<std::uint16_t, sizeof...(word)>::Type;
    std::array<std::uint8_t, 2 * sizeof(R)> bytes;
    std::memcpy(bytes.data(), &one, sizeof one);
    std::memcpy(bytes.data() + sizeof one, &other, sizeof other);
    return reinterpret_cast<R>(
        Words{twoBytes<lanes[2 * word], lanes[2 * word + 1]>(bytes.data())...});
}

template <std::array lanes>
constexpr bool isInterleaved()
{
    constexpr int count = static_cast<int>(lanes.size());
    for (int lane = 0; lane < count; ++lane)
        if (lanes[lane] != lanes[0] + lane / 2 + lane % 2 * count)
            return false;
    return true;
}

template <int... lanes, class R>
inline R shuffledBytes(R one, R other)
{
    constexpr std::array all{lanes...};
    if constexpr (isInterleaved<all>() || all.size() < 8)
        return lanesOf<std::uint8_t, lanes...>(one, other);
    else
        return shuffledByTwos<all>(one, other, std::make_integer_sequence<int, all.size() / 2>{});
}
#else
template <int... lanes, class R>
inline R shuffledBytes(R one, R other)
{
    return lanesOf<std::uint8_t, lanes...>(one, other);
}
#endif

// Shuffles bytes within each 16 of them; a negative number gives 0.
template <int... bytes, class R>
inline R shuffledOrZero(R values)
{
#if defined(__SSSE3__)
    if constexpr (sizeof(R) == 16)
        return reinterpret_cast<R>(_mm_shuffle_epi8(reinterpret_cast<__m128i>(values),
                                                    _mm_setr_epi8(static_cast<char>(bytes)...)));
#endif
#if defined(__AVX2__)
    if constexpr (sizeof(R) == 32)  // the instruction takes the lowest four bits
        return reinterpret_cast<R>(_mm256_shuffle_epi8(
            reinterpret_cast<__m256i>(values), _mm256_setr_epi8(static_cast<char>(bytes)...)));
#endif
    return shuffledBytes<(bytes < 0 ? int{sizeof(R)} : bytes)...>(values, R{});
}

// Two registers as one.
template <class Both, class R>
inline Both concatenated(R one, R other)
{
    using T = std::remove_reference_t<decltype(one[0])>;
    return [&]<int... lanes>(std::integer_sequence<int, lanes...>)
    {
        return lanesOf<T, lanes...>(one, other);
    }
    (std::make_integer_sequence<int, sizeof(Both) / sizeof(T)>{});
}

#if defined(__FMA__)
inline constexpr bool hasFusedOperations = true;
#else
inline constexpr bool hasFusedOperations = false;
#endif

// one * other + addend, rounded once.
template <class R>
R fused(R one, R other, R addend);

template <class R>
inline bool anyIsZero(R values)
{
    for (std::size_t lane = 0; lane < sizeof values / sizeof values[0]; ++lane)
        if (values[lane] == 0)
            return true;
    return false;
}

template <class R>
inline bool anyIsSet(R values)
{
    auto all = values[0];
    for (std::size_t lane = 1; lane < sizeof values / sizeof values[0]; ++lane)
        all |= values[lane];
    return all != 0;
}

// The lanes of the lower eight bytes of each 16 of two registers by turns, or of the upper.
template <int which, class T, class R>
inline R interleavedInSixteens(R one, R other)
{
    constexpr int lanes = sizeof(R) / sizeof(T);
    constexpr int inSixteen = 16 / sizeof(T);
    return [&]<int... lane>(std::integer_sequence<int, lane...>)
    {
        return lanesOf<T, (lane % 2 * lanes + lane / inSixteen * inSixteen +
                           (which * inSixteen + lane % inSixteen) / 2)...>(one, other);
    }
    (std::make_integer_sequence<int, lanes>{});
}

// Writes a register past the caches where the processor has an instruction for it. The address is a
// multiple of the register's size.
template <class R>
inline void storePastCaches(void* to, R values)
{
#if defined(__AVX512F__)
    if constexpr (sizeof(R) == 64)
        return _mm512_stream_si512(static_cast<__m512i*>(to), reinterpret_cast<__m512i>(values));
#endif
#if defined(__AVX2__)
    if constexpr (sizeof(R) == 32)
        return _mm256_stream_si256(static_cast<__m256i*>(to), reinterpret_cast<__m256i>(values));
#endif
#if defined(__SSE2__)
    if constexpr (sizeof(R) == 16)
        return _mm_stream_si128(static_cast<__m128i*>(to), reinterpret_cast<__m128i>(values));
#endif
    std::memcpy(to, &values, sizeof values);
}

// Other threads may read what was stored past the caches only after this.
inline void finishStoresPastCaches()
{
#if defined(__SSE2__)
    _mm_sfence();
#endif
}

// The instructions that g++ does not find by itself.
// clang-format off
using Bytes8 = Register<std::uint8_t, 8>::Type;
using Halves8 = Register<std::uint16_t, 8>::Type;
using Integers2 = Register<std::int32_t, 2>::Type;
using Integers4 = Register<std::int32_t, 4>::Type;
using Floats4 = Register<float, 4>::Type;
using Doubles2 = Register<double, 2>::Type;
#if defined(__SSE2__)
template <> inline Floats4  larger(Floats4 one, Floats4 other)    { return _mm_max_ps(one, other); }
template <> inline Floats4  smaller(Floats4 one, Floats4 other)   { return _mm_min_ps(one, other); }
template <> inline Doubles2 larger(Doubles2 one, Doubles2 other)  { return _mm_max_pd(one, other); }
template <> inline Doubles2 smaller(Doubles2 one, Doubles2 other) { return _mm_min_pd(one, other); }
template <> inline Halves8  converted<Halves8>(Bytes8 values)     { return reinterpret_cast<Halves8>(_mm_unpacklo_epi8(_mm_cvtsi64_si128(reinterpret_cast<long long>(values)), _mm_setzero_si128())); }
template <> inline Doubles2 lowerDoubles(Floats4 values)          { return _mm_cvtps_pd(values); }
template <> inline Doubles2 lowerDoubles(Integers4 values)        { return _mm_cvtepi32_pd(reinterpret_cast<__m128i>(values)); }
#if defined(__AVX2__)
using Integers8 = Register<std::int32_t, 8>::Type;
using Floats8 = Register<float, 8>::Type;
using Doubles4 = Register<double, 4>::Type;
template <> inline Floats8   larger(Floats8 one, Floats8 other)    { return _mm256_max_ps(one, other); }
template <> inline Floats8   smaller(Floats8 one, Floats8 other)   { return _mm256_min_ps(one, other); }
template <> inline Doubles4  larger(Doubles4 one, Doubles4 other)  { return _mm256_max_pd(one, other); }
template <> inline Doubles4  smaller(Doubles4 one, Doubles4 other) { return _mm256_min_pd(one, other); }
template <> inline Floats8   equalLanes(Floats8 one, Floats8 other) { return _mm256_cmp_ps(one, other, _CMP_EQ_OQ); }
template <> inline Floats8   fused(Floats8 one, Floats8 other, Floats8 addend) { return _mm256_fmadd_ps(one, other, addend); }
template <> inline bool      anyIsZero(Integers8 values)           { return _mm256_movemask_epi8(_mm256_cmpeq_epi32(reinterpret_cast<__m256i>(values), _mm256_setzero_si256())) != 0; }
template <> inline bool      anyIsSet(Integers8 values)            { return !_mm256_testz_si256(reinterpret_cast<__m256i>(values), reinterpret_cast<__m256i>(values)); }
template <> inline Floats8   concatenated<Floats8>(Floats4 one, Floats4 other) { return _mm256_set_m128(other, one); }
template <> inline Doubles4  converted<Doubles4>(Floats4 values)    { return _mm256_cvtps_pd(values); }
template <> inline Doubles4  converted<Doubles4>(Integers4 values)  { return _mm256_cvtepi32_pd(reinterpret_cast<__m128i>(values)); }
template <> inline Integers8 converted<Integers8>(Halves8 values)  { return reinterpret_cast<Integers8>(_mm256_cvtepu16_epi32(reinterpret_cast<__m128i>(values))); }
#endif
#if defined(__AVX512F__)
using Doubles8 = Register<double, 8>::Type;
template <> inline Doubles8  converted<Doubles8>(Integers8 values)  { return _mm512_cvtepi32_pd(reinterpret_cast<__m256i>(values)); }
#endif
#elif defined(__aarch64__)
template <> inline Doubles2  lowerDoubles(Floats4 values)           { return vcvt_f64_f32(vget_low_f32(values)); }
template <> inline Doubles2  lowerDoubles(Integers4 values)         { return vcvtq_f64_s64(vmovl_s32(vget_low_s32(values))); }
template <> inline Halves8   converted<Halves8>(Bytes8 values)      { return vmovl_u8(values); }
template <> inline Integers2 converted<Integers2>(Doubles2 values)  { return vmovn_s64(vcvtq_s64_f64(values)); }
#endif
// clang-format on

}

}
