#pragma once

#include "MediaConversion/Converters/Pixels.h"
#include "MediaConversion/Converters/Words.h"

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>

namespace MediaConversion {

// The samples of a group, pixel after pixel; the three samples of a pixel follow one another in the
// order that the packing's name begins with. Layouts that frames are packed into have `pack` as
// well.
template <class Layout>
concept RgbLayout = requires(const std::uint8_t* group)
{
    {
        Layout::bits
        } -> std::convertible_to<unsigned>;
    {
        Layout::bytes
        } -> std::convertible_to<int>;
    {
        Layout::pixels
        } -> std::convertible_to<int>;
    {
        Layout::samples(group)
        } -> std::same_as<std::array<unsigned, 3 * Layout::pixels>>;
};

// Three 10-bit samples from the top of a little-endian 32-bit word down; bits 1 and 0 are padding.
struct DpxFilled
{
    static constexpr unsigned bits = 10;
    static constexpr int bytes = 4;
    static constexpr int pixels = 1;

    static constexpr std::array<unsigned, 3> samples(const std::uint8_t* group)
    {
        const auto word = littleEndianWord(group);
        return {word >> 22 & 0x3FFu, word >> 12 & 0x3FFu, word >> 2 & 0x3FFu};
    }

    static constexpr void pack(const std::array<unsigned, 3>& samples, std::uint8_t* group)
    {
        storeLittleEndianWord(samples[0] << 22 | samples[1] << 12 | samples[2] << 2, group);
    }
};

// Six 12-bit samples as one string of bits, the least significant bits of each byte and sample
// first: 0x01 0x20 0x00 begins with 0x001, 0x002.
struct DpxPacked
{
    static constexpr unsigned bits = 12;
    static constexpr int bytes = 9;
    static constexpr int pixels = 2;

    static constexpr std::array<unsigned, 6> samples(const std::uint8_t* group)
    {
        const auto low = littleEndianLongword(group);
        const auto sample = [](std::uint64_t value) {
            return static_cast<unsigned>(value & 0xFFF);
        };
        return {sample(low),       sample(low >> 12), sample(low >> 24),
                sample(low >> 36), sample(low >> 48), sample(low >> 60 | group[8] << 4)};
    }
};

// Six 12-bit samples as one string of bits, the most significant bits of each byte and sample
// first: 0x01 0x20 0x00 begins with 0x012, 0x000.
struct Smpte2110
{
    static constexpr unsigned bits = 12;
    static constexpr int bytes = 9;
    static constexpr int pixels = 2;

    static constexpr std::array<unsigned, 6> samples(const std::uint8_t* group)
    {
        const auto high = bigEndianLongword(group);
        const auto sample = [](std::uint64_t value) {
            return static_cast<unsigned>(value & 0xFFF);
        };
        return {sample(high >> 52), sample(high >> 40), sample(high >> 28),
                sample(high >> 16), sample(high >> 4),  sample(high << 8 | group[8])};
    }

    static constexpr void pack(const std::array<unsigned, 6>& samples, std::uint8_t* group)
    {
        std::uint64_t high = 0;
        for (std::size_t sample = 0; sample < 5; ++sample)
            high = high << 12 | samples[sample];
        storeBigEndianLongword(high << 4 | samples[5] >> 8, group);
        group[8] = static_cast<std::uint8_t>(samples[5]);
    }
};

// Which channel of a pixel each sample of a group belongs to. This and not the pair of formats is
// what kernels differ by: RGB samples to RGB pixels and BGR samples to BGR pixels share one.
struct Placement
{
    std::array<int, 3> channelOfSample;
    int alpha;
    int channels;
};

constexpr Placement placement(ChannelOrder samples, ChannelOrder pixel)
{
    Placement placed{{}, pixel.alpha, pixel.channels()};
    placed.channelOfSample[static_cast<std::size_t>(samples.red)] = pixel.red;
    placed.channelOfSample[static_cast<std::size_t>(samples.green)] = pixel.green;
    placed.channelOfSample[static_cast<std::size_t>(samples.blue)] = pixel.blue;
    return placed;
}

// A named packing: a layout, and which colour its first sample is.
template <RgbLayout LayoutType, ChannelOrder sampleOrder, FrameFormat (*namedFormat)()>
struct RgbPacking
{
    using Layout = LayoutType;
    static constexpr ChannelOrder order = sampleOrder;

    static FrameFormat format() { return namedFormat(); }
};

// clang-format off
struct RgbDpxFilled : RgbPacking<DpxFilled, RGB, Velmora::Formats::RGB_DPX_FILLED> {};
struct BgrDpxFilled : RgbPacking<DpxFilled, BGR, Velmora::Formats::BGR_DPX_FILLED> {};
struct RgbDpxPacked : RgbPacking<DpxPacked, RGB, Velmora::Formats::RGB_DPX_PACKED> {};
struct BgrDpxPacked : RgbPacking<DpxPacked, BGR, Velmora::Formats::BGR_DPX_PACKED> {};
struct RgbSmpte2110 : RgbPacking<Smpte2110, RGB, Velmora::Formats::RGB_SMPTE_2110> {};
struct BgrSmpte2110 : RgbPacking<Smpte2110, BGR, Velmora::Formats::BGR_SMPTE_2110> {};
// clang-format on

}
