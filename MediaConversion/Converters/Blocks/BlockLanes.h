#pragma once

#include "MediaConversion/Converters/Vectors/Vectors.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>

// Vectors of blocks: each block has one 16-bit element of every vector.
namespace MediaConversion {
namespace {

using Bytes = Vector<std::uint8_t, registerBytes>;
using BlockWords = Vector<std::uint16_t, registerBytes / 2>;
using BlockValues = Vector<std::int16_t, registerBytes / 2>;

// One colour of each block.
struct Rgb
{
    BlockValues red;
    BlockValues green;
    BlockValues blue;
};

// Shuffles across the 128-bit lanes of a register are slow. Each lane therefore has a run of blocks
// of its own, is loaded and stored by itself and never meets the others:
//
//     element    0 ... 7    8 ... 15
//     block      0 ... 7    8 ... 15
//                lane 0     lane 1
inline constexpr int laneBytes = 16;
inline constexpr int lanesPerVector = registerBytes / laneBytes;
inline constexpr int blocksPerLane = laneBytes / 2;
inline constexpr int blocksPerVector = lanesPerVector * blocksPerLane;

using Lane = Vector<std::uint8_t, laneBytes>;

// Loads 16 bytes for each lane, `step` bytes apart.
template <int count = lanesPerVector>
Vector<std::uint8_t, count * laneBytes> loadLanes(const std::uint8_t* bytes, std::size_t step)
{
    if constexpr (count == 1)
        return Lane::load(bytes);
    else
        return loadLanes<count / 2>(bytes, step)
            .concatenatedWith(loadLanes<count / 2>(bytes + count / 2 * step, step));
}

template <int lane>
Lane laneOf(const Bytes& vector)
{
    return [&]<int... byte>(std::integer_sequence<int, byte...>)
    {
        return vector.template shuffled<(lane * laneBytes + byte)...>();
    }
    (std::make_integer_sequence<int, laneBytes>{});
}

// Stores the first `count` bytes of each lane, `step` bytes apart.
template <int count>
void storeLanes(const Bytes& vector, std::uint8_t* bytes, std::size_t step)
{
    [&]<int... lane>(std::integer_sequence<int, lane...>)
    {
        (laneOf<lane>(vector).template store<count>(bytes + lane * step), ...);
    }
    (std::make_integer_sequence<int, lanesPerVector>{});
}

// Interleaves the lower (0) or upper (1) halves of each lane: a0 b0 a1 b1 and so on.
template <int half, class T, int count>
Vector<T, count> interleaved(const Vector<T, count>& one, const Vector<T, count>& other)
{
    constexpr int elementsPerLane = laneBytes / sizeof(T);
    return [&]<int... lane>(std::integer_sequence<int, lane...>)
    {
        return one.template shuffled<(lane / elementsPerLane * elementsPerLane +
                                      half * elementsPerLane / 2 + lane % elementsPerLane / 2 +
                                      lane % 2 * count)...>(other);
    }
    (std::make_integer_sequence<int, count>{});
}

// Transposes, in each 128-bit lane, the matrix that the vectors hold one after the other: `rows`
// rows become columns.
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

// Divides values that are not negative, rounding down.
template <int divisor>
BlockValues quotient(const BlockValues& dividend)
{
    return (dividend.bits<std::uint16_t>() / BlockWords(divisor)).bits<std::int16_t>();
}

}
}
