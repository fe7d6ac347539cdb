#pragma once

#include "MediaConversion/Converters/Pixels.h"
#include "MediaConversion/Converters/Words.h"

#include <array>
#include <concepts>
#include <cstdint>

namespace MediaConversion {

// The samples of one group: a luma sample a pixel, row by row, and the chroma that they share.
template <int pixels>
struct YCbCrSamples
{
    std::array<unsigned, pixels> luma;
    unsigned cb;
    unsigned cr;
};

// As above, with an alpha sample a pixel.
template <int pixels>
struct YCbCrASamples : YCbCrSamples<pixels>
{
    std::array<unsigned, pixels> alpha;
};

template <class Packing>
concept YCbCrPacking = requires(const std::uint8_t* group)
{
    {
        Packing::bytes
        } -> std::convertible_to<int>;
    {
        Packing::rows
        } -> std::convertible_to<int>;  // of pixels; always two columns
    {
        Packing::lumaMax
        } -> std::convertible_to<unsigned>;
    {
        Packing::chromaMax
        } -> std::convertible_to<unsigned>;  // of alpha, too
    {
        Packing::hasAlpha
        } -> std::convertible_to<bool>;
    {
        Packing::samples(group)
        } -> std::same_as<typename Packing::Samples>;
};

// Y of the left pixel, Cb, Y of the right pixel, Cr; 8 bits each.
struct Yuyv422
{
    using Samples = YCbCrSamples<2>;
    static constexpr int bytes = 4;
    static constexpr int rows = 1;
    static constexpr unsigned lumaMax = 255;
    static constexpr unsigned chromaMax = 255;
    static constexpr bool hasAlpha = false;

    static FrameFormat format() { return Velmora::Formats::YUYV_422(); }

    static constexpr Samples samples(const std::uint8_t* group)
    {
        return {{group[0], group[2]}, group[1], group[3]};
    }

    static constexpr void pack(const Samples& samples, std::uint8_t* group)
    {
        storeLittleEndianWord(
            samples.luma[0] | samples.cb << 8 | samples.luma[1] << 16 | samples.cr << 24, group);
    }
};

// The top eight of 10 bits of Cb, left Y, Cr and right Y in four bytes; a fifth byte has their low
// two bits, Cb's at the top.
struct Zeq422
{
    using Samples = YCbCrSamples<2>;
    static constexpr int bytes = 5;
    static constexpr int rows = 1;
    static constexpr unsigned lumaMax = 1023;
    static constexpr unsigned chromaMax = 1023;
    static constexpr bool hasAlpha = false;

    static FrameFormat format() { return Velmora::Formats::ZEQ_422(); }

    static constexpr Samples samples(const std::uint8_t* group)
    {
        const unsigned low = group[4];
        return {{group[1] << 2 | (low >> 4 & 3), group[3] << 2 | (low & 3)},
                group[0] << 2 | low >> 6,
                group[2] << 2 | (low >> 2 & 3)};
    }

    static constexpr void pack(const Samples& samples, std::uint8_t* group)
    {
        const auto& [left, right] = samples.luma;
        storeLittleEndianWord(
            samples.cb >> 2 | left >> 2 << 8 | samples.cr >> 2 << 16 | right >> 2 << 24, group);
        group[4] = static_cast<std::uint8_t>((samples.cb & 3) << 6 | (left & 3) << 4 |
                                             (samples.cr & 3) << 2 | (right & 3));
    }
};

// Two little-endian 32-bit words. From the top down: Cr (10 bits), Y (12) and alpha (10) of the
// right pixel; then alpha (10) and Y (12) of the left pixel, Cb (10). The right pixel does stand
// first.
struct Zeq4224Hybrid
{
    using Samples = YCbCrASamples<2>;
    static constexpr int bytes = 8;
    static constexpr int rows = 1;
    static constexpr unsigned lumaMax = 4095;
    static constexpr unsigned chromaMax = 1023;
    static constexpr bool hasAlpha = true;

    static FrameFormat format() { return Velmora::Formats::ZEQ_4224_HYBRID(); }

    static constexpr Samples samples(const std::uint8_t* group)
    {
        const auto first = littleEndianWord(group);
        const auto second = littleEndianWord(group + 4);
        return {{{second >> 10 & 0xFFFu, first >> 10 & 0xFFFu}, second & 0x3FFu, first >> 22},
                {second >> 22, first & 0x3FFu}};
    }

    static constexpr void pack(const Samples& samples, std::uint8_t* group)
    {
        storeLittleEndianWord(samples.cr << 22 | samples.luma[1] << 10 | samples.alpha[1], group);
        storeLittleEndianWord(samples.alpha[0] << 22 | samples.luma[0] << 10 | samples.cb,
                              group + 4);
    }
};

// Cb, Cr, and Y of two rows of two pixels; 8 bits each.
struct Zeq420
{
    using Samples = YCbCrSamples<4>;
    static constexpr int bytes = 6;
    static constexpr int rows = 2;
    static constexpr unsigned lumaMax = 255;
    static constexpr unsigned chromaMax = 255;
    static constexpr bool hasAlpha = false;

    static FrameFormat format() { return Velmora::Formats::ZEQ_420(); }

    static constexpr Samples samples(const std::uint8_t* group)
    {
        return {{group[2], group[3], group[4], group[5]}, group[0], group[1]};
    }

    static constexpr void pack(const Samples& samples, std::uint8_t* group)
    {
        storeLittleEndianHalfword(samples.cb | samples.cr << 8, group);
        storeLittleEndianWord(
            samples.luma[0] | samples.luma[1] << 8 | samples.luma[2] << 16 | samples.luma[3] << 24,
            group + 2);
    }
};

}
