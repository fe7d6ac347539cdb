#include "tests/support/PlainBlocks.h"

#include <algorithm>

namespace MediaConversion::Plain {

namespace {

int littleEndian16(const std::uint8_t* bytes)
{
    return bytes[0] | bytes[1] << 8;
}

int eightBitsOfFive(int value)
{
    const int t = value * 255 + 16;
    return (t + (t >> 5)) >> 5;
}

int eightBitsOfSix(int value)
{
    const int t = value * 255 + 32;
    return (t + (t >> 6)) >> 6;
}

Texel endpoint(int colour)
{
    return {eightBitsOfFive(colour >> 11), eightBitsOfSix(colour >> 5 & 63),
            eightBitsOfFive(colour & 31), 255};
}

Texel twoToOne(const Texel& near, const Texel& far)
{
    return {(2 * near.red + far.red) / 3, (2 * near.green + far.green) / 3,
            (2 * near.blue + far.blue) / 3, 255};
}

Texel mean(const Texel& one, const Texel& other)
{
    return {(one.red + other.red) >> 1, (one.green + other.green) >> 1,
            (one.blue + other.blue) >> 1, 255};
}

std::array<Texel, 4> colours(const std::uint8_t* block, bool always4)
{
    const int colour0 = littleEndian16(block);
    const int colour1 = littleEndian16(block + 2);
    const Texel c0 = endpoint(colour0);
    const Texel c1 = endpoint(colour1);
    if (always4 || colour0 > colour1)
        return {c0, c1, twoToOne(c0, c1), twoToOne(c1, c0)};
    return {c0, c1, mean(c0, c1), Texel{0, 0, 0, 255}};
}

std::array<int, 8> alphas(int a0, int a1)
{
    std::array<int, 8> levels{a0, a1, 0, 0, 0, 0, 0, 255};
    if (a0 > a1)
        for (int i = 2; i < 8; ++i)
            levels[i] = ((8 - i) * a0 + (i - 1) * a1) / 7;
    else
        for (int i = 2; i < 6; ++i)
            levels[i] = ((6 - i) * a0 + (i - 1) * a1) / 5;
    return levels;
}

Texels decodeColours(const std::uint8_t* block, bool always4)
{
    const auto palette = colours(block, always4);
    Texels texels;
    for (int k = 0; k < 16; ++k)
        texels[k] = palette[block[4 + k / 4] >> 2 * (k % 4) & 3];
    return texels;
}

}

Texels decodeDxt1Block(const std::uint8_t* block)
{
    return decodeColours(block, false);
}

Texels decodeDxt5Block(const std::uint8_t* block)
{
    Texels texels = decodeColours(block + 8, true);
    const auto levels = alphas(block[0], block[1]);
    std::uint64_t indices = 0;
    for (int byte = 7; byte >= 2; --byte)
        indices = indices << 8 | block[byte];
    for (int k = 0; k < 16; ++k)
        texels[k].alpha = levels[indices >> 3 * k & 7];
    return texels;
}

Texel colourOfCoCgAY(const Texel& codes)
{
    const int scale = (codes.blue >> 3) + 1;
    const int co = (codes.red - 128) / scale;
    const int cg = (codes.green - 128) / scale;
    const int y = codes.alpha;
    return {std::clamp(y + co - cg, 0, 255), std::clamp(y + cg, 0, 255),
            std::clamp(y - co - cg, 0, 255), 255};
}

}
