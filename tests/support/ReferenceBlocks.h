#pragma once

#include <array>
#include <cstdint>

// The published DXT1 (BC1) and DXT5 (BC3) blocks of 4 x 4 texels, on whole numbers.
namespace MediaConversion::Reference {

// Red, green, blue and alpha, or what stands in their places: Co, Cg, the scale code and Y.
using Colour = std::array<int, 4>;

// Row by row, left to right.
using Block = std::array<Colour, 16>;

// With the first endpoint not above the second, index 3 is opaque black: alpha is always 255.
Block decodeDxt1(const std::uint8_t* bytes);

// Colours always have four levels, whatever the order of the endpoints.
Block decodeYCoCgDxt5(const std::uint8_t* bytes);

void encodeDxt1(const Block& pixels, std::uint8_t* bytes);
void encodeYCoCgDxt5(const Block& pixels, std::uint8_t* bytes);

}
