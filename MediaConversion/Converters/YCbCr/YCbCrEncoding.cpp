#include "MediaConversion/Converters/Kernels.h"
#include "MediaConversion/Converters/Vectors/PixelPairs.h"
#include "MediaConversion/Converters/YCbCr/GroupCodes.h"

#include <algorithm>

namespace MediaConversion {

namespace {

template <class T>
using Eight = Vector<T, 8>;

// One value for each channel, in the order of the pixel, of eight pixels: the left ones of as many
// groups, or the right ones.
using Channels = std::array<Eight<float>, 4>;

// The left and the right pixels, then those of the row below, if groups have one. Integers are as
// they are stored; only F32 is clamped: what U15plus1 channels hold above full scale goes on into
// the codes.
template <int rows>
using Pixels = std::array<Channels, 2 * rows>;

// Two pixels as floats. A NaN becomes 0.
template <ChannelType type, int channels>
PixelPair<float> floatsOf(const typename Channel<type>::Element* pixels)
{
    const auto pair = loadPair<channels>(pixels);
    if constexpr (type == ChannelType::F32)
        return min(max(pair, PixelPair<float>(0)), PixelPair<float>(1));
    else if constexpr (type == ChannelType::U8)
        return pair.template as<std::uint16_t>().template as<std::int32_t>().template as<float>();
    else
        return pair.template as<std::int32_t>().template as<float>();
}

// Eight pixels in a row sorted by channel, those with an even number first.
template <ChannelType type, int channels>
Channels evenThenOdd(const typename Channel<type>::Element* pixels)
{
    std::array<PixelPair<float>, 4> pairs;
    for (int pair = 0; pair < 4; ++pair)
        pairs[pair] = floatsOf<type, channels>(pixels + pair * 2 * channels);
    const auto sorted = [&]<int upper>(std::integral_constant<int, upper>) {
        const auto first = pairs[0].interleavedInSixteens<upper>(pairs[1]).template bits<double>();
        const auto last = pairs[2].interleavedInSixteens<upper>(pairs[3]).template bits<double>();
        return std::array{first.template interleavedInSixteens<0>(last).template bits<float>(),
                          first.template interleavedInSixteens<1>(last).template bits<float>()};
    };
    const auto [zeroth, first] = sorted(std::integral_constant<int, 0>{});
    const auto [second, third] = sorted(std::integral_constant<int, 1>{});
    return {zeroth, first, second, third};
}

template <int rows, ChannelOrder order, ChannelType type>
Pixels<rows> pixelsOf(const std::uint8_t* bytes, std::size_t rowStep)
{
    constexpr int channels = order.channels();
    Pixels<rows> pixels;
    for (std::size_t row = 0; row < rows; ++row) {
        const auto* const elements =
            reinterpret_cast<const typename Channel<type>::Element*>(bytes + row * rowStep);
        const auto one = evenThenOdd<type, channels>(elements);
        const auto other = evenThenOdd<type, channels>(elements + 8 * channels);
        for (std::size_t channel = 0; channel < channels; ++channel) {
            pixels[2 * row][channel] =
                concatenated(lowerHalf(one[channel]), lowerHalf(other[channel]));
            pixels[2 * row + 1][channel] =
                concatenated(upperHalf(one[channel]), upperHalf(other[channel]));
        }
    }
    return pixels;
}

// What each colour adds to luma and chroma by ITU-T T.871, and the chroma of every grey.
struct Weights
{
    double red;
    double green;
    double blue;
    double grey;
};
constexpr Weights lumaWeights{0.299, 0.587, 0.114, 0};
constexpr Weights cbWeights{-0.168736, -0.331264, 0.5, 0.5};
constexpr Weights crWeights{0.5, -0.418688, -0.081312, 0.5};

// How many pixels of a group make its chroma: where there is alpha, only the left one.
template <class Packing>
constexpr int chromaPixels = Packing::hasAlpha ? 1 : 2 * Packing::rows;

// The codes by the rule: in double precision, with sums that run from left to right. They are cut
// to the width of their fields, not clamped.
template <class Packing, ChannelOrder order, ChannelType type>
struct ExactCodes
{
    using Pixels = MediaConversion::Pixels<Packing::rows>;
    using Groups = EightGroups<Packing::rows>;

    static void setLumaAndAlpha(const Pixels& pixels, Groups& groups)
    {
        for (std::size_t place = 0; place < pixels.size(); ++place) {
            groups.luma[place] = codes<Packing::lumaMax, 1>(
                fractions(pixels[place][order.red]) * Doubles(lumaWeights.red) +
                fractions(pixels[place][order.green]) * Doubles(lumaWeights.green) +
                fractions(pixels[place][order.blue]) * Doubles(lumaWeights.blue));
            if constexpr (Packing::hasAlpha)
                groups.alpha[place] =
                    codes<Packing::chromaMax, 1>(fractions(pixels[place][order.alpha]));
        }
    }

    // Every grey lies on a tie between two chroma codes, which another order of the terms would
    // decide differently.
    static void setChroma(const Pixels& pixels, Groups& groups)
    {
        Doubles cb(0);
        Doubles cr(0);
        for (std::size_t place = 0; place < chromaPixels<Packing>; ++place) {
            const auto red = fractions(pixels[place][order.red]);
            const auto green = fractions(pixels[place][order.green]);
            const auto blue = fractions(pixels[place][order.blue]);
            cb = cb + (blue * Doubles(cbWeights.blue) + red * Doubles(cbWeights.red) +
                       green * Doubles(cbWeights.green) + Doubles(cbWeights.grey));
            cr = cr + (red * Doubles(crWeights.red) + green * Doubles(crWeights.green) +
                       blue * Doubles(crWeights.blue) + Doubles(crWeights.grey));
        }
        groups.cb = codes<Packing::chromaMax, chromaPixels<Packing>>(cb);
        groups.cr = codes<Packing::chromaMax, chromaPixels<Packing>>(cr);
    }

private:
    using Doubles = Eight<double>;

    static Doubles fractions(const Eight<float>& values)
    {
        constexpr auto fullScale = static_cast<unsigned>(Channel<type>::fullScale);
        if constexpr (type == ChannelType::U8 || type == ChannelType::U16) {
            using Fraction = ExactFraction<double, fullScale>;
            return values.as<double>() * Doubles(Fraction::upper) +
                   values.as<double>() * Doubles(Fraction::lower);
        } else {
            static_assert(std::has_single_bit(fullScale));
            return values.as<double>() * Doubles(1.0 / fullScale);
        }
    }

    // Of averages, from sums of `count` values; as the count is a power of two, it does not matter
    // that they are not divided first.
    template <int max, int count>
    static EightCodes codes(const Doubles& sums)
    {
        return (sums * Doubles(static_cast<double>(max) / count) + Doubles(0.5))
                   .template as<std::int32_t>() &
               EightCodes(max);
    }
};

// The codes in single precision, and whether they are certainly those of the rule.
template <class Packing, ChannelOrder order, ChannelType type>
class QuickCodes
{
public:
    using Pixels = MediaConversion::Pixels<Packing::rows>;
    using Groups = EightGroups<Packing::rows>;

    explicit QuickCodes(const Pixels& pixels)
    {
        for (std::size_t place = 0; place < pixels.size(); ++place) {
            m_groups.luma[place] =
                codes<Packing::lumaMax, 1>(lumaWeights, pixels[place], m_doubtfulLumaOrAlpha);
            if constexpr (Packing::hasAlpha)
                m_groups.alpha[place] = codes<Packing::chromaMax>(
                    productPlus(pixels[place][order.alpha],
                                static_cast<float>(scale<Packing::chromaMax, 1>),
                                Floats(0.5F - error<Packing::chromaMax>)),
                    m_doubtfulLumaOrAlpha);
        }
        auto sums = pixels[0];
        for (std::size_t place = 1; place < chromaPixels<Packing>; ++place)
            for (std::size_t channel = 0; channel < order.channels(); ++channel)
                sums[channel] = sums[channel] + pixels[place][channel];
        m_groups.cb =
            codes<Packing::chromaMax, chromaPixels<Packing>>(cbWeights, sums, m_doubtfulChroma);
        m_groups.cr =
            codes<Packing::chromaMax, chromaPixels<Packing>>(crWeights, sums, m_doubtfulChroma);
    }

    const Groups& groups() const { return m_groups; }
    bool lumaAndAlphaAreCertain() const { return !anyIsSet(m_doubtfulLumaOrAlpha); }
    bool chromaIsCertain() const { return !anyIsSet(m_doubtfulChroma); }

private:
    using Floats = Eight<float>;

    // The most that a channel may be of full scale.
    static constexpr int range = type == ChannelType::U15plus1 ? 2 : 1;

    // No sum is off by more, in codes: its way has eight roundings of numbers that do not reach
    // `range * (max + 1)`, whose 24 bits are off by half a bit at most.
    template <int max>
    static constexpr float error = 0x1p-21F * range*(max + 1);

    // From a sum of so many channels to the code of their average.
    template <int max, int count>
    static constexpr double scale = max / (count * Channel<type>::fullScale);

    template <int max, int count>
    static EightCodes codes(const Weights& weights, const Channels& sums, EightCodes& doubtful)
    {
        const auto weighted = [&](int channel, double weight, const Floats& addend) {
            return productPlus(sums[channel], static_cast<float>(weight * scale<max, count>),
                               addend);
        };
        const Floats least(static_cast<float>(weights.grey * max + 0.5) - error<max>);
        return codes<max>(weighted(order.red, weights.red,
                                   weighted(order.green, weights.green,
                                            weighted(order.blue, weights.blue, least))),
                          doubtful);
    }

    // From the least that the rule may have found before it cuts. Sets bits where the most that it
    // may have found gives another code.
    template <int max>
    static EightCodes codes(const Floats& least, EightCodes& doubtful)
    {
        const auto codes = least.as<std::int32_t>();
        doubtful =
            doubtful | (codes ^ (least + Floats(2 * error<max>)).template as<std::int32_t>());
        if constexpr (type == ChannelType::U15plus1)
            return codes & EightCodes(max);
        else
            return codes;
    }

    Groups m_groups;
    EightCodes m_doubtfulLumaOrAlpha{0};
    EightCodes m_doubtfulChroma{0};
};

template <class Packing, ChannelOrder order, ChannelType type>
void encodeEight(const std::uint8_t* bytes, std::size_t rowStep, std::uint8_t* groups)
{
    using Exact = ExactCodes<Packing, order, type>;
    const auto pixels = pixelsOf<Packing::rows, order, type>(bytes, rowStep);
    const QuickCodes<Packing, order, type> quick(pixels);
    auto codes = quick.groups();
    if (!quick.lumaAndAlphaAreCertain()) [[unlikely]]
        Exact::setLumaAndAlpha(pixels, codes);
    if (!quick.chromaIsCertain()) [[unlikely]]
        Exact::setChroma(pixels, codes);
    storeGroups<Packing>(GroupCodes<Packing>::words(codes), groups);
}

template <class Packing, ChannelOrder order, ChannelType type>
[[gnu::flatten]] void encodeRow(const std::uint8_t* pixels, std::size_t pixelRowStep,
                                std::uint8_t* groups, std::size_t, int groupCount, Stores)
{
    constexpr std::size_t groupWidth =
        2 * sizeof(typename Channel<type>::Element) * order.channels();
    // Of pixels with three channels, an element more is read.
    constexpr int bytesNeeded =
        std::max(bytesStored<Packing>, (order.channels() == 3 ? 9 : 8) * Packing::bytes);
    for (; groupCount * Packing::bytes >= bytesNeeded; groupCount -= 8) {
        encodeEight<Packing, order, type>(pixels, pixelRowStep, groups);
        pixels += 8 * groupWidth;
        groups += 8 * Packing::bytes;
    }
    for (; groupCount > 0; groupCount -= 8) {  // what lies beside them is not the frame's
        const int count = std::min(groupCount, 8);
        constexpr std::size_t width = 8 * groupWidth + 16;
        std::array<std::uint8_t, Packing::rows * width> last{};
        std::array<std::uint8_t, bytesStored<Packing>> encoded;
        for (std::size_t row = 0; row < Packing::rows; ++row)
            std::copy_n(pixels + row * pixelRowStep, count * groupWidth, &last[row * width]);
        encodeEight<Packing, order, type>(last.data(), width, encoded.data());
        std::copy_n(encoded.data(), count * Packing::bytes, groups);
        pixels += 8 * groupWidth;
        groups += 8 * Packing::bytes;
    }
}

struct Encode
{
    template <class Source, class Destination>
    static constexpr RowKernel row = encodeRow<Destination, Source::order, Source::channelType>;
};

}

template <>
const RowKernel* kernelsOf<compiledLevel, Family::YCbCrEncoding>()
{
    static constexpr auto rows = kernelRows<Encode>(yCbCrEncodings);
    return rows.data();
}

}
