#pragma once

#include "MediaConversion/Converters/Kernels/Pixels.h"
#include "MediaConversion/Converters/Kernels/Words.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

// The published S3TC blocks of 4 x 4 pixels: DXT1 (BC1) and the two halves of DXT5 (BC3). Pixels
// are numbered row by row.
namespace MediaConversion {

inline constexpr int blockSide = 4;

struct RgbDxt1
{
    static constexpr int bytes = 8;
    static constexpr std::string_view name = "DXT1";

    static FrameFormat format() { return Velmora::Formats::RGB_DXT1(); }
};

// The alpha half of the block is Y; the colour half carries Co and Cg, both offset by 128 and
// scaled up, as red and green; its blue is 8 times the scale less one.
struct YCoCgDxt5
{
    static constexpr int bytes = 16;
    static constexpr std::string_view name = "DXT5";

    static FrameFormat format() { return Velmora::Formats::YCoCg_DXT5(); }
};

struct Rgb8
{
    int red;
    int green;
    int blue;
};

// A 5-bit or 6-bit channel of an endpoint, rounded to 8 bits.
template <int bits>
constexpr int expandedRounding(int value)
{
    const int scaled = value * 255 + (1 << (bits - 1));
    return (scaled + (scaled >> bits)) >> bits;
}

constexpr Rgb8 endpoint(std::uint32_t colour565)
{
    return {expandedRounding<5>(static_cast<int>(colour565 >> 11)),
            expandedRounding<6>(static_cast<int>(colour565 >> 5 & 63)),
            expandedRounding<5>(static_cast<int>(colour565 & 31))};
}

// Two thirds of the one and one third of the other, cut.
constexpr Rgb8 twoThirds(const Rgb8& near, const Rgb8& far)
{
    return {(2 * near.red + far.red) / 3, (2 * near.green + far.green) / 3,
            (2 * near.blue + far.blue) / 3};
}

constexpr Rgb8 mean(const Rgb8& one, const Rgb8& other)
{
    return {(one.red + other.red) >> 1, (one.green + other.green) >> 1,
            (one.blue + other.blue) >> 1};
}

// The colour half of a block: two little-endian 565 colours, then 2-bit indices into the palette of
// four, pixel 0 lowest.
struct ColourBlock
{
    static constexpr int bytes = 8;

    std::uint32_t colour0;
    std::uint32_t colour1;
    std::uint32_t indices;

    explicit constexpr ColourBlock(const std::uint8_t* block)
        : colour0(littleEndianHalfword(block)),
          colour1(littleEndianHalfword(block + 2)),
          indices(littleEndianWord(block + 4))
    {
    }

    constexpr std::uint32_t index(int pixel) const { return indices >> (2 * pixel) & 3; }

    constexpr std::array<Rgb8, 4> fourColours() const
    {
        const Rgb8 first = endpoint(colour0);
        const Rgb8 second = endpoint(colour1);
        return {first, second, twoThirds(first, second), twoThirds(second, first)};
    }

    // DXT1 only: endpoints in ascending order give three colours and black.
    constexpr std::array<Rgb8, 4> colours() const
    {
        if (colour0 > colour1)
            return fourColours();
        const Rgb8 first = endpoint(colour0);
        const Rgb8 second = endpoint(colour1);
        return {first, second, mean(first, second), Rgb8{0, 0, 0}};
    }
};

// The alpha half of a DXT5 block: two endpoints, then 3-bit indices into the palette of eight,
// pixel 0 lowest.
struct AlphaBlock
{
    static constexpr int bytes = 8;

    int alpha0;
    int alpha1;
    std::uint64_t indices;

    explicit constexpr AlphaBlock(const std::uint8_t* block)
        : alpha0(block[0]),
          alpha1(block[1]),
          indices(static_cast<std::uint64_t>(littleEndianWord(block + 4)) << 16 |
                  littleEndianHalfword(block + 2))
    {
    }

    constexpr std::uint32_t index(int pixel) const
    {
        return static_cast<std::uint32_t>(indices >> (3 * pixel) & 7);
    }

    // Descending endpoints give six steps between them, others four and both extremes.
    constexpr std::array<int, 8> alphas() const
    {
        if (alpha0 > alpha1)
            return interpolated<7>();
        auto palette = interpolated<5>();
        palette[6] = 0;
        palette[7] = 255;
        return palette;
    }

private:
    template <int steps>
    constexpr std::array<int, 8> interpolated() const
    {
        std::array<int, 8> palette{alpha0, alpha1};
        for (int step = 1; step < steps; ++step)
            palette[static_cast<std::size_t>(step + 1)] =
                ((steps - step) * alpha0 + step * alpha1) / steps;
        return palette;
    }
};

}
