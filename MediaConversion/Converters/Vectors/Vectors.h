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

// Vectors of a fixed number of lanes for the kernels, each as many registers as it takes on the
// level that is compiled for. Over the compilers' own vector types, which know the operators and
// shuffles of every machine.
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

// Where operands are not numbers, the second one counts.
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

// The bytes of the one where the mask's have their highest bit set, those of the other elsewhere.
template <class R>
inline R chosen(R mask, R one, R other)
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

// The lower two of four values.
template <class R>
inline typename Register<double, 2>::Type lowerDoubles(R values)
{
    using Doubles = typename Register<double, 2>::Type;
    return Doubles{static_cast<double>(values[0]), static_cast<double>(values[1])};
}

#if __has_builtin(__builtin_shufflevector)
// Lanes of two registers, numbered through: so many of one or of both.
template <class T, int... lanes, class R>
inline typename Register<T, sizeof...(lanes)>::Type lanesOf(R one, R other)
{
    return __builtin_shufflevector(one, other, lanes...);
}
#else
// g++ 11 shuffles whole registers of one size. Twice as many lanes are those of both, in order.
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

// What g++ does not find by itself.
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

template <class T, int count>
class Vector
{
public:
    static constexpr int width = std::min<int>(count, registerBytes / sizeof(T));
    static constexpr int parts = count / width;
    using Part = typename Register<T, width>::Type;

    Vector() = default;

    // The same value in every lane.
    explicit Vector(T value)
    {
        for (auto& part : m_parts)
            part = value - Part{};  // unlike +, exact for -0 as well
    }

    explicit Vector(const std::array<T, count>& values) : Vector(load(values.data())) {}

    static Vector load(const void* bytes)
    {
        Vector vector;
        std::memcpy(vector.m_parts, bytes, sizeof m_parts);
        return vector;
    }

    // Writes the first lanes.
    template <int bytes = static_cast<int>(sizeof(T)) * count>
    void store(void* to) const
    {
        std::memcpy(to, m_parts, bytes);
    }

    // clang-format off
    friend Vector operator+(const Vector& a, const Vector& b) { return each([](Part x, Part y) { return x + y; }, a, b); }
    friend Vector operator-(const Vector& a, const Vector& b) { return each([](Part x, Part y) { return x - y; }, a, b); }
    friend Vector operator*(const Vector& a, const Vector& b) { return each([](Part x, Part y) { return x * y; }, a, b); }
    friend Vector operator/(const Vector& a, const Vector& b) { return each([](Part x, Part y) { return x / y; }, a, b); }
    friend Vector operator&(const Vector& a, const Vector& b) { return each([](Part x, Part y) { return x & y; }, a, b); }
    friend Vector operator|(const Vector& a, const Vector& b) { return each([](Part x, Part y) { return x | y; }, a, b); }
    friend Vector operator^(const Vector& a, const Vector& b) { return each([](Part x, Part y) { return x ^ y; }, a, b); }
    friend Vector operator<<(const Vector& a, int bits)       { return each([bits](Part x) { return x << bits; }, a); }
    friend Vector operator>>(const Vector& a, int bits)       { return each([bits](Part x) { return x >> bits; }, a); }
    // All bits set where it holds; for integers.
    friend Vector operator>(const Vector& a, const Vector& b) { return each([](Part x, Part y) -> Part { return x > y; }, a, b); }
    friend Vector max(const Vector& a, const Vector& b)       { return each([](Part x, Part y) { return larger<Part>(x, y); }, a, b); }
    friend Vector min(const Vector& a, const Vector& b)       { return each([](Part x, Part y) { return smaller<Part>(x, y); }, a, b); }
    friend Vector chosen(const Vector& mask, const Vector& one, const Vector& other) { return each([](Part m, Part x, Part y) { return chosen<Part>(m, x, y); }, mask, one, other); }
    // For integers.
    friend Vector abs(const Vector& a)                         { return each([](Part x) -> Part { return x > Part{} ? x : -x; }, a); }
    // clang-format on

    // The same values as another type, cut toward zero. Integers have to fit.
    template <class U>
    Vector<U, count> as() const
    {
        using Result = Vector<U, count>;
        if constexpr (parts == 1 && Result::parts == 1)
            return Result(converted<typename Result::Part>(m_parts[0]));
        else if constexpr (parts == 1 && std::is_same_v<T, std::uint16_t> && sizeof(U) == 4)
            return withZeros(std::make_integer_sequence<int, count>{}).template as<U>();
        else if constexpr (parts == 1 && count == 4 && sizeof(T) == 4 && Result::parts == 2)
            return Result::bothOf(lowerDoubles(m_parts[0]),
                                  lowerDoubles(shuffled<2, 3, 2, 3>().m_parts[0]));
        else
            return half<0>().template as<U>().followedBy(half<1>().template as<U>());
    }

    // The lower half of the lanes, or the upper.
    template <int which>
    Vector<T, count / 2> half() const
    {
        using Result = Vector<T, count / 2>;
        if constexpr (parts == 1) {
            return Result(split<which>(m_parts[0], std::make_integer_sequence<int, count / 2>{}));
        } else {
            Result result;
            for (int part = 0; part < parts / 2; ++part)
                result.m_parts[part] = m_parts[which * parts / 2 + part];
            return result;
        }
    }

    // The same bytes as lanes of another type.
    template <class U>
    auto bits() const
    {
        return Vector<U, static_cast<int>(count * sizeof(T) / sizeof(U))>::load(m_parts);
    }

    // Lanes of this vector and, numbered on from them, of the other.
    template <int... lanes>
    Vector<T, sizeof...(lanes)> shuffled(const Vector& other) const
    {
        using Result = Vector<T, sizeof...(lanes)>;
        if constexpr (parts == 1 && sizeof(T) == 1 && sizeof...(lanes) == count) {
            return Result(shuffledBytes<lanes...>(m_parts[0], other.m_parts[0]));
        } else if constexpr (parts == 1 && Result::parts == 1) {
            return Result(lanesOf<T, lanes...>(m_parts[0], other.m_parts[0]));
        } else {
            std::array<T, 2 * count> values;
            store(values.data());
            other.store(&values[count]);
            return Result(std::array<T, sizeof...(lanes)>{values[lanes]...});
        }
    }

    template <int... lanes>
    Vector<T, sizeof...(lanes)> shuffled() const
    {
        return shuffled<lanes...>(*this);
    }

    Vector<T, 2 * count> followedBy(const Vector& other) const
    {
        using Result = Vector<T, 2 * count>;
        if constexpr (parts == 1 && Result::parts == 1) {
            return Result(concatenated<typename Result::Part>(m_parts[0], other.m_parts[0]));
        } else {
            Result result;
            for (int part = 0; part < parts; ++part) {
                result.m_parts[part] = m_parts[part];
                result.m_parts[parts + part] = other.m_parts[part];
            }
            return result;
        }
    }

private:
    template <class, int>
    friend class Vector;

    explicit Vector(const Part& only) : m_parts{only} {}

    template <int which, int... lanes>
    static auto split(const Part& part, std::integer_sequence<int, lanes...>)
    {
        return lanesOf<T, which * count / 2 + lanes...>(part, part);
    }

    static Vector bothOf(const Part& lower, const Part& upper)
    {
        Vector both;
        both.m_parts[0] = lower;
        both.m_parts[1] = upper;
        return both;
    }

    // In lanes of 32 bits.
    template <int... lane>
    Vector<std::int32_t, count> withZeros(std::integer_sequence<int, lane...>) const
    {
        const Vector zeros(0);
        return shuffled<(lane / 2 + lane % 2 * count)...>(zeros)
            .template bits<std::int32_t>()
            .followedBy(shuffled<(lane / 2 + count / 2 + lane % 2 * count)...>(zeros)
                            .template bits<std::int32_t>());
    }

    template <class Operation, class... Vectors>
    static Vector each(Operation operation, const Vectors&... vectors)
    {
        Vector result;
        for (int part = 0; part < parts; ++part)
            result.m_parts[part] = operation(vectors.m_parts[part]...);
        return result;
    }

    Part m_parts[parts];
};

// The lanes of two vectors, numbered through, that a function of the result's lanes names.
template <int count, auto laneOf, class T, int lanes>
Vector<T, count> shuffledBy(const Vector<T, lanes>& one, const Vector<T, lanes>& other)
{
    return [&]<int... lane>(std::integer_sequence<int, lane...>)
    {
        return one.template shuffled<laneOf(lane)...>(other);
    }
    (std::make_integer_sequence<int, count>{});
}

template <int count, auto laneOf, class T, int lanes>
Vector<T, count> shuffledBy(const Vector<T, lanes>& vector)
{
    return shuffledBy<count, laneOf>(vector, vector);
}

// One vector behind the other, and its halves.
template <class T, int count>
Vector<T, 2 * count> joined(const Vector<T, count>& one, const Vector<T, count>& other)
{
    return one.followedBy(other);
}

template <class T, int count>
Vector<T, count / 2> lowerHalf(const Vector<T, count>& vector)
{
    return vector.template half<0>();
}

template <class T, int count>
Vector<T, count / 2> upperHalf(const Vector<T, count>& vector)
{
    return vector.template half<1>();
}

// The whole numbers nearest to values below 2^31, the even one where two are. What is negative or
// not a number ends at 0 or below.
inline Vector<std::int32_t, 4> rounded(const Vector<double, 4>& values)
{
#if defined(__AVX2__)
    return std::bit_cast<Vector<std::int32_t, 4>>(
        _mm256_cvtpd_epi32(std::bit_cast<__m256d>(values)));
#elif defined(__SSE2__)
    const auto roundedHalf = [](const Vector<double, 2>& half) {
        return _mm_cvtpd_epi32(std::bit_cast<__m128d>(half));
    };
    return std::bit_cast<Vector<std::int32_t, 4>>(
        _mm_unpacklo_epi64(roundedHalf(values.half<0>()), roundedHalf(values.half<1>())));
#else
    // Numbers of this size have no bits for a fraction, and their lowest ones hold the value.
    const Vector<double, 4> lowestBitIsOne(0x1.8p52);
    const auto rounded = max(values, Vector<double, 4>(0)) + lowestBitIsOne;
    const auto words = rounded.bits<std::int32_t>();
    return words.half<0>().shuffled<0, 2, 4, 6>(words.half<1>());
#endif
}

// Integers in half the bits, one vector behind the other. They may not be too large; negative ones
// become 0.
inline Vector<std::uint16_t, 8> narrowed(const Vector<std::int32_t, 4>& one,
                                         const Vector<std::int32_t, 4>& other)
{
#if defined(__SSE4_1__)
    return std::bit_cast<Vector<std::uint16_t, 8>>(
        _mm_packus_epi32(std::bit_cast<__m128i>(one), std::bit_cast<__m128i>(other)));
#else
    const Vector<std::int32_t, 4> least(0);
    return max(one, least)
        .bits<std::uint16_t>()
        .shuffled<0, 2, 4, 6, 8, 10, 12, 14>(max(other, least).bits<std::uint16_t>());
#endif
}

inline Vector<std::uint8_t, 16> narrowed(const Vector<std::uint16_t, 8>& one,
                                         const Vector<std::uint16_t, 8>& other)
{
#if defined(__SSE2__)
    return std::bit_cast<Vector<std::uint8_t, 16>>(
        _mm_packus_epi16(std::bit_cast<__m128i>(one), std::bit_cast<__m128i>(other)));
#else
    return one.bits<std::uint8_t>()
        .shuffled<0, 2, 4, 6, 8, 10, 12, 14, 16, 18, 20, 22, 24, 26, 28, 30>(
            other.bits<std::uint8_t>());
#endif
}

}

}
