#include "MediaConversion/Converters/Kernels.h"
#include "MediaConversion/Converters/Rgb/SampleShuffles.h"
#include "MediaConversion/Converters/Vectors/PixelPairs.h"

#include <algorithm>

namespace MediaConversion {

namespace {

// Samples as channels of the type: U8 channels cut the low bits, all others scale and round.
template <int bits, ChannelType type, ChannelOrder order>
PixelPair<typename Channel<type>::Element> channelsOf(const PixelPair<std::uint16_t>& samples)
{
    using Element = typename Channel<type>::Element;
    const auto opaque = opaqueBlack<Element, order>(quantise<type>(1.0));
    if constexpr (type == ChannelType::F32) {
        const auto values = samples.as<std::int32_t>().template as<float>();
        using Fraction = ExactFraction<float, largestSample(bits)>;
        return values * PixelPair<float>(Fraction::upper) +
               values * PixelPair<float>(Fraction::lower) + concatenated(opaque, opaque);
    } else if constexpr (type == ChannelType::U8) {
        return (samples >> (bits - 8)).template as<Element>() | concatenated(opaque, opaque);
    } else if constexpr (Channel<type>::fullScale == largestSample(bits)) {
        return samples | concatenated(opaque, opaque);
    } else {
        constexpr auto fullScale = static_cast<unsigned>(Channel<type>::fullScale);
        static_assert(rescalesExactly<largestSample(bits), fullScale>());
        return rescaled<largestSample(bits), fullScale>(samples) | concatenated(opaque, opaque);
    }
}

template <const RgbLayout& layout, ChannelOrder samples, ChannelOrder order, ChannelType type,
          Stores stores>
[[gnu::flatten]] void unpackRow(const std::uint8_t* groups, std::uint8_t* pixels, int groupCount)
{
    using Element = typename Channel<type>::Element;
    using Shuffle = SampleShuffle<layout, samples, order>;
    constexpr int pairBytes = 2 * order.channels() * static_cast<int>(sizeof(Element));
    const auto unpacked = [](const std::uint8_t* bytes) {
        return channelsOf<layout.bits, type, order>(Shuffle::samples(bytes));
    };

    int bytesLeft = groupCount * layout.bytes;
    for (; bytesLeft >= Shuffle::vectorBytes; bytesLeft -= Shuffle::bytes) {
        storePair<type, order, stores>(unpacked(groups), pixels);
        groups += Shuffle::bytes;
        pixels += pairBytes;
    }
    // A vector would reach past the row.
    std::array<std::uint8_t, 2 * Shuffle::vectorBytes> rest{};
    std::copy_n(groups, bytesLeft, rest.begin());
    const auto* bytes = rest.data();
    for (; bytesLeft > 0; bytesLeft -= Shuffle::bytes) {
        std::array<std::uint8_t, pairBytes> pair;
        storePair<type, order>(unpacked(bytes), pair.data());
        bytes += Shuffle::bytes;
        pixels = std::copy_n(pair.data(), bytesLeft < Shuffle::bytes ? pairBytes / 2 : pairBytes,
                             pixels);
    }
}

struct Unpack
{
    template <class Source, class Destination>
    static void row(const std::uint8_t* groups, std::size_t, std::uint8_t* pixels,
                    std::size_t pixelRowStep, int groupCount, Stores stores)
    {
        constexpr auto order = Destination::order;
        constexpr auto type = Destination::channelType;
        convertStoring<type, order>(stores, pixels, pixelRowStep, [&](auto storesAs) {
            unpackRow<Source::layout, Source::order, order, type, storesAs>(groups, pixels,
                                                                            groupCount);
        });
    }
};

}

template <>
const RowKernel* kernelsOf<compiledLevel, Family::RgbUnpacking>()
{
    static constexpr auto rows = kernelRows<Unpack>(rgbUnpackings);
    return rows.data();
}

}
