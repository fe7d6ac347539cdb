#include "MediaConversion/Converters/Kernels.h"
#include "MediaConversion/Converters/Vectors/PixelPairs.h"
#include "MediaConversion/Converters/YCbCr/GroupCodes.h"

#include <algorithm>
#include <type_traits>

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
            const auto codes = unpackedCodes<Packing, lanes>(groups);
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

    template <unsigned max>
    static Pixels fractions(const Vector<std::int32_t, lanes>& codes)
    {
        using Fraction = ExactFraction<double, max>;
        const auto values = codes.template as<double>();
        return values * Pixels(Fraction::upper) + values * Pixels(Fraction::lower);
    }

    alignas(64) std::array<Values, Packing::rows> m_rows{};
    alignas(64) Values m_chroma{};
    alignas(64) Values m_alpha{};
};

// Stores pixels whose channels are in their order: integers in 32 bits, which fit, or floats.
template <ChannelType type, ChannelOrder order, Stores stores, class... Pairs>
void storePairs(std::uint8_t* pixels, const Pairs&... pairs)
{
    const auto store = [&](const auto& pair) {
        using Element = typename Channel<type>::Element;
        if constexpr (type == ChannelType::F32)
            storePair<type, order, stores>(pair, pixels);
        else
            storePair<type, order, stores>(pair.template as<std::uint16_t>().template as<Element>(),
                                           pixels);
        pixels += 2 * order.channels() * sizeof(Element);
    };
    (store(pairs), ...);
}

// Channels of four pixels.
template <ChannelType type, ChannelOrder order, Stores stores, class T>
void storePixels(const std::array<Vector<T, 4>, 4>& channels, std::uint8_t* pixels)
{
    const auto& [c0, c1, c2, c3] = channels;
    const auto left01 = c0.template shuffled<0, 4, 1, 5>(c1);
    const auto left23 = c2.template shuffled<0, 4, 1, 5>(c3);
    const auto right01 = c0.template shuffled<2, 6, 3, 7>(c1);
    const auto right23 = c2.template shuffled<2, 6, 3, 7>(c3);
    storePairs<type, order, stores>(pixels,
                                    concatenated(left01.template shuffled<0, 1, 4, 5>(left23),
                                                 left01.template shuffled<2, 3, 6, 7>(left23)),
                                    concatenated(right01.template shuffled<0, 1, 4, 5>(right23),
                                                 right01.template shuffled<2, 3, 6, 7>(right23)));
}

// Channels of eight, of which registers move the first four and the last four side by side.
template <ChannelType type, ChannelOrder order, Stores stores, class T>
void storePixels(const std::array<Vector<T, 8>, 4>& channels, std::uint8_t* pixels)
{
    const auto& [c0, c1, c2, c3] = channels;
    const auto left01 = c0.template shuffled<0, 8, 1, 9, 4, 12, 5, 13>(c1);
    const auto left23 = c2.template shuffled<0, 8, 1, 9, 4, 12, 5, 13>(c3);
    const auto right01 = c0.template shuffled<2, 10, 3, 11, 6, 14, 7, 15>(c1);
    const auto right23 = c2.template shuffled<2, 10, 3, 11, 6, 14, 7, 15>(c3);
    const auto pixels04 = left01.template shuffled<0, 1, 8, 9, 4, 5, 12, 13>(left23);
    const auto pixels15 = left01.template shuffled<2, 3, 10, 11, 6, 7, 14, 15>(left23);
    const auto pixels26 = right01.template shuffled<0, 1, 8, 9, 4, 5, 12, 13>(right23);
    const auto pixels37 = right01.template shuffled<2, 3, 10, 11, 6, 7, 14, 15>(right23);
    storePairs<type, order, stores>(
        pixels, pixels04.template shuffled<0, 1, 2, 3, 8, 9, 10, 11>(pixels15),
        pixels26.template shuffled<0, 1, 2, 3, 8, 9, 10, 11>(pixels37),
        pixels04.template shuffled<4, 5, 6, 7, 12, 13, 14, 15>(pixels15),
        pixels26.template shuffled<4, 5, 6, 7, 12, 13, 14, 15>(pixels37));
}

// What Cb and Cr add to the luma of the pixels.
struct ChromaTerms
{
    Pixels red;
    Pixels greenOfCb;
    Pixels greenOfCr;
    Pixels blue;

    // The lanes are Cb, Cr, Cb, Cr and so on of the groups that the pixels are in.
    explicit ChromaTerms(const Pixels& chroma)
    {
        const auto cb = repeated<0>(chroma);
        const auto cr = repeated<1>(chroma);
        red = cr * Pixels(redByCr);
        greenOfCb = cb * Pixels(greenByCb);
        greenOfCr = cr * Pixels(greenByCr);
        blue = cb * Pixels(blueByCb);
    }
};

template <ChannelType type, ChannelOrder order, Stores stores>
void storeRgb(const Pixels& luma, const ChromaTerms& chroma, const Pixels& alpha,
              std::uint8_t* pixels)
{
    const auto opaque = quantised<type>(alpha);
    std::array channels{opaque, opaque, opaque, opaque};
    channels[order.red] = quantised<type>(luma + chroma.red);
    channels[order.green] = quantised<type>(luma + chroma.greenOfCb + chroma.greenOfCr);
    channels[order.blue] = quantised<type>(luma + chroma.blue);
    storePixels<type, order, stores>(channels, pixels);
}

// In double precision, for all packings and types.
template <class Packing, ChannelOrder order, ChannelType type, Stores stores>
[[gnu::flatten]] void decodeRow(const std::uint8_t* groups, std::uint8_t* pixels,
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
                const auto luma = values.luma(row, pixel);
                if (pixel + lanes <= pixelCount) {
                    storeRgb<type, order, stores>(luma, chroma, values.alpha(pixel), first);
                } else {
                    std::array<std::uint8_t, lanes * pixelBytes> part;
                    storeRgb<type, order, Stores::Plain>(luma, chroma, values.alpha(pixel),
                                                         part.data());
                    std::copy_n(part.data(), (pixelCount - pixel) * pixelBytes, first);
                }
            }
        }
        groups += count * Packing::bytes;
        pixels += pixelCount * pixelBytes;
        groupCount -= count;
    }
}

// Floats are decoded by whole numbers, which is faster than double precision. For codes of one full
// scale m, ITU-T T.871 says
//
//     red   = ( 1000 Y              +  1402 Cr -   701 m) / ( 1000 m)
//     green = (50000 Y - 17207 Cb  - 35707 Cr + 26457 m) / (50000 m)
//     blue  = ( 1000 Y +  1772 Cb             -   886 m) / ( 1000 m)
//
// and the float that is nearest to such a fraction is the one that double precision gives: for all
// triples of 8-bit codes, and for all of 10-bit codes but three.
constexpr int floatLanes = std::min<int>(8, registerBytes / sizeof(float));
using Floats = Vector<float, floatLanes>;
using Codes = Vector<std::int32_t, floatLanes>;

template <class Packing>
constexpr bool hasWholeNumbers = Packing::lumaMax == Packing::chromaMax &&
                                 (Packing::lumaMax == 255 || hasFusedOperations);

// What a division by `divisor` multiplies by: 1 / divisor as the sum of two floats.
template <int divisor>
struct Reciprocal
{
    static constexpr auto upper = static_cast<float>(1.0 / divisor);
    static constexpr auto lower = static_cast<float>(1.0 / divisor - upper);
};

// Divides a whole number below 2^24, and rounds once.
template <int divisor>
Floats quotient(const Floats& number)
{
    if constexpr (hasFusedOperations) {
        const Floats upper(Reciprocal<divisor>::upper);
        const auto product = number * upper;
        const auto lost = fused(number, upper, -product);
        return product + fused(number, Floats(Reciprocal<divisor>::lower), lost);
    } else {
        return number / Floats(divisor);
    }
}

// The same for one below 2^26, which a float may miss by 2.
template <int divisor>
Floats quotient(const Codes& number)
{
    const auto nearest = number.as<float>();
    const auto rest = (number - nearest.as<std::int32_t>()).template as<float>();
    const Floats upper(Reciprocal<divisor>::upper);
    const auto product = nearest * upper;
    const auto lost = fused(nearest, upper, -product);
    const auto small = fused(nearest, Floats(Reciprocal<divisor>::lower), lost);
    return product + fused(rest, upper, small);
}

// The colours of pixels whose groups have the chroma that this is made from.
template <int fullScale>
class FloatColours
{
public:
    // Cb, Cr, Cb, Cr and so on of the groups that the pixels are in.
    explicit FloatColours(const Codes& chroma)
        : m_cb(repeated<0>(chroma)),
          m_cr(repeated<1>(chroma)),
          m_red(productPlus(m_cr.template as<float>(), 1402, Floats(-701 * fullScale))),
          m_green(productPlus(
              m_cb.template as<Green>(), -17207,
              productPlus(m_cr.template as<Green>(), -35707, Greens(26457 * fullScale)))),
          m_blue(productPlus(m_cb.template as<float>(), 1772, Floats(-886 * fullScale)))
    {
    }

    // The pixels' channels in their order; alpha is opaque.
    template <ChannelOrder order>
    std::array<Floats, 4> channels(const Codes& luma) const
    {
        const auto grey = luma.template as<float>() * Floats(1000);
        std::array channels{Floats(1), Floats(1), Floats(1), Floats(1)};
        channels[order.red] = clamped(quotient<1000 * fullScale>(grey + m_red));
        channels[order.green] = clamped(green(luma));
        channels[order.blue] = clamped(quotient<1000 * fullScale>(grey + m_blue));
        return channels;
    }

private:
    // The numerators of green take up to 26 bits where codes have 10.
    using Green = std::conditional_t<fullScale == 255, float, std::int32_t>;
    using Greens = Vector<Green, floatLanes>;

    static Floats clamped(const Floats& values) { return min(max(values, Floats(0)), Floats(1)); }

    Floats green(const Codes& luma) const
    {
        const auto numerators = productPlus(luma.template as<Green>(), 50000, m_green);
        if constexpr (fullScale == 1023)
            if (anyIsZero(numerators))
                return greenByDoubles(luma);
        return quotient<50000 * fullScale>(numerators);
    }

    // In double precision the sum is not quite 0 for three triples whose numerator is 0: (Y, Cb,
    // Cr) = (195, 467, 806), (47, 867, 406) and (363, 978, 795).
    Floats greenByDoubles(const Codes& luma) const
    {
        std::array<std::int32_t, floatLanes> y, cb, cr;
        std::array<float, floatLanes> green;
        luma.store(y.data());
        m_cb.store(cb.data());
        m_cr.store(cr.data());
        for (int lane = 0; lane < floatLanes; ++lane)
            green[lane] = static_cast<float>(y[lane] / double{fullScale} +
                                             (cb[lane] / double{fullScale} - 0.5) * greenByCb +
                                             (cr[lane] / double{fullScale} - 0.5) * greenByCr);
        return Floats(green);
    }

    Codes m_cb;
    Codes m_cr;
    Floats m_red;
    Greens m_green;
    Floats m_blue;
};

// As many pixels of each row as there are lanes.
template <class Packing, ChannelOrder order, Stores stores>
void decodeToFloats(const std::uint8_t* groups, std::uint8_t* pixels, std::size_t pixelRowStep)
{
    const auto codes = unpackedCodes<Packing, floatLanes>(groups);
    const FloatColours<static_cast<int>(Packing::lumaMax)> colours(codes.chroma);
    storePixels<ChannelType::F32, order, stores>(colours.template channels<order>(codes.luma),
                                                 pixels);
    if constexpr (Packing::rows == 2)
        storePixels<ChannelType::F32, order, stores>(
            colours.template channels<order>(codes.lumaBelow), pixels + pixelRowStep);
}

template <class Packing, ChannelOrder order, Stores stores>
[[gnu::flatten]] void decodeRowToFloats(const std::uint8_t* groups, std::uint8_t* pixels,
                                        std::size_t pixelRowStep, int groupCount)
{
    constexpr int groupsPerStep = floatLanes / 2;
    constexpr int bytesPerStep = groupsPerStep * Packing::bytes;
    constexpr int bytesRead = bytesPerStep - 2 * Packing::bytes + int{sizeof(PackedGroups)};
    constexpr std::size_t groupWidth = 2 * order.channels() * sizeof(float);
    constexpr std::size_t widthPerStep = groupsPerStep * groupWidth;
    for (; groupCount * Packing::bytes >= bytesRead; groupCount -= groupsPerStep) {
        decodeToFloats<Packing, order, stores>(groups, pixels, pixelRowStep);
        groups += bytesPerStep;
        pixels += widthPerStep;
    }
    for (; groupCount > 0; groupCount -= groupsPerStep) {  // a vector would reach past the row
        const int count = std::min(groupCount, groupsPerStep);
        std::array<std::uint8_t, bytesRead> last{};
        std::array<std::uint8_t, Packing::rows * widthPerStep> part;
        std::copy_n(groups, count * Packing::bytes, last.data());
        decodeToFloats<Packing, order, Stores::Plain>(last.data(), part.data(), widthPerStep);
        for (std::size_t row = 0; row < Packing::rows; ++row)
            std::copy_n(&part[row * widthPerStep], count * groupWidth, pixels + row * pixelRowStep);
        groups += bytesPerStep;
        pixels += widthPerStep;
    }
}

struct Decode
{
    template <class Source, class Destination>
    static void row(const std::uint8_t* groups, std::size_t, std::uint8_t* pixels,
                    std::size_t pixelRowStep, int groupCount, Stores stores)
    {
        constexpr auto order = Destination::order;
        constexpr auto type = Destination::channelType;
        convertStoring<type, order>(stores, pixels, pixelRowStep, [&](auto storesAs) {
            if constexpr (type == ChannelType::F32 && hasWholeNumbers<Source>)
                decodeRowToFloats<Source, order, storesAs>(groups, pixels, pixelRowStep,
                                                           groupCount);
            else
                decodeRow<Source, order, type, storesAs>(groups, pixels, pixelRowStep, groupCount);
        });
    }
};

}

template <>
const RowKernel* kernelsOf<compiledLevel, Family::YCbCrDecoding>()
{
    static constexpr auto rows = kernelRows<Decode>(yCbCrDecodings);
    return rows.data();
}

}
