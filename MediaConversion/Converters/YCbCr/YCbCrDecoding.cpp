#include "MediaConversion/Converters/Kernels.h"
#include "MediaConversion/Converters/Vectors/PixelPairs.h"
#include "MediaConversion/Converters/YCbCr/GroupCodes.h"

#include <algorithm>

namespace MediaConversion {

namespace {

// One value for each of as many neighbouring pixels as a register holds doubles, but at least four.
constexpr int lanes = std::max(4, registerBytes / 8);
using Pixels = Vector<double, lanes>;

constexpr int groupsAtOnce = 32;
constexpr int pixelsAtOnce = 2 * groupsAtOnce;

// The samples of some groups as fractions of full scale. They are made in a pass of their own: in
// one pass the chain from group to pixel is so long that the processor waits instead of starting on
// the next group.
template <class Packing>
class GroupValues
{
public:
    // Takes up to groupsAtOnce groups; reads up to a vector past them.
    void unpack(const std::uint8_t* groups, int groupCount)
    {
        for (int pixel = 0; pixel < 2 * groupCount;
             pixel += lanes, groups += lanes / 2 * Packing::bytes) {
            const auto codes = unpacked(groups);
            fractions<Packing::lumaMax>(codes.luma).store(&m_rows[0][pixel]);
            (fractions<Packing::chromaMax>(codes.chroma) - Pixels(0.5)).store(&m_chroma[pixel]);
            if constexpr (Packing::rows == 2)
                fractions<Packing::lumaMax>(codes.lumaBelow).store(&m_rows[1][pixel]);
            if constexpr (Packing::hasAlpha)
                fractions<Packing::chromaMax>(codes.alpha).store(&m_alpha[pixel]);
        }
    }

    Pixels luma(std::size_t row, int pixel) const { return Pixels::load(&m_rows[row][pixel]); }

    // Cb, Cr, Cb, Cr and so on of the groups that the pixels are in, centred on 0.
    Pixels chroma(int pixel) const { return Pixels::load(&m_chroma[pixel]); }

    Pixels alpha(int pixel) const
    {
        if constexpr (Packing::hasAlpha)
            return Pixels::load(&m_alpha[pixel]);
        return Pixels(1);
    }

private:
    using Values = std::array<double, pixelsAtOnce>;
    using Codes = Vector<std::int32_t, lanes>;

    static GroupsOf<lanes> unpacked(const std::uint8_t* groups)
    {
        const auto first = GroupCodes<Packing>::unpacked(PackedGroups::load(groups));
        if constexpr (lanes == 4) {
            return first;
        } else {
            const auto second =
                GroupCodes<Packing>::unpacked(PackedGroups::load(groups + 2 * Packing::bytes));
            return {concatenated(first.luma, second.luma),
                    concatenated(first.chroma, second.chroma),
                    concatenated(first.lumaBelow, second.lumaBelow),
                    concatenated(first.alpha, second.alpha)};
        }
    }

    template <unsigned max>
    static Pixels fractions(const Codes& codes)
    {
        using Fraction = ExactFraction<double, max>;
        const auto values = codes.template as<double>();
        return values * Pixels(Fraction::upper) + values * Pixels(Fraction::lower);
    }

    alignas(64) std::array<Values, Packing::rows> m_rows{};
    alignas(64) Values m_chroma{};
    alignas(64) Values m_alpha{};
};

// Turns four channels of four pixels into two pairs of pixels.
template <class T>
std::array<PixelPair<T>, 2> pairsOf(const std::array<Vector<T, 4>, 4>& channels)
{
    const auto even = concatenated(channels[0], channels[2]);
    const auto odd = concatenated(channels[1], channels[3]);
    const auto left = even.template shuffled<0, 8, 1, 9, 4, 12, 5, 13>(odd);
    const auto right = even.template shuffled<2, 10, 3, 11, 6, 14, 7, 15>(odd);
    return {left.template shuffled<0, 1, 4, 5, 2, 3, 6, 7>(),
            right.template shuffled<0, 1, 4, 5, 2, 3, 6, 7>()};
}

template <class T>
std::array<PixelPair<T>, 4> pairsOf(const std::array<Vector<T, 8>, 4>& channels)
{
    const auto lower = pairsOf<T>({lowerHalf(channels[0]), lowerHalf(channels[1]),
                                   lowerHalf(channels[2]), lowerHalf(channels[3])});
    const auto upper = pairsOf<T>({upperHalf(channels[0]), upperHalf(channels[1]),
                                   upperHalf(channels[2]), upperHalf(channels[3])});
    return {lower[0], lower[1], upper[0], upper[1]};
}

// What Cb and Cr add to the luma of the pixels, by ITU-T T.871.
struct ChromaTerms
{
    Pixels red;
    Pixels greenByCb;
    Pixels greenByCr;
    Pixels blue;

    // Repeats the first or second of each two neighbours in both their lanes.
    template <int which>
    static Pixels spread(const Pixels& pairs)
    {
        if constexpr (lanes == 4)
            return pairs.template shuffled<which, which, which + 2, which + 2>();
        else
            return pairs.template shuffled<which, which, which + 2, which + 2, which + 4, which + 4,
                                           which + 6, which + 6>();
    }

    // The lanes are Cb, Cr, Cb, Cr and so on of the groups that the pixels are in.
    explicit ChromaTerms(const Pixels& chroma)
    {
        const auto cb = spread<0>(chroma);
        const auto cr = spread<1>(chroma);
        red = cr * Pixels(1.402);
        greenByCb = cb * Pixels(-0.34414);
        greenByCr = cr * Pixels(-0.71414);
        blue = cb * Pixels(1.772);
    }
};

template <ChannelType type, ChannelOrder order>
void storeRgb(const Pixels& luma, const ChromaTerms& chroma, const Pixels& alpha,
              std::uint8_t* pixels)
{
    using Element = typename Channel<type>::Element;
    const auto opaque = quantised<type>(alpha);
    std::array channels{opaque, opaque, opaque, opaque};
    channels[order.red] = quantised<type>(luma + chroma.red);
    channels[order.green] = quantised<type>(luma + chroma.greenByCb + chroma.greenByCr);
    channels[order.blue] = quantised<type>(luma + chroma.blue);
    for (const auto& pair : pairsOf(channels)) {
        if constexpr (type == ChannelType::F32)
            storePair<type, order>(pair, pixels);
        else
            storePair<type, order>(pair.template as<std::uint16_t>().template as<Element>(),
                                   pixels);
        pixels += 2 * order.channels() * sizeof(Element);
    }
}

template <class Packing, ChannelOrder order, ChannelType type>
[[gnu::flatten]] void decodeRow(const std::uint8_t* groups, std::size_t, std::uint8_t* pixels,
                                std::size_t pixelRowStep, int groupCount)
{
    constexpr std::size_t pixelBytes = order.channels() * sizeof(typename Channel<type>::Element);
    GroupValues<Packing> values;
    while (groupCount > 0) {
        const int count = std::min(groupCount, groupsAtOnce);
        const int pixelCount = 2 * count;
        if (groupCount - count >= int{sizeof(PackedGroups)} / Packing::bytes) {
            values.unpack(groups, count);
        } else {  // a vector may reach past the row
            std::array<std::uint8_t, groupsAtOnce * Packing::bytes + sizeof(PackedGroups)> last{};
            std::copy_n(groups, count * Packing::bytes, last.begin());
            values.unpack(last.data(), count);
        }
        for (int pixel = 0; pixel < pixelCount; pixel += lanes) {
            const ChromaTerms chroma(values.chroma(pixel));
            for (std::size_t row = 0; row < Packing::rows; ++row) {
                auto* const first = pixels + row * pixelRowStep + pixel * pixelBytes;
                std::array<std::uint8_t, lanes * pixelBytes> part;
                const bool isWhole = pixel + lanes <= pixelCount;
                storeRgb<type, order>(values.luma(row, pixel), chroma, values.alpha(pixel),
                                      isWhole ? first : part.data());
                if (!isWhole)
                    std::copy_n(part.data(), (pixelCount - pixel) * pixelBytes, first);
            }
        }
        groups += count * Packing::bytes;
        pixels += pixelCount * pixelBytes;
        groupCount -= count;
    }
}

struct Decode
{
    template <class Source, class Destination>
    static constexpr RowKernel row =
        decodeRow<Source, Destination::order, Destination::channelType>;
};

}

template <>
const RowKernel* kernelsOf<compiledLevel, Family::YCbCrDecoding>()
{
    static constexpr auto rows = kernelRows<Decode>(yCbCrDecodings);
    return rows.data();
}

}
