#pragma once

#include <cstdint>

// Sizes are claims of headers, and memory is not taken for a claim alone. What follows never
// refuses a picture that is no larger than a frame of 8K.
namespace Imaging {

inline constexpr std::uint64_t largestClaim = std::uint64_t{8192} * 4320;

// Whether a whole picture may be built around the part of it that is stored. Of a larger one, a
// pixel in 16 has to be stored.
constexpr bool mayBeFilledUp(std::uint64_t pixels, std::uint64_t storedPixels)
{
    return pixels <= largestClaim || pixels / 16 <= storedPixels;
}

// Whether a compressed file may hold so many pixels, of so many bytes together. Of a larger picture
// it has to have the bytes that deflate, at its best, makes of them.
constexpr bool mayBeHeld(std::uint64_t pixels, std::uint64_t byteCount, std::uint64_t fileSize)
{
    return pixels <= largestClaim || byteCount / 1032 <= fileSize;
}

}
