#include "MediaConversion/Converters/Kernels.h"
#include "MediaConversion/Converters/Rgb/SampleShuffles.h"
#include "MediaConversion/Converters/Vectors/PixelPairs.h"

#include <algorithm>

namespace MediaConversion {

namespace {

// The channels of two pixels as samples, in the pixels' own order.
template <int bits, ChannelType type, int channels>
PixelPair<std::uint16_t> samplesOf(const typename Channel<type>::Element* pixels)
{
    const auto pair = loadPair<channels>(pixels);
    constexpr auto fullScale = static_cast<unsigned>(Channel<type>::fullScale);
    constexpr auto largest = largestSample(bits);
    if constexpr (type == ChannelType::U8) {
        static_assert(rescalesExactly<fullScale, largest>());
        return rescaled<fullScale, largest>(pair.template as<std::uint16_t>());
    } else if constexpr (fullScale == largest) {
        return min(pair, PixelPair<std::uint16_t>(largest));
    } else if constexpr (type == ChannelType::F32) {
        // In double precision the product is exact, and the only tie, at a half, is rounded to the
        // even number above. A NaN passes and becomes 0 as it is narrowed.
        const auto sample = [](const Vector<float, 4>& pixel) {
            const DoublePixel largestValue(largest);
            return rounded(min(largestValue, pixel.as<double>() * largestValue));
        };
        return narrowed(sample(lowerHalf(pair)), sample(upperHalf(pair)));
    } else {
        static_assert(fullScale == 0x8000 || fullScale == 0xFFFF);
        using Integers = PixelPair<std::int32_t>;
        const auto samples = [](const Integers& values) {
            const auto product = (values << bits) - values + Integers(fullScale / 2);
            if constexpr (fullScale == 0x8000)
                return product >> 15;
            else
                return (product + (product >> 16) + Integers(1)) >> 16;
        };
        const auto integers =
            samples(min(pair, PixelPair<std::uint16_t>(fullScale)).template as<std::int32_t>());
        return narrowed(lowerHalf(integers), upperHalf(integers));
    }
}

#if defined(__AVX2__)
// The samples of floats up to 1. Rounding can lift a sum onto the next integer, never below its
// own; what is left beside an integer has the right sign however it is rounded.
template <int bits>
PixelPair<std::int32_t> settledSamples(const PixelPair<float>& fractions)
{
    using Floats = PixelPair<float>;
    const Floats largest(largestSample(bits));
    const auto positive = max(fractions, Floats(0));
    const auto atMost = fused(positive, largest, Floats(0.5F)).as<std::int32_t>();
    const auto left = fused(positive, largest, Floats(0.5F) - atMost.as<float>());
    return atMost + (left.bits<std::int32_t>() >> 31);
}

// The samples of four pixels.
template <int bits, ChannelType type, int channels>
Vector<std::uint16_t, 16> samplesOfFour(const typename Channel<type>::Element* pixels)
{
    const auto* const second = pixels + 2 * channels;
    if constexpr (type == ChannelType::F32) {
        // Negative numbers and NaN, which the smaller of two leaves, become 0 as they are narrowed.
        using Floats = PixelPair<float>;
        const std::array fractions{min(Floats(1), loadPair<channels>(pixels)),
                                   min(Floats(1), loadPair<channels>(second))};
        const auto sum = [](const Floats& values) {
            return fused(values, Floats(largestSample(bits)), Floats(0.5F));
        };
        const std::array sums{sum(fractions[0]), sum(fractions[1])};
        const std::array samples{sums[0].template as<std::int32_t>(),
                                 sums[1].template as<std::int32_t>()};
        const auto isWhole = [&](int half) {
            return equal(sums[half], samples[half].template as<float>())
                .template bits<std::int32_t>();
        };
        if (anyIsSet(isWhole(0) | isWhole(1))) [[unlikely]]
            return narrowed(settledSamples<bits>(fractions[0]), settledSamples<bits>(fractions[1]));
        return narrowed(samples[0], samples[1]);
    } else {
        return concatenated(samplesOf<bits, type, channels>(pixels),
                            samplesOf<bits, type, channels>(second));
    }
}
#endif

template <const RgbLayout& layout, ChannelOrder samples, ChannelOrder order, ChannelType type>
[[gnu::flatten]] void packRow(const std::uint8_t* pixels, std::size_t, std::uint8_t* groups,
                              std::size_t, int groupCount, Stores)
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
#if defined(__AVX2__)
    for (; bytesLeft >= Shuffle::bytes + Shuffle::vectorBytes; bytesLeft -= 2 * Shuffle::bytes) {
        const auto packed = Shuffle::packed(samplesOfFour<layout.bits, type, order.channels()>(
            reinterpret_cast<const Element*>(pixels)));
        lowerHalf(packed).store(groups);
        upperHalf(packed).store(groups + Shuffle::bytes);
        groups += 2 * Shuffle::bytes;
        pixels += 2 * pairBytes;
    }
#endif
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
    static constexpr RowKernel row =
        packRow<Destination::layout, Destination::order, Source::order, Source::channelType>;
};

}

template <>
const RowKernel* kernelsOf<compiledLevel, Family::RgbPacking>()
{
    static constexpr auto rows = kernelRows<Pack>(rgbPackings);
    return rows.data();
}

}
