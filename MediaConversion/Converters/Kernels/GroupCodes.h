#pragma once

#include "MediaConversion/Converters/Kernels/Quads.h"
#include "MediaConversion/Converters/Kernels/Words.h"
#include "MediaConversion/Converters/Kernels/YCbCrPackings.h"

#include <algorithm>

namespace MediaConversion {
namespace {

// The codes of two neighbouring groups.
struct GroupPair
{
    using Four = Vector<std::int32_t, 4>;

    Four luma;
    Four chroma;     // Cb, Cr, Cb, Cr
    Four lumaBelow;  // of the second row of pixels, where a group has two
    Four alpha;      // where the packing has it
};

// As many groups as are unpacked at once.
constexpr int groupsAtOnce = 64;

// The first bytes are two groups, those behind them of no meaning.
using PackedGroups = Vector<std::uint8_t, 16>;

// Looks up the codes of some groups, and puts two groups together.
template <class Packing>
class GroupCodes;

// Y of the left pixel, Cb, Y of the right pixel, Cr; 8 bits each.
template <>
class GroupCodes<Yuyv422>
{
public:
    GroupCodes(const std::uint8_t* groups, int) : m_groups(groups) {}

    unsigned luma(int group, int pixel) const { return m_groups[4 * group + 2 * pixel]; }
    unsigned cb(int group) const { return m_groups[4 * group + 1]; }
    unsigned cr(int group) const { return m_groups[4 * group + 3]; }

    static PackedGroups packed(const GroupPair& codes)
    {
        const auto halves = narrowed(codes.luma, codes.chroma);
        return narrowed(halves, halves)
            .shuffled<0, 4, 1, 5, 2, 6, 3, 7, 8, 9, 10, 11, 12, 13, 14, 15>();
    }

private:
    const std::uint8_t* m_groups;
};

// The top eight of 10 bits of Cb, left Y, Cr and right Y in four bytes; a fifth byte has their low
// two bits, Cb's at the top.
template <>
class GroupCodes<Zeq422>
{
public:
    GroupCodes(const std::uint8_t* groups, int groupCount)
    {
        auto* codes = m_codes.data();
        for (; groupCount >= 2; groupCount -= 2) {
            unpack(groups).store(codes);
            groups += 2 * Zeq422::bytes;
            codes += 8;
        }
        if (groupCount == 1) {
            std::array<std::uint8_t, 2 * Zeq422::bytes> last{};
            std::copy_n(groups, Zeq422::bytes, last.begin());
            unpack(last.data()).store(codes);
        }
    }

    unsigned luma(int group, int pixel) const { return m_codes[4 * group + 1 + 2 * pixel]; }
    unsigned cb(int group) const { return m_codes[4 * group]; }
    unsigned cr(int group) const { return m_codes[4 * group + 2]; }

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
    using Bytes = Vector<std::uint8_t, 8>;
    using Halves = Vector<std::uint16_t, 8>;

    static Halves unpack(const std::uint8_t* groups)
    {
        // Bytes 8 and 9 are in lanes 14 and 15. The byte of a code twice, and the fifth byte.
        const auto bytes = joined(Bytes::load(groups), Bytes::load(groups + 2));
        const auto top = bytes.shuffled<0, 0, 1, 1, 2, 2, 3, 3, 5, 5, 6, 6, 7, 7, 14, 14>()
                             .bits<std::uint16_t>();
        const auto low = bytes.shuffled<4, 4, 4, 4, 4, 4, 4, 4, 15, 15, 15, 15, 15, 15, 15, 15>()
                             .bits<std::uint16_t>();
        const auto lowBits = ((low & Halves(0xFF00)) * Halves({1, 4, 16, 64, 1, 4, 16, 64})) >> 14;
        return ((top >> 6) & Halves(0x3FC)) | lowBits;
    }

    std::array<std::uint16_t, 4 * groupsAtOnce> m_codes;
};

// Two little-endian 32-bit words. From the top down: Cr (10 bits), Y (12) and alpha (10) of the
// right pixel; then alpha (10) and Y (12) of the left pixel, Cb (10). The right pixel does stand
// first.
template <>
class GroupCodes<Zeq4224Hybrid>
{
public:
    GroupCodes(const std::uint8_t* groups, int) : m_groups(groups) {}

    unsigned luma(int group, int pixel) const { return word(group, 1 - pixel) >> 10 & 0xFFF; }
    unsigned cb(int group) const { return word(group, 1) & 0x3FF; }
    unsigned cr(int group) const { return word(group, 0) >> 22; }
    unsigned alpha(int group, int pixel) const
    {
        return pixel == 0 ? word(group, 1) >> 22 : word(group, 0) & 0x3FF;
    }

    static PackedGroups packed(const GroupPair& codes)
    {
        const auto top = codes.chroma.shuffled<1, 4, 3, 6>(codes.alpha);
        const auto middle = codes.luma.shuffled<1, 0, 3, 2>();
        const auto low = codes.alpha.shuffled<1, 4, 3, 6>(codes.chroma);
        return (top << 22 | middle << 10 | low).bits<std::uint8_t>();
    }

private:
    std::uint32_t word(int group, int which) const
    {
        return littleEndianWord(m_groups + 8 * group + 4 * which);
    }

    const std::uint8_t* m_groups;
};

// Cb, Cr, and Y of two rows of two pixels; 8 bits each.
template <>
class GroupCodes<Zeq420>
{
public:
    GroupCodes(const std::uint8_t* groups, int) : m_groups(groups) {}

    unsigned luma(int group, int pixel) const { return m_groups[6 * group + 2 + pixel]; }
    unsigned cb(int group) const { return m_groups[6 * group]; }
    unsigned cr(int group) const { return m_groups[6 * group + 1]; }

    static PackedGroups packed(const GroupPair& codes)
    {
        return narrowed(narrowed(codes.luma, codes.chroma),
                        narrowed(codes.lumaBelow, codes.lumaBelow))
            .shuffled<4, 5, 0, 1, 8, 9, 6, 7, 2, 3, 10, 11, 12, 13, 14, 15>();
    }

private:
    const std::uint8_t* m_groups;
};

}
}
