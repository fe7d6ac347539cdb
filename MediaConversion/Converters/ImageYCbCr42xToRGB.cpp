#include "MediaConversion/Converters/ImageYCbCr42xToRGB.h"

#include "MediaConversion/Converters/Lanes.h"
#include "MediaConversion/Converters/YCbCrPackings.h"

#include <array>

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
constexpr ChromaWeights alphaWeights{0.0, 0.0};

// The weights of a pixel's four lanes in channel order. A lane that has no colour carries alpha,
// also where it is not stored.
constexpr std::array<ChromaWeights, 4> laneWeights(ChannelOrder order)
{
    std::array<ChromaWeights, 4> weights{alphaWeights, alphaWeights, alphaWeights, alphaWeights};
    weights[static_cast<std::size_t>(order.red)] = redWeights;
    weights[static_cast<std::size_t>(order.green)] = greenWeights;
    weights[static_cast<std::size_t>(order.blue)] = blueWeights;
    return weights;
}

// Samples as fractions of their full scale, and chroma samples centred on 0.
template <unsigned max>
constexpr auto fractionOfSample = [] {
    std::array<double, max + 1> fractions{};
    for (unsigned sample = 0; sample <= max; ++sample)
        fractions[sample] = sample / static_cast<double>(max);
    return fractions;
}();

template <unsigned max>
constexpr auto chromaOfSample = [] {
    std::array<double, max + 1> chroma{};
    for (unsigned sample = 0; sample <= max; ++sample)
        chroma[sample] = sample / static_cast<double>(max) - 0.5;
    return chroma;
}();

// The four lanes of a pixel are luma plus the group's two chroma products, added in that order; a
// product with a weight of 0 changes nothing.
template <YCbCrPacking Packing, ChannelOrder order, ChannelType type>
void decodeRow(const std::uint8_t* groups, int groupCount, std::uint8_t* pixels,
               std::size_t pixelRowStep)
{
    constexpr auto weights = laneWeights(order);
    constexpr int alphaLane = order.alpha == ChannelOrder::none ? 3 : order.alpha;
    constexpr auto& luma = fractionOfSample<Packing::lumaMax>;
    constexpr auto& chroma = chromaOfSample<Packing::chromaMax>;
    constexpr int pixelBytes =
        static_cast<int>(sizeof(typename Channel<type>::Element)) * order.channels();
    const Lanes cbWeights(weights[0].cb, weights[1].cb, weights[2].cb, weights[3].cb);
    const Lanes crWeights(weights[0].cr, weights[1].cr, weights[2].cr, weights[3].cr);

    for (int group = 0; group < groupCount; ++group, groups += Packing::bytes) {
        const auto samples = Packing::samples(groups);
        const Lanes cb = cbWeights * chroma[samples.cb];
        const Lanes cr = crWeights * chroma[samples.cr];
        for (std::size_t pixel = 0; pixel < samples.luma.size(); ++pixel) {
            double alpha = 1.0;
            if constexpr (Packing::hasAlpha)
                alpha = fractionOfSample<Packing::chromaMax>[samples.alpha[pixel]];
            const Lanes lanes =
                Lanes::allBut<alphaLane>(luma[samples.luma[pixel]], alpha) + cb + cr;
            lanes.store<type, order.channels()>(pixels + pixel / 2 * pixelRowStep +
                                                pixel % 2 * pixelBytes);
        }
        pixels += 2 * pixelBytes;
    }
}

struct Decode
{
    using Entry = DecodeFunction;

    template <class Source, class Destination>
    static constexpr Entry entry =
        decodeBy<decodeRow<Source, Destination::order, Destination::channelType>>;
};

}

ImageYCbCr42xToRGB::ImageYCbCr42xToRGB(const FrameFormat& destination) : m_destination(destination)
{
}

std::unique_ptr<Velmora::IFrame> ImageYCbCr42xToRGB::onNewImage(
    std::shared_ptr<const Velmora::IImageFrame> frame)
{
    return decodeToRgb(frame.get(), m_destination, conversions());
}

const DecodeTable& ImageYCbCr42xToRGB::conversions()
{
    // clang-format off
    static const DecodeTable& table = *new DecodeTable(conversionTable<Decode>(
        from<Yuyv422>      (to<RgbU8, BgrU8,                      BgraU8, BgraU16, BgraF32, ArgbU8, ArgbU15plus1>),
        from<Zeq422>       (to<RgbU8, BgrU8, RgbU15plus1, RgbU16, BgraU8, BgraU16, BgraF32, ArgbU8, ArgbU15plus1>),
        from<Zeq4224Hybrid>(to<                                                    BgraF32                      >),
        from<Zeq420>       (to<RgbU8, BgrU8,                      BgraU8, BgraU16, BgraF32                      >)));
    // clang-format on
    return table;
}

namespace {

[[maybe_unused]] const auto& tableAtStartUp = ImageYCbCr42xToRGB::conversions();

}

}
