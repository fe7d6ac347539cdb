#include "tests/support/ReferenceBlocks.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace MediaConversion::Reference {
namespace {

// Eight bytes, the lowest first.
std::uint64_t word(const std::uint8_t* bytes)
{
    std::uint64_t value;
    std::memcpy(&value, bytes, 8);
    return value;
}

int eightBitsOf(std::uint64_t value, int bits)
{
    const int t = static_cast<int>(value & ((1 << bits) - 1)) * 255 + (1 << (bits - 1));
    return (t + (t >> bits)) >> bits;
}

Colour mixed(int ofOne, const Colour& one, int ofOther, const Colour& other)
{
    Colour colour{0, 0, 0, 255};
    for (int k = 0; k < 3; ++k)
        colour[k] = (ofOne * one[k] + ofOther * other[k]) / (ofOne + ofOther);
    return colour;
}

std::array<Colour, 4> fourColours(const Colour& first, const Colour& second)
{
    return {first, second, mixed(2, first, 1, second), mixed(1, first, 2, second)};
}

Colour endpoint(std::uint64_t colour)
{
    return {eightBitsOf(colour >> 11, 5), eightBitsOf(colour >> 5, 6), eightBitsOf(colour, 5), 255};
}

Block decodeColours(const std::uint8_t* bytes, bool always4)
{
    const auto block = word(bytes);
    const auto colour0 = block & 0xFFFF;
    const auto colour1 = block >> 16 & 0xFFFF;
    auto palette = fourColours(endpoint(colour0), endpoint(colour1));
    if (!always4 && colour0 <= colour1) {
        palette[2] = mixed(1, palette[0], 1, palette[1]);
        palette[3] = {0, 0, 0, 255};
    }
    Block texels;
    for (int k = 0; k < 16; ++k)
        texels[k] = palette[block >> (32 + 2 * k) & 3];
    return texels;
}

std::array<int, 8> alphas(int a0, int a1)
{
    std::array<int, 8> levels{a0, a1, 0, 0, 0, 0, 0, 255};
    const int steps = a0 > a1 ? 7 : 5;
    for (int i = 1; i < steps; ++i)
        levels[i + 1] = ((steps - i) * a0 + i * a1) / steps;
    return levels;
}

// The places of Co, Cg, the scale code and Y.
constexpr int orange = 0, green = 1, scaleCode = 2, luma = 3;

struct Box
{
    Colour min{255, 255, 255, 255};
    Colour max{};

    explicit Box(const Block& pixels)
    {
        for (const auto& pixel : pixels)
            for (int k = 0; k < 4; ++k) {
                min[k] = std::min(min[k], pixel[k]);
                max[k] = std::max(max[k], pixel[k]);
            }
    }
};

// A channel cut to its 5 bits, or Cg and green to 6, and widened again.
int expanded(int value, int channel)
{
    return channel == green ? (value & 0xFC) | value >> 6 : (value & 0xF8) | value >> 5;
}

std::uint64_t pack565(const Colour& colour)
{
    return (colour[0] & 0xF8) << 8 | (colour[1] & 0xFC) << 3 | colour[2] >> 3;
}

// The endpoints, and for each pixel which of four colours to take.
void writeColours(const Block& pixels, const Box& box, int channelCount, std::uint8_t* bytes)
{
    auto [second, first] = box;
    for (int k = 0; k < channelCount; ++k) {
        first[k] = expanded(first[k], k);
        second[k] = expanded(second[k], k);
    }
    const auto palette = fourColours(first, second);
    std::uint64_t indices = 0;
    for (int i = 0; i < 16; ++i) {
        std::array<int, 4> d{};
        for (int c = 0; c < 4; ++c)
            for (int k = 0; k < channelCount; ++k)
                d[c] += std::abs(palette[c][k] - pixels[i][k]);
        const std::uint64_t x0 = d[1] > d[2] && d[0] > d[2];
        const std::uint64_t x1 = d[1] > d[3] && d[0] > d[3];
        const std::uint64_t x2 = d[2] > d[3] && d[0] > d[3];
        indices |= (x2 | (x0 | x1) << 1) << 2 * i;
    }
    indices = indices << 32 | pack565(box.min) << 16 | pack565(box.max);
    std::memcpy(bytes, &indices, 8);
}

void shrink(Box& box, int channel, int shift)
{
    int& min = box.min[channel];
    int& max = box.max[channel];
    const int inset = (max - min) - ((1 << (shift - 1)) - 1);
    min = std::max(((min << shift) + inset) >> shift, 0);
    max = std::min(((max << shift) - inset) >> shift, 255);
}

void writeLuma(const Block& pixels, int min, int max, std::uint8_t* bytes)
{
    const int mid = (max - min) / 14;
    std::array<int, 7> t{min + mid};
    for (int k = 1; k < 7; ++k)
        t[k] = ((7 - k) * max + k * min) / 7 + mid;
    std::uint64_t indices = 0;
    for (int i = 0; i < 16; ++i) {
        std::uint64_t k = 1;
        for (const int threshold : t)
            k += pixels[i][luma] <= threshold;
        k &= 7;
        indices |= (k < 2 ? k ^ 1 : k) << 3 * i;
    }
    indices = indices << 16 | std::uint64_t(min << 8 | max);
    std::memcpy(bytes, &indices, 8);
}

Colour coCgAYOf(const Colour& pixel)
{
    const auto& [r, g, b, alpha] = pixel;
    return {std::min(((2 * r - 2 * b + 2) >> 2) + 128, 255),
            std::min(((2 * g - r - b + 2) >> 2) + 128, 255), 127, (r + 2 * g + b + 2) >> 2};
}

}

Block decodeDxt1(const std::uint8_t* bytes)
{
    return decodeColours(bytes, false);
}

Block decodeYCoCgDxt5(const std::uint8_t* bytes)
{
    Block texels = decodeColours(bytes + 8, true);
    const auto levels = alphas(bytes[0], bytes[1]);
    for (int k = 0; k < 16; ++k) {
        const int y = levels[word(bytes) >> (16 + 3 * k) & 7];
        const int scale = (texels[k][2] >> 3) + 1;
        const int co = (texels[k][0] - 128) / scale;
        const int cg = (texels[k][1] - 128) / scale;
        texels[k] = {std::clamp(y + co - cg, 0, 255), std::clamp(y + cg, 0, 255),
                     std::clamp(y - co - cg, 0, 255), 255};
    }
    return texels;
}

void encodeDxt1(const Block& pixels, std::uint8_t* bytes)
{
    Box box(pixels);
    for (int k = 0; k < 3; ++k) {
        const int inset = (box.max[k] - box.min[k]) >> 4;
        box.min[k] = std::min(box.min[k] + inset, 255);
        box.max[k] = std::max(box.max[k] - inset, 0);
    }
    writeColours(pixels, box, 3, bytes);
}

void encodeYCoCgDxt5(const Block& pixels, std::uint8_t* bytes)
{
    Block codes;
    std::ranges::transform(pixels, codes.begin(), coCgAYOf);
    int m = 0;
    for (const auto& code : codes)
        m = std::max({m, std::abs(code[orange] - 128), std::abs(code[green] - 128)});
    const int scale = m < 32 ? 4 : m < 64 ? 2 : 1;
    for (auto& code : codes)
        for (const int k : {orange, green})
            code[k] = (code[k] - 128) * scale + 128;
    Box box(codes);
    for (const int k : {orange, green}) {
        shrink(box, k, 4);
        box.min[k] = expanded(box.min[k], k);
        box.max[k] = expanded(box.max[k], k);
    }
    box.min[scaleCode] = box.max[scaleCode] = (scale - 1) * 8;
    shrink(box, luma, 5);
    const int mid0 = (box.min[orange] + box.max[orange] + 1) >> 1;
    const int mid1 = (box.min[green] + box.max[green] + 1) >> 1;
    const auto isApart = [&](auto& code) {
        return (code[orange] >= mid0) != (code[green] >= mid1);
    };
    if (std::count_if(codes.begin(), codes.end(), isApart) > 8)
        std::swap(box.min[green], box.max[green]);
    writeLuma(codes, box.min[luma], box.max[luma], bytes);
    writeColours(codes, box, 2, bytes + 8);
}

}
