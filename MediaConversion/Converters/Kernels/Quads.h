#pragma once

#include "MediaConversion/Converters/Kernels/PixelPairs.h"

namespace MediaConversion {
namespace {

// One value for each of four neighbouring pixels.
using Quad = Vector<double, 4>;

// Four pixels of four lanes, channel by channel.
template <class T>
std::array<Vector<T, 4>, 4> channelsOf(const std::array<Vector<T, 4>, 4>& pixels)
{
    const auto lower = [](const Vector<T, 4>& one, const Vector<T, 4>& other) {
        return one.template shuffled<0, 4, 1, 5>(other);
    };
    const auto upper = [](const Vector<T, 4>& one, const Vector<T, 4>& other) {
        return one.template shuffled<2, 6, 3, 7>(other);
    };
    const auto even = lower(pixels[0], pixels[2]);
    const auto odd = lower(pixels[1], pixels[3]);
    const auto evenUpper = upper(pixels[0], pixels[2]);
    const auto oddUpper = upper(pixels[1], pixels[3]);
    return {lower(even, odd), upper(even, odd), lower(evenUpper, oddUpper),
            upper(evenUpper, oddUpper)};
}

// Four channels of four pixels, two pixels after two. Given and taken are two channels together:
// the first and third, the second and fourth.
template <class T>
std::array<PixelPair<T>, 2> pixelsOf(const Vector<T, 8>& even, const Vector<T, 8>& odd)
{
    const auto left = even.template shuffled<0, 8, 1, 9, 4, 12, 5, 13>(odd);
    const auto right = even.template shuffled<2, 10, 3, 11, 6, 14, 7, 15>(odd);
    return {left.template shuffled<0, 1, 4, 5, 2, 3, 6, 7>(),
            right.template shuffled<0, 1, 4, 5, 2, 3, 6, 7>()};
}

// Values of 0 to 1, one Quad a channel, as channels of the type, as quantise<type>() makes them.
template <ChannelType type>
std::array<PixelPair<typename Channel<type>::Element>, 2> quantised(
    const std::array<Quad, 4>& channels)
{
    if constexpr (type == ChannelType::F32) {
        // Clamped after the step to float, which keeps the order of numbers, 0 and 1.
        const auto clampedPair = [](const Quad& one, const Quad& other) {
            const auto floats = joined(one.as<float>(), other.as<float>());
            return min(max(floats, Vector<float, 8>(0)), Vector<float, 8>(1));
        };
        return pixelsOf(clampedPair(channels[0], channels[2]),
                        clampedPair(channels[1], channels[3]));
    } else {
        using Element = typename Channel<type>::Element;
        const auto whole = [](const Quad& values) {
            const Quad full(Channel<type>::fullScale);
            const auto scaled = min(max(values * full, Quad(0)), full);
            return (scaled + Quad(0.5)).as<std::int32_t>();
        };
        const auto integers = pixelsOf(joined(whole(channels[0]), whole(channels[2])),
                                       joined(whole(channels[1]), whole(channels[3])));
        const auto narrow = [](const PixelPair<std::int32_t>& pair) {
            return pair.as<std::uint16_t>().template as<Element>();
        };
        return {narrow(integers[0]), narrow(integers[1])};
    }
}

}
}
