#include "MediaConversion/Converters/Kernels/Kernels.h"
#include "MediaConversion/Converters/Kernels/PixelPairs.h"
#include "MediaConversion/Converters/Kernels/SampleShuffles.h"

#include <algorithm>

namespace MediaConversion {

namespace {

// A byte as a sample, by whole numbers of 16 bits: the quotient of the full scales is split into a
// factor and a fraction.
template <int bits, class Number>
constexpr Number sampleOfByte(Number byte)
{
    constexpr auto factor = static_cast<std::uint16_t>(largestSample(bits) / 255);
    constexpr auto rest = static_cast<std::uint16_t>(largestSample(bits) % 255);
    const auto rounded = byte * Number(rest) + Number(127);
    return static_cast<Number>(byte * Number(factor) + rounded / Number(255));
}

template <int bits>
constexpr bool bytesConvertExactly()
{
    for (unsigned byte = 0; byte < 256; ++byte)
        if (sampleOfByte<bits>(byte) !=
            static_cast<unsigned>(byte / 255.0 * largestSample(bits) + 0.5))
            return false;
    return true;
}
static_assert(bytesConvertExactly<10>() && bytesConvertExactly<12>());

// Values of 0 to 1 as whole numbers up to the largest sample.
template <int bits>
Vector<std::int32_t, 4> sampled(const DoublePixel& values)
{
    return (values * DoublePixel(largestSample(bits)) + DoublePixel(0.5)).as<std::int32_t>();
}

// Three-channel pixels are followed by another element.
template <int channels, class Element>
PixelPair<Element> loadPair(const Element* pixels)
{
    if constexpr (channels == 4)
        return PixelPair<Element>::load(pixels);
    else
        return joined(Vector<Element, 4>::load(pixels), Vector<Element, 4>::load(pixels + 3));
}

// The channels of two pixels as samples, in the pixels' own order.
template <int bits, ChannelType type, int channels>
PixelPair<std::uint16_t> samplesOf(const typename Channel<type>::Element* pixels)
{
    const auto pair = loadPair<channels>(pixels);
    if constexpr (type == ChannelType::U8) {
        return sampleOfByte<bits>(pair.template as<std::uint16_t>());
    } else if constexpr (type == ChannelType::F32) {
        // The product of a float is exact and has one tie, at a half, where the even number is the
        // upper one. A NaN stays one and becomes 0 as it is narrowed.
        const auto sample = [](const Vector<float, 4>& pixel) {
            const DoublePixel largest(largestSample(bits));
            return rounded(min(largest, pixel.as<double>() * largest));
        };
        return narrowed(sample(lowerHalf(pair)), sample(upperHalf(pair)));
    } else {
        const auto integers = pair.template as<std::int32_t>();
        const auto fraction = [](const Vector<std::int32_t, 4>& pixel) {
            return min(pixel.as<double>() / DoublePixel(Channel<type>::fullScale), DoublePixel(1));
        };
        return narrowed(sampled<bits>(fraction(lowerHalf(integers))),
                        sampled<bits>(fraction(upperHalf(integers))));
    }
}

template <const RgbLayout& layout, ChannelOrder samples, ChannelOrder order, ChannelType type>
[[gnu::flatten]] void packRow(const std::uint8_t* pixels, std::size_t, std::uint8_t* groups,
                              int groupCount)
{
    using Element = typename Channel<type>::Element;
    using Shuffle = SampleShuffle<layout, samples, order>;
    constexpr int pairBytes = 2 * order.channels() * static_cast<int>(sizeof(Element));
    const auto packPair = [](const std::uint8_t* pair) {
        return Shuffle::packed(
            samplesOf<layout.bits, type, order.channels()>(reinterpret_cast<const Element*>(pair)));
    };

    // The zeros behind a pair are overwritten by the next.
    int bytesLeft = groupCount * layout.bytes;
    for (; bytesLeft >= Shuffle::vectorBytes; bytesLeft -= Shuffle::bytes) {
        packPair(pixels).store(groups);
        groups += Shuffle::bytes;
        pixels += pairBytes;
    }
    for (; bytesLeft > 0; bytesLeft -= Shuffle::bytes) {
        alignas(16) std::array<std::uint8_t, pairBytes + sizeof(Element)> pair{};
        std::copy_n(pixels, bytesLeft < Shuffle::bytes ? pairBytes / 2 : pairBytes, pair.data());
        std::array<std::uint8_t, Shuffle::vectorBytes> packed;
        packPair(pair.data()).store(packed.data());
        groups = std::copy_n(packed.data(), std::min(bytesLeft, Shuffle::bytes), groups);
        pixels += pairBytes;
    }
}

struct Pack
{
    template <class Source, class Destination>
    static constexpr EncodeRow row =
        packRow<Destination::layout, Destination::order, Source::order, Source::channelType>;
};

}

template <>
const EncodeRow* KernelsOf<compiledLevel>::packRgb()
{
    static constexpr auto rows = kernelRows<Pack>(rgbPackings);
    return rows.data();
}

}
