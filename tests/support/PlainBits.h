#pragma once

#include <cstdint>

// Picks numbers out of the bytes of a group by the position of their bits.
namespace MediaConversion::Plain {

// Bit 0 is the lowest bit of the first byte; the next byte goes on above the first one's top bit.
template <int firstBit, int bits>
constexpr unsigned upwards(const std::uint8_t* bytes)
{
    unsigned window = 0;
    for (int byte = (firstBit + bits - 1) / 8; byte >= firstBit / 8; --byte)
        window = window << 8 | bytes[byte];
    return window >> firstBit % 8 & ((1u << bits) - 1);
}

// Bit 0 is the highest bit of the first byte; the next byte goes on below the first one's low bit.
template <int firstBit, int bits>
constexpr unsigned downwards(const std::uint8_t* bytes)
{
    constexpr int lastByte = (firstBit + bits - 1) / 8;
    unsigned window = 0;
    for (int byte = firstBit / 8; byte <= lastByte; ++byte)
        window = window << 8 | bytes[byte];
    return window >> (8 * (lastByte + 1) - firstBit - bits) & ((1u << bits) - 1);
}

}
