#pragma once

#include <cstdint>

namespace MediaConversion {

// Little-endian words of a packing group.
constexpr std::uint32_t littleEndianHalfword(const std::uint8_t* bytes)
{
    return static_cast<std::uint32_t>(bytes[0] | bytes[1] << 8);
}

constexpr std::uint32_t littleEndianWord(const std::uint8_t* bytes)
{
    return littleEndianHalfword(bytes) | littleEndianHalfword(bytes + 2) << 16;
}

}
