#pragma once

#include "MediaConversion/Converters/Pixels.h"

namespace MediaConversion {

// Whether the first sample of a group lies in the least or in the most significant bits of its
// bytes.
enum class BitOrder
{
    leastFirst,
    mostFirst,
};

// How the samples of a group, all of one size, follow one another as a string of bits.
struct RgbLayout
{
    int bits;    // of a sample
    int bytes;   // of a group
    int pixels;  // of a group, three samples each
    BitOrder order;
    int firstOffset;  // of the first sample, in bits
    int nextOffset;   // from a sample to the next
};

// clang-format off
//                                  bits bytes pixels order                 offsets
inline constexpr RgbLayout dpxFilled{10,   4,    1,   BitOrder::leastFirst, 22, -10};  // bits 1 and 0 are padding
inline constexpr RgbLayout dpxPacked{12,   9,    2,   BitOrder::leastFirst,  0,  12};  // 0x01 0x20 0x00 begins 0x001, 0x002
inline constexpr RgbLayout smpte2110{12,   9,    2,   BitOrder::mostFirst,   0,  12};  // 0x01 0x20 0x00 begins 0x012, 0x000
// clang-format on

// The two bytes that hold a sample, seen as a 16-bit word with the sample's most significant bit at
// the top after a shift to the left.
struct SampleWord
{
    int lowByte;  // the place of the word's less significant byte
    int highByte;
    int shift;
};

// For the six samples of two neighbouring pixels, `sample` counted through.
constexpr SampleWord sampleWord(const RgbLayout& layout, int sample)
{
    const int samples = 3 * layout.pixels;
    const int offset = layout.firstOffset + layout.nextOffset * (sample % samples);
    const int byte = layout.bytes * (sample / samples) + offset / 8;
    if (layout.order == BitOrder::mostFirst)
        return {byte + 1, byte, offset % 8};
    return {byte, byte + 1, 16 - layout.bits - offset % 8};
}

constexpr unsigned largestSample(int bits)
{
    return (1u << bits) - 1;
}

// A sample as one of another full scale, rounded to the nearest, by whole numbers of 16 bits: the
// quotient of the full scales is split into a factor and a fraction.
template <unsigned from, unsigned to, class Number>
constexpr Number rescaled(Number sample)
{
    constexpr auto factor = static_cast<std::uint16_t>(to / from);
    constexpr auto rest = static_cast<std::uint16_t>(to % from);
    static_assert(from * rest + from / 2 <= 0xFFFF);
    const auto rounded = sample * Number(rest) + Number(from / 2);
    return static_cast<Number>(sample * Number(factor) + rounded / Number(from));
}

template <unsigned from, unsigned to>
constexpr bool rescalesExactly()
{
    for (unsigned sample = 0; sample <= from; ++sample)
        if (rescaled<from, to>(sample) !=
            static_cast<unsigned>(sample / static_cast<double>(from) * to + 0.5))
            return false;
    return true;
}

// A packing: a layout, and the order in which a pixel's samples follow one another, with which the
// text of its format begins: "BGR-DPX-FILLED".
template <const Velmora::NamedFormat& namedFormat, const RgbLayout& layoutValue>
struct RgbPacking
{
    static constexpr const RgbLayout& layout = layoutValue;
    static constexpr ChannelOrder order = channelOrder(namedFormat.pixelFormat.substr(0, 3));

    static FrameFormat format() { return namedFormat(); }

    static_assert(namedFormat.pixelPacking ==
                  Velmora::PixelPacking{layout.bytes, 3 * layout.pixels, 1, layout.pixels});
    static_assert(Channel<namedFormat.channelType>::fullScale == largestSample(layout.bits));
};

// clang-format off
struct RgbDpxFilled : RgbPacking<Velmora::Formats::RGB_DPX_FILLED, dpxFilled> {};
struct BgrDpxFilled : RgbPacking<Velmora::Formats::BGR_DPX_FILLED, dpxFilled> {};
struct RgbDpxPacked : RgbPacking<Velmora::Formats::RGB_DPX_PACKED, dpxPacked> {};
struct BgrDpxPacked : RgbPacking<Velmora::Formats::BGR_DPX_PACKED, dpxPacked> {};
struct RgbSmpte2110 : RgbPacking<Velmora::Formats::RGB_SMPTE_2110, smpte2110> {};
struct BgrSmpte2110 : RgbPacking<Velmora::Formats::BGR_SMPTE_2110, smpte2110> {};
// clang-format on

}
