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

// Two groups, and bytes behind them that have no meaning.
using PackedGroups = Vector<std::uint8_t, 16>;

// The codes of eight groups that are going to be put together, with a lane for each group.
using EightCodes = Vector<std::int32_t, 8>;

template <int rows>
struct EightGroups
{
    std::array<EightCodes, 2 * rows> luma;  // left and right, then those of the row below
    EightCodes cb;
    EightCodes cr;
    std::array<EightCodes, 2> alpha;  // left and right, where the packing has it
};

// The bytes of each group, little-endian: first four, then what there is of four more.
using GroupWords = std::array<EightCodes, 2>;

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

    static GroupWords words(const EightGroups<Packing::rows>& codes)
    {
        GroupWords words{EightCodes(0), EightCodes(0)};
        const auto put = [&](const EightCodes& code, int byte) {
            if constexpr (hasFurtherBits) {
                words[0] = words[0] | (code >> 2) << 8 * byte;
                words[1] = words[1] | (code & EightCodes(3)) << (6 - 2 * byte);
            } else {
                words[byte / 4] = words[byte / 4] | code << byte % 4 * 8;
            }
        };
        put(codes.cb, layout.cb);
        put(codes.cr, layout.cr);
        for (std::size_t place = 0; place < codes.luma.size(); ++place)
            put(codes.luma[place], layout.luma[place]);
        return words;
    }

    static constexpr ByteLayout layout = Packing::layout;
    static constexpr bool hasFurtherBits = layout.furtherBits != ByteLayout::none;
    static constexpr int zero = -1;

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

    static GroupWords words(const EightGroups<1>& codes)
    {
        return {codes.cr << 22 | codes.luma[1] << 10 | codes.alpha[1],
                codes.alpha[0] << 22 | codes.luma[0] << 10 | codes.cb};
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

// How many bytes storeGroups writes.
template <class Packing>
inline constexpr int bytesStored =
    Packing::bytes % 4 == 0 ? 8 * Packing::bytes : 6 * Packing::bytes + int{sizeof(PackedGroups)};

// Puts the words of eight groups into their place, and then, where groups are no whole words, bytes
// that have no meaning.
template <class Packing>
void storeGroups(const GroupWords& words, std::uint8_t* groups)
{
    if constexpr (Packing::bytes == 4) {
        words[0].store(groups);
    } else {
        constexpr auto whole = [](int byte) {
            return byte < 2 * Packing::bytes ? byte / Packing::bytes * 8 + byte % Packing::bytes
                                             : -1;
        };
        const auto storePair = [&](int number, const Vector<std::int32_t, 4>& pair) {
            shuffledInSixteens<whole>(pair.bits<std::uint8_t>())
                .store(groups + number * 2 * Packing::bytes);
        };
        const auto first = words[0].interleavedInSixteens<0>(words[1]);
        const auto second = words[0].interleavedInSixteens<1>(words[1]);
        storePair(0, lowerHalf(first));
        storePair(1, lowerHalf(second));
        storePair(2, upperHalf(first));
        storePair(3, upperHalf(second));
    }
}

}
}
