#pragma once

#include <array>
#include <cstdint>

// The published DXT1 (BC1) and DXT5 (BC3) blocks of 4 x 4 texels, on whole numbers.
namespace MediaConversion::Plain {

struct Texel
{
    int red;
    int green;
    int blue;
    int alpha;
};

// Row by row, left to right.
using Texels = std::array<Texel, 16>;

// DXT1. With the first endpoint not above the second, index 3 is opaque black: alpha is always 255.
Texels decodeDxt1Block(const std::uint8_t* block);

// DXT5: colours always have four levels, whatever the order of the endpoints.
Texels decodeDxt5Block(const std::uint8_t* block);

// The colour of a decoded texel that holds Co, Cg, the scale code and Y as red, green, blue and
// alpha.
Texel colourOfCoCgAY(const Texel& codes);

}
