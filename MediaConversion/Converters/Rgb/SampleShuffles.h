#pragma once

#include "MediaConversion/Converters/Rgb/RgbPackings.h"
#include "MediaConversion/Converters/Vectors/PixelPairs.h"

namespace MediaConversion {
namespace {

// Moves the samples of two neighbouring pixels between their packed bytes and one 16-bit lane for
// each channel, all of them at once. Pixels have the given order of channels.
template <const RgbLayout& layout, ChannelOrder samplesOrder, ChannelOrder order>
class SampleShuffle
{
public:
    static constexpr int bytes = layout.bytes * 2 / layout.pixels;  // of two pixels
    static constexpr int vectorBytes = 16;                          // read at once

    // The samples as numbers; 0 for alpha.
    static PixelPair<std::uint16_t> samples(const std::uint8_t* packed)
    {
        const auto words = gathered(packed, std::make_integer_sequence<int, vectorBytes>{});
        return words * PixelPair<std::uint16_t>(factors) >> (16 - layout.bits);
    }

    // The packed bytes of such samples, and zeros behind them.
    static Vector<std::uint8_t, vectorBytes> packed(const PixelPair<std::uint16_t>& samples)
    {
        const auto shifted = samples * PixelPair<std::uint16_t>(packFactors);
        return scattered(shifted.template bits<std::uint8_t>(),
                         std::make_integer_sequence<int, vectorBytes>{});
    }

private:
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

    // The byte of the lanes' words for a packed byte, which at most two samples share. A byte of
    // alpha's lane, always 0, where there is none.
    static constexpr int laneByte(int packedByteWanted, bool second)
    {
        int zero = 0;
        bool found = false;
        for (int byte = 0; byte < vectorBytes; ++byte) {
            if (sampleOf(byte / 2) == unused) {
                zero = byte;
            } else if (packedByte(byte) == packedByteWanted) {
                if (found == second)
                    return byte;
                found = true;
            }
        }
        return zero;
    }

    template <int... byte>
    static PixelPair<std::uint16_t> gathered(const std::uint8_t* packed,
                                             std::integer_sequence<int, byte...>)
    {
        return Vector<std::uint8_t, vectorBytes>::load(packed)
            .template shuffled<packedByte(byte)...>()
            .template bits<std::uint16_t>();
    }

    template <int... byte>
    static Vector<std::uint8_t, vectorBytes> scattered(
        const Vector<std::uint8_t, vectorBytes>& words, std::integer_sequence<int, byte...>)
    {
        return words.template shuffled<laneByte(byte, false)...>() |
               words.template shuffled<laneByte(byte, true)...>();
    }
};

}
}
