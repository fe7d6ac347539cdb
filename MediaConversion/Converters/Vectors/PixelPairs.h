#pragma once

#include "MediaConversion/Converters/Pixels.h"
#include "MediaConversion/Converters/Vectors/Vectors.h"

namespace MediaConversion {
namespace {

// Two neighbouring pixels of four channels each. Where pixels have three, the fourth lane has no
// meaning.
template <class T>
using PixelPair = Vector<T, 8>;

// One pixel, for what takes double precision.
using DoublePixel = Vector<double, 4>;

// Pixels of three channels have to be followed by one element more, which is read as well.
template <int channels, class Element>
PixelPair<Element> loadPair(const Element* pixels)
{
    if constexpr (channels == 4)
        return PixelPair<Element>::load(pixels);
    else
        return concatenated(Vector<Element, 4>::load(pixels), Vector<Element, 4>::load(pixels + 3));
}

// A pixel that is 0 but for alpha, which is opaque; the lane is there also where it is not stored.
template <class T, ChannelOrder order>
Vector<T, 4> opaqueBlack(T opaque)
{
    std::array<T, 4> pixel{opaque, opaque, opaque, opaque};
    pixel[order.red] = pixel[order.green] = pixel[order.blue] = T{0};
    return Vector<T, 4>(pixel);
}

// Converts a row of pixels by storing as it is told to, if that is possible: past the caches go
// whole vectors only, to addresses that are multiples of their size. `convert` gets the Stores as a
// type.
template <ChannelType type, ChannelOrder order, class Convert>
void convertStoring(Stores stores, const std::uint8_t* pixels, std::size_t pixelRowStep,
                    const Convert& convert)
{
    constexpr std::size_t pairBytes = sizeof(PixelPair<typename Channel<type>::Element>);
    if constexpr (order.channels() == 4 && pairBytes >= 16) {
        const auto address = reinterpret_cast<std::uintptr_t>(pixels);
        if (stores == Stores::PastCaches && (address | pixelRowStep) % pairBytes == 0) {
            convert(std::integral_constant<Stores, Stores::PastCaches>{});
            return finishStoresPastCaches();
        }
    }
    convert(std::integral_constant<Stores, Stores::Plain>{});
}

template <ChannelType type, ChannelOrder order, Stores stores = Stores::Plain>
void storePair(const PixelPair<typename Channel<type>::Element>& pair, std::uint8_t* pixels)
{
    constexpr int bytes = 2 * order.channels() * static_cast<int>(sizeof(pair)) / 8;
    if constexpr (order.channels() == 4)
        pair.template storeBy<stores>(pixels);
    else
        pair.template shuffled<0, 1, 2, 4, 5, 6, 7, 7>().template store<bytes>(pixels);
}

// Makes channels of fractions of full scale as quantise<type>() does. Integers stay in 32 bits.
template <ChannelType type, int lanes>
auto quantised(const Vector<double, lanes>& values)
{
    using Values = Vector<double, lanes>;
    if constexpr (type == ChannelType::F32) {
        // Clamped after the step to float, which keeps the order of numbers, 0 and 1.
        using Floats = Vector<float, lanes>;
        return min(max(values.template as<float>(), Floats(0)), Floats(1));
    } else {
        const Values full(Channel<type>::fullScale);
        const auto scaled = min(max(values * full, Values(0)), full);
        return (scaled + Values(0.5)).template as<std::int32_t>();
    }
}

}
}
