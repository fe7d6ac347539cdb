#pragma once

#include "MediaConversion/Converters/Vectors/Vectors.h"
#include "MediaConversion/Converters/YCbCr/YCbCrPackings.h"

namespace MediaConversion {
namespace {

// The codes of neighbouring groups, with a lane for each pixel of a row.
template <int pixels>
struct GroupsOf
{
    using Codes = Vector<std::int32_t, pixels>;

    Codes luma;
    Codes chroma;     // Cb, Cr, Cb, Cr and so on
    Codes lumaBelow;  // of the second row of pixels, where a group has two
    Codes alpha;      // where the packing has it
};

using GroupPair = GroupsOf<4>;

// Two groups, and bytes behind them that have no meaning.
using PackedGroups = Vector<std::uint8_t, 16>;

// Takes groups apart, two in each 16 bytes, and puts them together.
template <class Packing>
struct GroupCodes
{
    template <int pixels>
    static GroupsOf<pixels> unpacked(const Vector<std::uint8_t, 4 * pixels>& groups)
    {
        using Codes = typename GroupsOf<pixels>::Codes;
        if constexpr (hasFurtherBits) {
            using PixelHalves = Vector<std::uint16_t, 2 * pixels>;
            const auto top =
                shuffledInSixteens<codeByteTwice>(groups).template bits<std::uint16_t>();
            const auto further =
                shuffledInSixteens<furtherByteTwice>(groups).template bits<std::uint16_t>();
            const auto lowBits = ((further & PixelHalves(0xFF00)) *
                                  PixelHalves(repeatedTo<2 * pixels>(factorsToTop))) >>
                                 14;
            const auto codes =
                (((top >> 6) & PixelHalves(0x3FC)) | lowBits).template bits<std::int32_t>();
            return {codes >> 16, codes & Codes(0xFFFF), {}, {}};
        } else {
            GroupsOf<pixels> codes{
                shuffledInSixteens<lumaByte<0>>(groups).template bits<std::int32_t>(),
                shuffledInSixteens<chromaByte>(groups).template bits<std::int32_t>(),
                {},
                {}};
            if constexpr (Packing::rows == 2)
                codes.lumaBelow =
                    shuffledInSixteens<lumaByte<1>>(groups).template bits<std::int32_t>();
            return codes;
        }
    }

    static PackedGroups packed(const GroupPair& codes)
    {
        if constexpr (hasFurtherBits) {
            const auto halves = shuffledBy<8, codeOfByte>(narrowed(codes.luma, codes.chroma));
            // The two low bits of a group's codes, side by side in the first byte of 64 bits.
            auto low =
                ((halves & Halves(3)) * Halves(factorsFromTop)).template bits<std::uint64_t>();
            low = low | low >> 32;
            low = low | low >> 16;
            return shuffledBy<16, topOrFurtherByte>((halves >> 2).template bits<std::uint8_t>(),
                                                    low.template bits<std::uint8_t>());
        } else {
            const auto first = narrowed(codes.luma, codes.chroma);
            const auto below =
                Packing::rows == 2 ? narrowed(codes.lumaBelow, codes.lumaBelow) : first;
            return shuffledBy<16, codeOfPackedByte>(narrowed(first, below));
        }
    }

    using Halves = Vector<std::uint16_t, 8>;

    static constexpr ByteLayout layout = Packing::layout;
    static constexpr bool hasFurtherBits = layout.furtherBits != ByteLayout::none;
    static constexpr int zero = -1;

    template <std::size_t count>
    static constexpr std::array<std::uint16_t, count> repeatedTo(
        const std::array<std::uint16_t, 8>& eight)
    {
        std::array<std::uint16_t, count> values{};
        for (std::size_t k = 0; k < count; ++k)
            values[k] = eight[k % 8];
        return values;
    }

    // The byte of Y, and of Cb or Cr by turns, for each of four pixels.
    static constexpr int lumaOf(int pixel, int row)
    {
        return pixel / 2 * Packing::bytes + layout.luma[2 * row + pixel % 2];
    }
    static constexpr int chromaOf(int pixel)
    {
        return pixel / 2 * Packing::bytes + (pixel % 2 == 0 ? layout.cb : layout.cr);
    }

    // As the lowest of four bytes of a pixel, the others zero.
    template <int row>
    static constexpr int lumaByte(int byte)
    {
        return byte % 4 == 0 ? lumaOf(byte / 4, row) : zero;
    }
    static constexpr int chromaByte(int byte) { return byte % 4 == 0 ? chromaOf(byte / 4) : zero; }

    // Four bytes a pixel: chroma twice, luma twice; and the byte of further bits for each.
    static constexpr int codeByteTwice(int byte)
    {
        return byte % 4 < 2 ? chromaOf(byte / 4) : lumaOf(byte / 4, 0);
    }
    static constexpr int furtherByteTwice(int byte)
    {
        return byte / 8 * Packing::bytes + layout.furtherBits;
    }

    // What moves a code's further bits to the top of their byte, for chroma and luma by turns.
    static constexpr std::array<std::uint16_t, 8> factorsToTop = [] {
        std::array<std::uint16_t, 8> factors{};
        for (int half = 0; half < 8; ++half)
            factors[half] =
                static_cast<std::uint16_t>(1 << 2 * (codeByteTwice(2 * half) % Packing::bytes));
        return factors;
    }();

    // What moves them to their place, for the codes in the order of their bytes.
    static constexpr std::array<std::uint16_t, 8> factorsFromTop{64, 16, 4, 1, 64, 16, 4, 1};

    // Which of luma 0 to 3, chroma 4 to 7 and luma below 8 to 11 of four pixels is in a packed
    // byte.
    static constexpr int codeOfPackedByte(int byte)
    {
        const int pixels = byte / Packing::bytes * 2;
        const int place = byte % Packing::bytes;
        if (pixels < 4) {
            for (int code = 0; code < 2 * Packing::rows; ++code)
                if (layout.luma[code] == place)
                    return code / 2 * 8 + pixels + code % 2;
            return 4 + pixels + (layout.cb == place ? 0 : 1);
        }
        return byte;  // behind the groups; nobody reads it
    }
    static constexpr int codeOfByte(int half)
    {
        return codeOfPackedByte(half / 4 * Packing::bytes + half % 4);
    }
    static constexpr int topOrFurtherByte(int byte)
    {
        const int group = byte / Packing::bytes;
        const int place = byte % Packing::bytes;
        return group > 1 ? 0 : place == layout.furtherBits ? 16 + 8 * group : 8 * group + 2 * place;
    }
};

// Two little-endian 32-bit words. The right pixel does stand first.
//
//     bits      31 ... 22       21 ... 10    9 ... 0
//     word 0    Cr              Y right      alpha right
//     word 1    alpha left      Y left       Cb
template <>
struct GroupCodes<Zeq4224Hybrid>
{
    template <int pixels>
    static GroupsOf<pixels> unpacked(const Vector<std::uint8_t, 4 * pixels>& groups)
    {
        using Words = Vector<std::uint32_t, pixels>;
        const auto words = groups.template bits<std::uint32_t>();
        const auto top = (words >> 22).template bits<std::int32_t>();
        const auto middle = ((words >> 10) & Words(0xFFF)).template bits<std::int32_t>();
        const auto low = (words & Words(0x3FF)).template bits<std::int32_t>();
        return {.luma = shuffledBy<pixels, neighbour>(middle),
                .chroma = shuffledBy<pixels, oddOrSecondEven<pixels>>(low, top),
                .lumaBelow = {},
                .alpha = shuffledBy<pixels, oddOrSecondEven<pixels>>(top, low)};
    }

    static constexpr int neighbour(int lane) { return lane ^ 1; }

    // 1, 4, 3, 6 of four lanes and as many of a second vector.
    template <int lanes>
    static constexpr int oddOrSecondEven(int lane)
    {
        return lane % 2 == 0 ? lane + 1 : lanes + lane - 1;
    }

    static PackedGroups packed(const GroupPair& codes)
    {
        const auto top = codes.chroma.shuffled<1, 4, 3, 6>(codes.alpha);
        const auto middle = codes.luma.shuffled<1, 0, 3, 2>();
        const auto low = codes.alpha.shuffled<1, 4, 3, 6>(codes.chroma);
        return (top << 22 | middle << 10 | low).bits<std::uint8_t>();
    }
};

// Unpacks a pixel for each lane, four or eight. Reads a vector from the last two of the groups.
template <class Packing, int lanes>
GroupsOf<lanes> unpackedCodes(const std::uint8_t* groups)
{
    const auto first = PackedGroups::load(groups);
    if constexpr (lanes == 4)
        return GroupCodes<Packing>::template unpacked<4>(first);
    else
        return GroupCodes<Packing>::template unpacked<8>(
            concatenated(first, PackedGroups::load(groups + 2 * Packing::bytes)));
}

// Repeats the first (0) or second (1) of each two neighbours in both their lanes: Cb or Cr for each
// pixel.
template <int which, class T, int lanes>
Vector<T, lanes> repeated(const Vector<T, lanes>& pairs)
{
    if constexpr (lanes == 4)
        return pairs.template shuffled<which, which, which + 2, which + 2>();
    else
        return pairs.template shuffled<which, which, which + 2, which + 2, which + 4, which + 4,
                                       which + 6, which + 6>();
}

}
}
