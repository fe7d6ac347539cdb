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
        using Integers = Vector<std::int32_t, 4>;
        const auto samples = [](const Integers& values) {
            const auto product = (values << bits) - values + Integers(fullScale / 2);
            if constexpr (fullScale == 0x8000)
                return product >> 15;
            else
                return (product + (product >> 16) + Integers(1)) >> 16;
        };
        const auto integers =
            min(pair, PixelPair<std::uint16_t>(fullScale)).template as<std::int32_t>();
        return narrowed(samples(lowerHalf(integers)), samples(upperHalf(integers)));
    }
}

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
