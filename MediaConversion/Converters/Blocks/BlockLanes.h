#pragma once

#include "MediaConversion/Converters/Vectors/Vectors.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>

// Blocks side by side: each has one lane of the vectors that stand for it.
namespace MediaConversion {
namespace {

using Bytes = Vector<std::uint8_t, registerBytes>;
using BlockWords = Vector<std::uint16_t, registerBytes / 2>;
using BlockValues = Vector<std::int16_t, registerBytes / 2>;

// Shuffles across the 16-byte parts of a register are slow. The blocks are therefore shared out to
// the parts in runs: each part is loaded and stored on its own and never meets the others.
inline constexpr int partBytes = 16;
inline constexpr int parts = registerBytes / partBytes;
inline constexpr int blocksOfPart = partBytes / 2;
inline constexpr int blockLanes = parts * blocksOfPart;

using Part = Vector<std::uint8_t, partBytes>;

// 16 bytes for each part, `step` bytes apart.
template <int count = parts>
Vector<std::uint8_t, count * partBytes> loadParts(const std::uint8_t* bytes, std::size_t step)
{
    if constexpr (count == 1)
        return Part::load(bytes);
    else
        return loadParts<count / 2>(bytes, step)
            .followedBy(loadParts<count / 2>(bytes + count / 2 * step, step));
}

template <int part>
Part partOf(const Bytes& vector)
{
    return [&]<int... byte>(std::integer_sequence<int, byte...>)
    {
        return vector.template shuffled<(part * partBytes + byte)...>();
    }
    (std::make_integer_sequence<int, partBytes>{});
}

// The first `count` bytes of each part, `step` bytes apart.
template <int count>
void storeParts(const Bytes& vector, std::uint8_t* bytes, std::size_t step)
{
    [&]<int... part>(std::integer_sequence<int, part...>)
    {
        (partOf<part>(vector).template store<count>(bytes + part * step), ...);
    }
    (std::make_integer_sequence<int, parts>{});
}

// The lanes of the lower or upper half of each part of the one, each followed by the other's.
template <int half, class T, int count>
Vector<T, count> interleaved(const Vector<T, count>& one, const Vector<T, count>& other)
{
    constexpr int partLanes = partBytes / sizeof(T);
    return [&]<int... lane>(std::integer_sequence<int, lane...>)
    {
        return one.template shuffled<(lane / partLanes * partLanes + half * partLanes / 2 +
                                      lane % partLanes / 2 + lane % 2 * count)...>(other);
    }
    (std::make_integer_sequence<int, count>{});
}

// What each part holds in all the vectors, one after the other, is a matrix of so many rows: the
// same with rows as columns.
template <std::size_t rows, class T, int lanes, std::size_t count>
std::array<Vector<T, lanes>, count> transposed(std::array<Vector<T, lanes>, count> vectors)
{
    for (std::size_t round = 1; round < rows; round *= 2) {
        const auto former = vectors;
        for (std::size_t i = 0; i < count / 2; ++i) {
            vectors[2 * i] = interleaved<0>(former[i], former[i + count / 2]);
            vectors[2 * i + 1] = interleaved<1>(former[i], former[i + count / 2]);
        }
    }
    return vectors;
}

// For values that are not negative.
template <int divisor>
BlockValues quotient(const BlockValues& dividend)
{
    return (dividend.bits<std::uint16_t>() / BlockWords(divisor)).bits<std::int16_t>();
}

}
}
