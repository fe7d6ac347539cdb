#pragma once

#include "MediaConversion/Converters/Pixels.h"

#include <string_view>

// The published S3TC blocks of 4 x 4 pixels, numbered row by row; all words are little-endian.
//
//     DXT1 (BC1), 8 bytes    two RGB 5:6:5 endpoints of 16 bits, red at the top; 16 indices of 2
//     bits DXT5 (BC3), 16 bytes   two 8-bit alpha endpoints, 16 indices of 3 bits; then as DXT1
//
// The first pixel's index has the lowest bits.
namespace MediaConversion {

inline constexpr int blockSide = 4;
inline constexpr int blockPixels = blockSide * blockSide;

constexpr Velmora::PixelPacking packingOfBlocks(std::uint32_t bytes)
{
    return {bytes, 3 * blockPixels, blockSide, blockSide};
}

struct RgbDxt1
{
    static constexpr int bytes = 8;
    static constexpr std::string_view name = "DXT1";

    static FrameFormat format() { return Velmora::Formats::RGB_DXT1(); }

    static_assert(Velmora::Formats::RGB_DXT1.pixelPacking == packingOfBlocks(bytes));
};

// The alpha half of the block is Y; the colour half carries Co and Cg, both offset by 128 and
// scaled up, as red and green; its blue is 8 times the scale less one.
struct YCoCgDxt5
{
    static constexpr int bytes = 16;
    static constexpr std::string_view name = "DXT5";

    static FrameFormat format() { return Velmora::Formats::YCoCg_DXT5(); }

    static_assert(Velmora::Formats::YCoCg_DXT5.pixelPacking == packingOfBlocks(bytes));
};

}
