#pragma once

#include "tests/support/PlainBits.h"
#include "tests/support/PlainPixels.h"

#include <array>

// RGB samples of 10 and 12 bits, pixel after pixel, in the order of the packing's name.
namespace MediaConversion::Plain {

struct DpxFilled
{
    static constexpr int pixels = 1;
    static constexpr int bits = 10;

    static constexpr std::array<unsigned, 3> samples(const std::uint8_t* group)
    {
        return {upwards<22, 10>(group), upwards<12, 10>(group), upwards<2, 10>(group)};
    }
};

struct DpxPacked
{
    static constexpr int pixels = 2;
    static constexpr int bits = 12;

    static constexpr std::array<unsigned, 6> samples(const std::uint8_t* group)
    {
        return {upwards<0, 12>(group),  upwards<12, 12>(group), upwards<24, 12>(group),
                upwards<36, 12>(group), upwards<48, 12>(group), upwards<60, 12>(group)};
    }
};

struct Smpte2110
{
    static constexpr int pixels = 2;
    static constexpr int bits = 12;

    static constexpr std::array<unsigned, 6> samples(const std::uint8_t* group)
    {
        return {downwards<0, 12>(group),  downwards<12, 12>(group), downwards<24, 12>(group),
                downwards<36, 12>(group), downwards<48, 12>(group), downwards<60, 12>(group)};
    }
};

// 8-bit channels take the top eight bits of a sample, all others the nearest value.
template <int bits, class Element>
Element convertedSample(unsigned sample, double maximum)
{
    if constexpr (sizeof(Element) == 1)
        return quantised<Element>((sample >> (bits - 8)) / 255.0 * maximum, maximum);
    else
        return quantised<Element>(sample / double((1 << bits) - 1) * maximum, maximum);
}

// Writes the colours of a group's pixels; `channels` says where the first, second and third sample
// of a pixel go.
template <class Packing, class Element>
void unpackGroup(const std::uint8_t* group, const std::array<int, 3>& channels, int channelCount,
                 double maximum, Element* pixels)
{
    const auto samples = Packing::samples(group);
    for (int pixel = 0; pixel < Packing::pixels; ++pixel)
        for (int sample = 0; sample < 3; ++sample)
            pixels[pixel * channelCount + channels[sample]] =
                convertedSample<Packing::bits, Element>(samples[pixel * 3 + sample], maximum);
}

}
