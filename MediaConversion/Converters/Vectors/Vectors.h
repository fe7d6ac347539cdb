#pragma once

#include "MediaConversion/Converters/Vectors/Registers.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

// Vectors of a fixed number of lanes for the kernels. Each takes as many registers as it needs on
// the level that is compiled for.
namespace MediaConversion {

// Without a name: every level has vectors of its own, which the linker never joins with another's.
namespace {

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

    // Writes all lanes as the kernel is told to. Past the caches, the address is a multiple of the
    // vector's size.
    template <Stores stores>
    void storeBy(void* to) const
    {
        if constexpr (stores == Stores::Plain)
            return store(to);
        for (int part = 0; part < parts; ++part)
            storePastCaches(static_cast<std::uint8_t*>(to) + part * sizeof(Part), m_parts[part]);
    }

    // clang-format off
    friend Vector operator+(const Vector& a, const Vector& b) { return each([](Part x, Part y) { return x + y; }, a, b); }
    friend Vector operator-(const Vector& a, const Vector& b) { return each([](Part x, Part y) { return x - y; }, a, b); }
    friend Vector operator*(const Vector& a, const Vector& b) { return each([](Part x, Part y) { return x * y; }, a, b); }
    friend Vector operator/(const Vector& a, const Vector& b) { return each([](Part x, Part y) { return x / y; }, a, b); }
    friend Vector operator-(const Vector& a)                  { return each([](Part x) -> Part { return -x; }, a); }
    friend Vector operator&(const Vector& a, const Vector& b) { return each([](Part x, Part y) { return x & y; }, a, b); }
    friend Vector operator|(const Vector& a, const Vector& b) { return each([](Part x, Part y) { return x | y; }, a, b); }
    friend Vector operator^(const Vector& a, const Vector& b) { return each([](Part x, Part y) { return x ^ y; }, a, b); }
    friend Vector operator<<(const Vector& a, int bits)       { return each([bits](Part x) { return x << bits; }, a); }
    friend Vector operator>>(const Vector& a, int bits)       { return each([bits](Part x) { return x >> bits; }, a); }
    // For integers: all bits are set where the comparison holds.
    friend Vector operator>(const Vector& a, const Vector& b) { return each([](Part x, Part y) -> Part { return x > y; }, a, b); }
    friend Vector max(const Vector& a, const Vector& b)       { return each([](Part x, Part y) { return larger<Part>(x, y); }, a, b); }
    friend Vector min(const Vector& a, const Vector& b)       { return each([](Part x, Part y) { return smaller<Part>(x, y); }, a, b); }
    friend Vector select(const Vector& mask, const Vector& one, const Vector& other) { return each([](Part m, Part x, Part y) { return select<Part>(m, x, y); }, mask, one, other); }
    friend Vector equal(const Vector& a, const Vector& b)     { return each([](Part x, Part y) { return equalLanes<Part>(x, y); }, a, b); }
    friend Vector fused(const Vector& a, const Vector& b, const Vector& c) { return each([](Part x, Part y, Part z) { return fused<Part>(x, y, z); }, a, b, c); }
    // For integers.
    friend bool anyIsZero(const Vector& a)                     { return std::ranges::any_of(a.m_parts, [](Part x) { return anyIsZero<Part>(x); }); }
    friend bool anyIsSet(const Vector& a)                      { return std::ranges::any_of(a.m_parts, [](Part x) { return anyIsSet<Part>(x); }); }
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
            return half<0>().template as<U>().concatenatedWith(half<1>().template as<U>());
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

    // The lanes of the lower eight bytes of each 16 of this vector and the other by turns, or of
    // the upper.
    template <int which>
    Vector interleavedInSixteens(const Vector& other) const
    {
        return each(
            [](Part x, Part y) { return MediaConversion::interleavedInSixteens<which, T>(x, y); },
            *this, other);
    }

    // Bytes within each 16 of this vector; a negative number gives 0.
    template <int... bytes>
    Vector shuffledOrZero() const
    {
        static_assert(sizeof(T) == 1 && sizeof...(bytes) == count && parts == 1);
        return Vector(MediaConversion::shuffledOrZero<bytes...>(m_parts[0]));
    }

    Vector<T, 2 * count> concatenatedWith(const Vector& other) const
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

    // The same values in lanes of 32 bits.
    template <int... lane>
    Vector<std::int32_t, count> withZeros(std::integer_sequence<int, lane...>) const
    {
        const Vector zeros(0);
        return shuffled<(lane / 2 + lane % 2 * count)...>(zeros)
            .template bits<std::int32_t>()
            .concatenatedWith(shuffled<(lane / 2 + count / 2 + lane % 2 * count)...>(zeros)
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

// The same for bytes within each 16 of them, named by a function of the place in these; a negative
// number gives 0.
template <auto byteOf, int count>
Vector<std::uint8_t, count> shuffledInSixteens(const Vector<std::uint8_t, count>& bytes)
{
    return [&]<int... byte>(std::integer_sequence<int, byte...>)
    {
        constexpr auto inAll = [](int place) {
            const int chosen = byteOf(place % 16);
            return chosen < 0 ? chosen : place / 16 * 16 + chosen;
        };
        return bytes.template shuffledOrZero<inAll(byte)...>();
    }
    (std::make_integer_sequence<int, count>{});
}

// The same eight numbers over and over, for the lanes of a longer vector.
template <std::size_t count, class T>
constexpr std::array<T, count> repeatedTo(const std::array<T, 8>& eight)
{
    std::array<T, count> values{};
    for (std::size_t k = 0; k < count; ++k)
        values[k] = eight[k % 8];
    return values;
}

// The lanes of one vector behind those of the other; and the halves of a vector.
template <class T, int count>
Vector<T, 2 * count> concatenated(const Vector<T, count>& one, const Vector<T, count>& other)
{
    return one.concatenatedWith(other);
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

// one * other + addend, rounded once where the level can, else twice.
template <class T, int count>
Vector<T, count> productPlus(const Vector<T, count>& one, std::type_identity_t<T> other,
                             const Vector<T, count>& addend)
{
    if constexpr (std::is_same_v<T, float> && hasFusedOperations)
        return fused(one, Vector<T, count>(other), addend);
    else
        return one * Vector<T, count>(other) + addend;
}

// Rounds values below 2^31 to the nearest integer, ties to even. Negative values and NaN give 0 or
// less.
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

// Narrows integers to half their bits, the lanes of one vector behind those of the other. Negative
// ones become 0; none may be too large.
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

#if defined(__AVX2__)
inline Vector<std::uint16_t, 16> narrowed(const Vector<std::int32_t, 8>& one,
                                          const Vector<std::int32_t, 8>& other)
{
    const auto byTurns =
        _mm256_packus_epi32(std::bit_cast<__m256i>(one), std::bit_cast<__m256i>(other));
    return std::bit_cast<Vector<std::uint16_t, 16>>(
        _mm256_permute4x64_epi64(byTurns, _MM_SHUFFLE(3, 1, 2, 0)));
}
#endif

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
