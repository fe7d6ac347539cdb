#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

// Where the groups of the packings hold their samples, and which colours these stand for.
namespace MediaConversion::Reference {

// Red, green, blue and alpha of a pixel, with a full scale of 1.
using Rgba = std::array<double, 4>;

// A sample in the number that a group's bytes are: where its lowest bit lies, how many it has, and
// the same of its low bits if these lie apart.
struct SampleBits
{
    int place;
    int count;
    int lowPlace = 0;
    int lowCount = 0;
};

struct Packing
{
    using Samples = std::array<unsigned, 6>;

    const char* nameEnd;
    int bytes;
    int rows;
    int columns;
    bool isLowestByteFirst;
    bool isYCbCr;

    // Three for each pixel, in the order of the packing's name; or Cb and Cr, which the pixels
    // share, then luma and perhaps alpha, row by row.
    std::vector<SampleBits> bits;

    Samples read(const std::uint8_t* group) const;
    void write(const Samples& samples, std::uint8_t* group) const;

    // 8-bit channels take the top eight bits of an RGB sample.
    void decode(const std::uint8_t* group, bool isToBytes, std::vector<Rgba>& colours) const;
    void encode(const std::vector<Rgba>& colours, std::uint8_t* group) const;
};

// The packing of that name; throws a std::out_of_range where there is none.
const Packing& packingOf(const std::string& name);

}
