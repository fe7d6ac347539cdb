#include "MediaConversion/Converters/Kernels.h"
#include "MediaConversion/Converters/Vectors/PixelPairs.h"
#include "MediaConversion/Converters/YCbCr/GroupCodes.h"

#include <algorithm>

namespace MediaConversion {

namespace {

// One value for each of four neighbouring pixels.
using Quad = Vector<double, 4>;

// Sorts four pixels by channel: one vector has the first two channels, the other the last two.
template <class T>
std::array<Vector<T, 8>, 2> channelsOf(const PixelPair<T>& first, const PixelPair<T>& second)
{
    const auto lower = first.template shuffled<0, 8, 1, 9, 4, 12, 5, 13>(second);
    const auto upper = first.template shuffled<2, 10, 3, 11, 6, 14, 7, 15>(second);
    return {lower.template shuffled<0, 4, 1, 5, 2, 6, 3, 7>(),
            upper.template shuffled<0, 4, 1, 5, 2, 6, 3, 7>()};
}

constexpr auto fractionOfByte = [] {
    std::array<double, 256> fractions{};
    for (unsigned channel = 0; channel < fractions.size(); ++channel)
        fractions[channel] = channel / Channel<ChannelType::U8>::fullScale;
    return fractions;
}();

// The channels of four neighbouring pixels, in the order of the pixel, as fractions of full scale.
// Only F32 is clamped: what U15plus1 channels hold above full scale goes on into the codes.
template <ChannelType type, int channels>
std::array<Quad, 4> fractions(const typename Channel<type>::Element* pixels)
{
    std::array<Quad, 4> quads;
    if constexpr (type == ChannelType::F32 && channels == 4) {
        const auto clampedPair = [](const float* pair) {  // 0 for NaN
            return min(max(PixelPair<float>::load(pair), PixelPair<float>(0)), PixelPair<float>(1));
        };
        const auto floats = channelsOf(clampedPair(pixels), clampedPair(pixels + 8));
        quads = {
            lowerHalf(floats[0]).template as<double>(), upperHalf(floats[0]).template as<double>(),
            lowerHalf(floats[1]).template as<double>(), upperHalf(floats[1]).template as<double>()};
    } else {
        for (std::size_t channel = 0; channel < channels; ++channel) {
            const auto gathered = [&](auto fraction) {
                const auto* const first = pixels + channel;
                return Quad({fraction(first[0]), fraction(first[channels]),
                             fraction(first[2 * channels]), fraction(first[3 * channels])});
            };
            if constexpr (type == ChannelType::U8)
                quads[channel] = gathered([](std::uint8_t value) { return fractionOfByte[value]; });
            else
                quads[channel] = gathered([](auto value) { return static_cast<double>(value); }) /
                                 Quad(Channel<type>::fullScale);
            if constexpr (type == ChannelType::F32)
                quads[channel] = min(max(quads[channel], Quad(0)), Quad(1));
        }
    }
    return quads;
}

// Four neighbouring pixels by ITU-T T.871. The sums run from left to right: every grey lies on a
// tie between two chroma codes, which another order would decide differently.
struct YCbCrQuad
{
    Quad luma;
    Quad cb;
    Quad cr;
    Quad alpha;  // where pixels have it

    template <ChannelOrder order>
    static YCbCrQuad of(const std::array<Quad, 4>& channels)
    {
        const auto& red = channels[order.red];
        const auto& green = channels[order.green];
        const auto& blue = channels[order.blue];
        return {red * Quad(0.299) + green * Quad(0.587) + blue * Quad(0.114),
                blue * Quad(0.5) - red * Quad(0.168736) - green * Quad(0.331264) + Quad(0.5),
                red * Quad(0.5) - green * Quad(0.418688) - blue * Quad(0.081312) + Quad(0.5),
                channels[3]};
    }

    // Cb, Cr, Cb, Cr of the first and third pixel, and of the second and fourth.
    Quad leftChroma() const { return cb.shuffled<0, 4, 2, 6>(cr); }
    Quad rightChroma() const { return cb.shuffled<1, 5, 3, 7>(cr); }
};

// The codes of averages, from sums of `count` values. They are cut to the width of their fields,
// not clamped. As the count is a power of two, it does not matter that the sum is not divided
// first.
Vector<std::int32_t, 4> codes(const Quad& sums, unsigned max, int count = 1)
{
    const auto scale = static_cast<double>(max) / count;
    return (sums * Quad(scale) + Quad(0.5)).as<std::int32_t>() &
           Vector<std::int32_t, 4>(static_cast<std::int32_t>(max));
}

// The codes of two neighbouring groups, of which `pixels` is the first pixel.
template <class Packing, ChannelOrder order, ChannelType type>
GroupPair groupsOf(const std::uint8_t* pixels, std::size_t rowStep)
{
    const auto quad = [&](std::size_t row) {
        using Element = typename Channel<type>::Element;
        return YCbCrQuad::of<order>(fractions<type, order.channels()>(
            reinterpret_cast<const Element*>(pixels + row * rowStep)));
    };
    const auto top = quad(0);
    GroupPair groups{
        .luma = codes(top.luma, Packing::lumaMax), .chroma = {}, .lumaBelow = {}, .alpha = {}};
    const auto average = [](const Quad& sums, int count) {
        return codes(sums, Packing::chromaMax, count);
    };
    if constexpr (Packing::hasAlpha) {
        groups.alpha = codes(top.alpha, Packing::chromaMax);
        groups.chroma = average(top.leftChroma(), 1);
    } else if constexpr (Packing::rows == 1) {
        groups.chroma = average(top.leftChroma() + top.rightChroma(), 2);
    } else {
        const auto bottom = quad(1);
        groups.lumaBelow = codes(bottom.luma, Packing::lumaMax);
        groups.chroma = average(
            top.leftChroma() + top.rightChroma() + bottom.leftChroma() + bottom.rightChroma(), 4);
    }
    return groups;
}

template <class Packing, ChannelOrder order, ChannelType type>
[[gnu::flatten]] void encodeRow(const std::uint8_t* pixels, std::size_t pixelRowStep,
                                std::uint8_t* groups, std::size_t, int groupCount, Stores)
{
    constexpr std::size_t groupWidth =
        2 * sizeof(typename Channel<type>::Element) * order.channels();
    const auto encoded = [](const std::uint8_t* from, std::size_t rowStep) {
        return GroupCodes<Packing>::packed(groupsOf<Packing, order, type>(from, rowStep));
    };
    for (; groupCount >= 2; groupCount -= 2) {
        encoded(pixels, pixelRowStep).template store<2 * Packing::bytes>(groups);
        pixels += 2 * groupWidth;
        groups += 2 * Packing::bytes;
    }
    if (groupCount == 1) {  // what lies beside it is not the frame's
        alignas(16) std::array<std::uint8_t, Packing::rows * 2 * groupWidth> last{};
        for (std::size_t row = 0; row < Packing::rows; ++row)
            std::copy_n(pixels + row * pixelRowStep, groupWidth, &last[row * 2 * groupWidth]);
        encoded(last.data(), 2 * groupWidth).template store<Packing::bytes>(groups);
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
