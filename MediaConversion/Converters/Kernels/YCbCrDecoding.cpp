#include "MediaConversion/Converters/Kernels/GroupCodes.h"
#include "MediaConversion/Converters/Kernels/Kernels.h"

#include <algorithm>

namespace MediaConversion {

namespace {

// What a colour adds to luma for the two chroma values, by ITU-T T.871.
struct ChromaWeights
{
    double cb;
    double cr;
};

constexpr ChromaWeights redWeights{0.0, 1.402};
constexpr ChromaWeights greenWeights{-0.34414, -0.71414};
constexpr ChromaWeights blueWeights{1.772, 0.0};

// The weights of one chroma value in channel order; 0 for alpha.
template <ChannelOrder order, double ChromaWeights::*chroma>
DoublePixel laneWeights()
{
    std::array<double, 4> weights{};
    weights[order.red] = redWeights.*chroma;
    weights[order.green] = greenWeights.*chroma;
    weights[order.blue] = blueWeights.*chroma;
    return DoublePixel(weights);
}

// Codes as fractions of their full scale, and chroma codes centred on 0.
template <unsigned max>
constexpr auto fractionOfCode = [] {
    std::array<double, max + 1> fractions{};
    for (unsigned code = 0; code <= max; ++code)
        fractions[code] = code / static_cast<double>(max);
    return fractions;
}();

template <unsigned max>
constexpr auto chromaOfCode = [] {
    std::array<double, max + 1> chroma{};
    for (unsigned code = 0; code <= max; ++code)
        chroma[code] = code / static_cast<double>(max) - 0.5;
    return chroma;
}();

// The lanes of a pixel are luma plus the group's two chroma products, added in that order; a
// product with a weight of 0 changes nothing.
template <class Packing, ChannelOrder order, ChannelType type>
[[gnu::flatten]] void decodeRow(const std::uint8_t* groups, int groupCount, std::uint8_t* pixels,
                                std::size_t pixelRowStep)
{
    constexpr auto& chroma = chromaOfCode<Packing::chromaMax>;
    constexpr int groupWidth =
        2 * order.channels() * static_cast<int>(sizeof(typename Channel<type>::Element));
    const auto cbWeights = laneWeights<order, &ChromaWeights::cb>();
    const auto crWeights = laneWeights<order, &ChromaWeights::cr>();
    const auto floor = Packing::hasAlpha ? DoublePixel(0) : opaqueBlack<double, order>(1);

    while (groupCount > 0) {
        const int count = std::min(groupCount, groupsAtOnce);
        const GroupCodes<Packing> codes(groups, count);
        for (int group = 0; group < count; ++group, pixels += groupWidth) {
            const auto cb = cbWeights * DoublePixel(chroma[codes.cb(group)]);
            const auto cr = crWeights * DoublePixel(chroma[codes.cr(group)]);
            const auto decoded = [&](int pixel) {
                const DoublePixel luma(fractionOfCode<Packing::lumaMax>[codes.luma(group, pixel)]);
                if constexpr (Packing::hasAlpha) {
                    static_assert(order.alpha == 3);
                    const DoublePixel alpha(
                        fractionOfCode<Packing::chromaMax>[codes.alpha(group, pixel)]);
                    return luma.template shuffled<0, 1, 2, 7>(alpha) + cb + cr;
                } else {
                    return luma + cb + cr;
                }
            };
            for (int row = 0; row < Packing::rows; ++row)
                storePair<type, order>(
                    quantised<type>(decoded(2 * row), decoded(2 * row + 1), floor),
                    pixels + static_cast<std::size_t>(row) * pixelRowStep);
        }
        groups += count * Packing::bytes;
        groupCount -= count;
    }
}

struct Decode
{
    template <class Source, class Destination>
    static constexpr DecodeRow row =
        decodeRow<Source, Destination::order, Destination::channelType>;
};

}

template <>
constinit const DecodeRows<yCbCrDecodings> KernelsOf<compiledLevel>::decodeYCbCr =
    kernelRows<Decode>(yCbCrDecodings);

}
