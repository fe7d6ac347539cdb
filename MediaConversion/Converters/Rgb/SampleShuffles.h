#pragma once

#include "MediaConversion/Converters/Rgb/RgbPackings.h"
#include "MediaConversion/Converters/Vectors/PixelPairs.h"

namespace MediaConversion {
namespace {

// Moves the samples of two neighbouring pixels, all at once, between their packed bytes and vectors
// that have a 16-bit lane for each channel, in the given order. A shuffle brings the two bytes that
// hold a sample into its lane; a multiplication then shifts each lane by its own number of bits.
template <const RgbLayout& layout, ChannelOrder samplesOrder, ChannelOrder order>
struct SampleShuffle
{
    static constexpr int bytes = layout.bytes * 2 / layout.pixels;  // of two pixels
    static constexpr int vectorBytes = 16;                          // read at once

    // The samples as numbers; 0 for alpha.
    static PixelPair<std::uint16_t> samples(const std::uint8_t* packed)
    {
        const auto words =
            shuffledBy<vectorBytes, packedByte>(Vector<std::uint8_t, vectorBytes>::load(packed))
                .template bits<std::uint16_t>();
        return words * PixelPair<std::uint16_t>(factors) >> (16 - layout.bits);
    }

    // The packed bytes of such samples, and zeros behind them, in 16 bytes for each two pixels.
    template <int lanes>
    static Vector<std::uint8_t, 2 * lanes> packed(const Vector<std::uint16_t, lanes>& samples)
    {
        using Samples = Vector<std::uint16_t, lanes>;
        const auto words =
            (samples * Samples(repeatedTo<lanes>(packFactors))).template bits<std::uint8_t>();
        return shuffledInSixteens<laneByte<0>>(words) | shuffledInSixteens<laneByte<1>>(words);
    }

    static constexpr int unused = -1;

    // Which sample of the two pixels a lane holds.
    static constexpr int sampleOf(int lane)
    {
        const int channel = lane % 4;
        const int first = 3 * (lane / 4);
        return channel == order.red     ? first + samplesOrder.red
               : channel == order.green ? first + samplesOrder.green
               : channel == order.blue  ? first + samplesOrder.blue
                                        : unused;
    }

    static constexpr SampleWord wordOf(int lane) { return sampleWord(layout, sampleOf(lane)); }

    // What shifts each lane's sample to the top of its word; drops alpha.
    static constexpr std::array<std::uint16_t, 8> factors = [] {
        std::array<std::uint16_t, 8> values{};
        for (int lane = 0; lane < 8; ++lane)
            if (sampleOf(lane) != unused)
                values[lane] = static_cast<std::uint16_t>(1 << wordOf(lane).shift);
        return values;
    }();

    // What shifts it to its place in the word.
    static constexpr std::array<std::uint16_t, 8> packFactors = [] {
        std::array<std::uint16_t, 8> values{};
        for (int lane = 0; lane < 8; ++lane)
            if (sampleOf(lane) != unused)
                values[lane] =
                    static_cast<std::uint16_t>(1 << (16 - layout.bits - wordOf(lane).shift));
        return values;
    }();

    // The packed byte for a byte of a lane's word.
    static constexpr int packedByte(int byteOfLanes)
    {
        const int lane = byteOfLanes / 2;
        if (sampleOf(lane) == unused)
            return 0;
        return byteOfLanes % 2 == 0 ? wordOf(lane).lowByte : wordOf(lane).highByte;
    }

    // The byte of the lanes' words for a packed byte, which at most two samples share: that of the
    // first or of the second. A byte of alpha's lane, always 0, where there is none.
    template <int which>
    static constexpr int laneByte(int wanted)
    {
        int zero = 0;
        int found = 0;
        for (int byte = 0; byte < vectorBytes; ++byte) {
            if (sampleOf(byte / 2) == unused)
                zero = byte;
            else if (packedByte(byte) == wanted && found++ == which)
                return byte;
        }
        return zero;
    }
};

}
}
