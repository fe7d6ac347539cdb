#pragma once

#include "MediaConversion/Converters/Vectors/Vectors.h"
#include "MediaConversion/Converters/YCbCr/YCbCrPackings.h"

namespace MediaConversion {
namespace {

// The codes of some neighbouring groups, a lane for each pixel of a row.
template <int pixels>
struct GroupsOf
{
    using Codes = Vector<std::int32_t, pixels>;

    Codes luma;
    Codes chroma;     // Cb, Cr, Cb, Cr...
    Codes lumaBelow;  // of the second row of pixels, where a group has two
    Codes alpha;      // where the packing has it
};

using GroupPair = GroupsOf<4>;

// The first bytes are two groups, those behind them of no meaning.
using PackedGroups = Vector<std::uint8_t, 16>;

// Takes two groups apart, which reads a whole vector, and puts them together.
template <class Packing>
class GroupCodes;

// Y of the left pixel, Cb, Y of the right pixel, Cr; 8 bits each.
template <>
class GroupCodes<Yuyv422>
{
public:
    static GroupPair unpacked(const PackedGroups& groups)
    {
        const PackedGroups zeros(0);
        // clang-format off
        return {groups.shuffled<0, 16, 16, 16, 2, 16, 16, 16, 4, 16, 16, 16, 6, 16, 16, 16>(zeros).bits<std::int32_t>(),
                groups.shuffled<1, 16, 16, 16, 3, 16, 16, 16, 5, 16, 16, 16, 7, 16, 16, 16>(zeros).bits<std::int32_t>(),
                {},
                {}};
        // clang-format on
    }

    static PackedGroups packed(const GroupPair& codes)
    {
        const auto halves = narrowed(codes.luma, codes.chroma);
        return narrowed(halves, halves)
            .shuffled<0, 4, 1, 5, 2, 6, 3, 7, 8, 9, 10, 11, 12, 13, 14, 15>();
    }
};

// The top eight of 10 bits of Cb, left Y, Cr and right Y in four bytes; a fifth byte has their low
// two bits, Cb's at the top.
template <>
class GroupCodes<Zeq422>
{
public:
    static GroupPair unpacked(const PackedGroups& groups)
    {
        // The byte of a code twice, and the fifth byte.
        const auto top =
            groups.shuffled<0, 0, 1, 1, 2, 2, 3, 3, 5, 5, 6, 6, 7, 7, 8, 8>().bits<std::uint16_t>();
        const auto low =
            groups.shuffled<4, 4, 4, 4, 4, 4, 4, 4, 9, 9, 9, 9, 9, 9, 9, 9>().bits<std::uint16_t>();
        const auto lowBits = ((low & Halves(0xFF00)) * Halves({1, 4, 16, 64, 1, 4, 16, 64})) >> 14;
        const auto codes = (((top >> 6) & Halves(0x3FC)) | lowBits).bits<std::int32_t>();
        return {codes >> 16, codes & GroupPair::Codes(0xFFFF), {}, {}};
    }

    static PackedGroups packed(const GroupPair& codes)
    {
        const auto halves = narrowed(codes.luma, codes.chroma).shuffled<4, 0, 5, 1, 6, 2, 7, 3>();
        auto low =
            ((halves & Halves(3)) * Halves({64, 16, 4, 1, 64, 16, 4, 1})).bits<std::uint64_t>();
        low = low | low >> 32;
        low = low | low >> 16;
        return (halves >> 2)
            .bits<std::uint8_t>()
            .shuffled<0, 2, 4, 6, 16, 8, 10, 12, 14, 24, 0, 0, 0, 0, 0, 0>(
                low.bits<std::uint8_t>());
    }

private:
    using Halves = Vector<std::uint16_t, 8>;
};

// Two little-endian 32-bit words. From the top down: Cr (10 bits), Y (12) and alpha (10) of the
// right pixel; then alpha (10) and Y (12) of the left pixel, Cb (10). The right pixel does stand
// first.
template <>
class GroupCodes<Zeq4224Hybrid>
{
public:
    static GroupPair unpacked(const PackedGroups& groups)
    {
        using Words = Vector<std::uint32_t, 4>;
        const auto words = groups.bits<std::uint32_t>();
        const auto top = (words >> 22).bits<std::int32_t>();
        const auto middle = ((words >> 10) & Words(0xFFF)).bits<std::int32_t>();
        const auto low = (words & Words(0x3FF)).bits<std::int32_t>();
        return {.luma = middle.shuffled<1, 0, 3, 2>(),
                .chroma = low.shuffled<1, 4, 3, 6>(top),
                .lumaBelow = {},
                .alpha = top.shuffled<1, 4, 3, 6>(low)};
    }

    static PackedGroups packed(const GroupPair& codes)
    {
        const auto top = codes.chroma.shuffled<1, 4, 3, 6>(codes.alpha);
        const auto middle = codes.luma.shuffled<1, 0, 3, 2>();
        const auto low = codes.alpha.shuffled<1, 4, 3, 6>(codes.chroma);
        return (top << 22 | middle << 10 | low).bits<std::uint8_t>();
    }
};

// Cb, Cr, and Y of two rows of two pixels; 8 bits each.
template <>
class GroupCodes<Zeq420>
{
public:
    static GroupPair unpacked(const PackedGroups& groups)
    {
        const PackedGroups zeros(0);
        // clang-format off
        return {groups.shuffled<2, 16, 16, 16, 3, 16, 16, 16, 8, 16, 16, 16,  9, 16, 16, 16>(zeros).bits<std::int32_t>(),
                groups.shuffled<0, 16, 16, 16, 1, 16, 16, 16, 6, 16, 16, 16,  7, 16, 16, 16>(zeros).bits<std::int32_t>(),
                groups.shuffled<4, 16, 16, 16, 5, 16, 16, 16, 10, 16, 16, 16, 11, 16, 16, 16>(zeros).bits<std::int32_t>(),
                {}};
        // clang-format on
    }

    static PackedGroups packed(const GroupPair& codes)
    {
        return narrowed(narrowed(codes.luma, codes.chroma),
                        narrowed(codes.lumaBelow, codes.lumaBelow))
            .shuffled<4, 5, 0, 1, 8, 9, 6, 7, 2, 3, 10, 11, 12, 13, 14, 15>();
    }
};

}
}
