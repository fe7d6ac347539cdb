#pragma once

#include "MediaConversion/Converters/Kernels/Pixels.h"
#include "MediaConversion/Converters/Kernels/Vectors.h"

namespace MediaConversion {
namespace {

// Two neighbouring pixels of four channels each. Pixels of three channels have a fourth lane of no
// meaning.
template <class T>
using PixelPair = Vector<T, 8>;

// One pixel, for what takes double precision.
using DoublePixel = Vector<double, 4>;

// What the channels of a pixel in this order cannot be less than: opaque alpha, also where it is
// not stored.
template <class T, ChannelOrder order>
Vector<T, 4> opaqueBlack(T opaque)
{
    std::array<T, 4> pixel{opaque, opaque, opaque, opaque};
    pixel[order.red] = pixel[order.green] = pixel[order.blue] = T{0};
    return Vector<T, 4>(pixel);
}

template <ChannelType type, ChannelOrder order>
void storePair(const PixelPair<typename Channel<type>::Element>& pair, std::uint8_t* pixels)
{
    constexpr int bytes = 2 * order.channels() * static_cast<int>(sizeof(pair)) / 8;
    if constexpr (order.channels() == 4)
        pair.store(pixels);
    else
        pair.template shuffled<0, 1, 2, 4, 5, 6, 7, 7>().template store<bytes>(pixels);
}

// Values of 0 to 1 as channels of the type, as quantise<type>() makes them. `floor` is the pixel
// that no channel may be less than, as values of 0 to 1.
template <ChannelType type>
PixelPair<typename Channel<type>::Element> quantised(const DoublePixel& left,
                                                     const DoublePixel& right,
                                                     const DoublePixel& floor)
{
    using Element = typename Channel<type>::Element;
    if constexpr (type == ChannelType::F32) {
        // Clamped after the step to float, which keeps the order of numbers, 0 and 1.
        const auto low = floor.as<float>();
        const auto floats = joined(left.as<float>(), right.as<float>());
        return min(max(floats, joined(low, low)), PixelPair<float>(1));
    } else {
        const auto whole = [&](const DoublePixel& pixel) {
            const DoublePixel full(Channel<type>::fullScale);
            const auto scaled = min(max(pixel * full, floor * full), full);
            return (scaled + DoublePixel(0.5)).template as<std::int32_t>();
        };
        const auto halves = joined(whole(left), whole(right)).template as<std::uint16_t>();
        return halves.template as<Element>();
    }
}

}
}
