#pragma once

#include "tests/support/PlainBits.h"
#include "tests/support/PlainPixels.h"

#include <array>

// YCbCr samples of groups that share one pair of chroma samples.
namespace MediaConversion::Plain {

// Luma and alpha row by row, left to right; what a packing lacks stays 0.
struct YCbCrGroup
{
    unsigned cb;
    unsigned cr;
    std::array<unsigned, 4> luma;
    std::array<unsigned, 4> alpha;
};

struct Yuyv422
{
    static constexpr int rows = 1;
    static constexpr double lumaMaximum = 255;
    static constexpr double chromaMaximum = 255;
    static constexpr bool hasAlpha = false;

    static constexpr YCbCrGroup samples(const std::uint8_t* group)
    {
        return {group[1], group[3], {group[0], group[2]}, {}};
    }
};

struct Zeq422
{
    static constexpr int rows = 1;
    static constexpr double lumaMaximum = 1023;
    static constexpr double chromaMaximum = 1023;
    static constexpr bool hasAlpha = false;

    static constexpr YCbCrGroup samples(const std::uint8_t* group)
    {
        return {tenBits<0, 38>(group),
                tenBits<16, 34>(group),
                {tenBits<8, 36>(group), tenBits<24, 32>(group)},
                {}};
    }

    template <int topEight, int lowTwo>
    static constexpr unsigned tenBits(const std::uint8_t* group)
    {
        return upwards<topEight, 8>(group) << 2 | upwards<lowTwo, 2>(group);
    }
};

struct Zeq4224Hybrid
{
    static constexpr int rows = 1;
    static constexpr double lumaMaximum = 4095;
    static constexpr double chromaMaximum = 1023;
    static constexpr bool hasAlpha = true;

    static constexpr YCbCrGroup samples(const std::uint8_t* group)
    {
        return {upwards<32, 10>(group),
                upwards<22, 10>(group),
                {upwards<42, 12>(group), upwards<10, 12>(group)},
                {upwards<54, 10>(group), upwards<0, 10>(group)}};
    }
};

struct Zeq420
{
    static constexpr int rows = 2;
    static constexpr double lumaMaximum = 255;
    static constexpr double chromaMaximum = 255;
    static constexpr bool hasAlpha = false;

    static constexpr YCbCrGroup samples(const std::uint8_t* group)
    {
        return {group[0], group[1], {group[2], group[3], group[4], group[5]}, {}};
    }
};

// Writes the colours of a group's pixels, and their alpha if the packing has any. `rows` holds the
// first pixel of each row that the group covers.
template <class Packing, class Element>
void decodeGroup(const std::uint8_t* group, const ColourChannels& channels, double maximum,
                 const std::array<Element*, Packing::rows>& rows)
{
    const auto samples = Packing::samples(group);
    const double cb = samples.cb / Packing::chromaMaximum - 0.5;
    const double cr = samples.cr / Packing::chromaMaximum - 0.5;
    const double redOfCr = 1.402 * cr;
    const double greenOfCb = 0.34414 * cb;
    const double greenOfCr = 0.71414 * cr;
    const double blueOfCb = 1.772 * cb;
    for (int row = 0; row < Packing::rows; ++row)
        for (int column = 0; column < 2; ++column) {
            const double luma = samples.luma[2 * row + column] / Packing::lumaMaximum;
            Element* pixel = rows[row] + column * channels.count;
            pixel[channels.red] = quantised<Element>((luma + redOfCr) * maximum, maximum);
            pixel[channels.green] =
                quantised<Element>((luma - greenOfCb - greenOfCr) * maximum, maximum);
            pixel[channels.blue] = quantised<Element>((luma + blueOfCb) * maximum, maximum);
            if constexpr (Packing::hasAlpha)
                pixel[channels.alpha] =
                    quantised<Element>(samples.alpha[2 * row + column] / 1023.0 * maximum, maximum);
        }
}

}
