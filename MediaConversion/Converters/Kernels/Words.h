#pragma once

#include <cstdint>

// Words of a packing group, whatever the order of bytes on the machine.
namespace MediaConversion {

constexpr std::uint32_t littleEndianHalfword(const std::uint8_t* bytes)
{
    return static_cast<std::uint32_t>(bytes[0] | bytes[1] << 8);
}

constexpr std::uint32_t littleEndianWord(const std::uint8_t* bytes)
{
    return static_cast<std::uint32_t>(bytes[0]) | static_cast<std::uint32_t>(bytes[1]) << 8 |
           static_cast<std::uint32_t>(bytes[2]) << 16 | static_cast<std::uint32_t>(bytes[3]) << 24;
}

constexpr std::uint64_t littleEndianLongword(const std::uint8_t* bytes)
{
    std::uint64_t word = 0;
    for (int byte = 7; byte >= 0; --byte)
        word = word << 8 | bytes[byte];
    return word;
}

constexpr std::uint64_t bigEndianLongword(const std::uint8_t* bytes)
{
    std::uint64_t word = 0;
    for (int byte = 0; byte < 8; ++byte)
        word = word << 8 | bytes[byte];
    return word;
}

constexpr void storeLittleEndianHalfword(std::uint32_t word, std::uint8_t* bytes)
{
    bytes[0] = static_cast<std::uint8_t>(word);
    bytes[1] = static_cast<std::uint8_t>(word >> 8);
}

constexpr void storeLittleEndianWord(std::uint32_t word, std::uint8_t* bytes)
{
    storeLittleEndianHalfword(word, bytes);
    storeLittleEndianHalfword(word >> 16, bytes + 2);
}

constexpr void storeBigEndianLongword(std::uint64_t word, std::uint8_t* bytes)
{
    for (int byte = 0; byte < 8; ++byte)
        bytes[byte] = static_cast<std::uint8_t>(word >> (56 - 8 * byte));
}

}
