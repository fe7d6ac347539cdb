#include "MediaConversion/Converters/Kernels.h"
#include "MediaConversion/Converters/Vectors/PixelPairs.h"

#include <algorithm>

namespace MediaConversion {

namespace {

constexpr int pixelsPerStep = 4;
using StepBytes = Vector<std::uint8_t, 4 * pixelsPerStep>;

// Brings four pixels into another order of channels. Alpha that they lack is opaque.
template <ChannelOrder from, ChannelOrder to>
StepBytes reordered(const StepBytes& pixels)
{
    constexpr auto byteOf = [](int byte) {
        const int channel = byte % 4;
        const int place = channel == to.red     ? from.red
                          : channel == to.green ? from.green
                          : channel == to.blue  ? from.blue
                                                : from.alpha;
        return place == ChannelOrder::none ? int{sizeof(StepBytes)}
                                           : byte / 4 * from.channels() + place;
    };
    return shuffledBy<sizeof(StepBytes), byteOf>(pixels, StepBytes(255));
}

// As cv::Mat::convertTo() scales: by the float that is nearest to 1 / 255.
PixelPair<float> fractions(const Vector<std::uint8_t, 8>& bytes)
{
    return bytes.as<std::uint16_t>().as<std::int32_t>().as<float>() *
           PixelPair<float>(static_cast<float>(1 / Channel<ChannelType::U8>::fullScale));
}

template <ChannelOrder from, ChannelOrder to, Stores stores>
void convertStep(const std::uint8_t* bytes, std::uint8_t* floats)
{
    const auto pixels = reordered<from, to>(StepBytes::load(bytes));
    storePair<ChannelType::F32, to, stores>(fractions(lowerHalf(pixels)), floats);
    storePair<ChannelType::F32, to, stores>(fractions(upperHalf(pixels)),
                                            floats + sizeof(PixelPair<float>));
}

template <ChannelOrder from, ChannelOrder to, Stores stores>
[[gnu::flatten]] void convertRow(const std::uint8_t* bytes, std::uint8_t* floats, int pixelCount)
{
    constexpr int floatsPerStep = 2 * sizeof(PixelPair<float>);
    for (; pixelCount * from.channels() >= int{sizeof(StepBytes)}; pixelCount -= pixelsPerStep) {
        convertStep<from, to, stores>(bytes, floats);
        bytes += pixelsPerStep * from.channels();
        floats += floatsPerStep;
    }
    // A vector would reach past the row.
    for (; pixelCount > 0; pixelCount -= pixelsPerStep) {
        const int count = std::min(pixelCount, pixelsPerStep);
        std::array<std::uint8_t, sizeof(StepBytes)> last{};
        std::array<std::uint8_t, floatsPerStep> part;
        std::copy_n(bytes, count * from.channels(), last.data());
        convertStep<from, to, Stores::Plain>(last.data(), part.data());
        std::copy_n(part.data(), count * floatsPerStep / pixelsPerStep, floats);
        bytes += pixelsPerStep * from.channels();
        floats += floatsPerStep;
    }
}

struct ToFloats
{
    template <class Source, class Destination>
    static void row(const std::uint8_t* bytes, std::size_t, std::uint8_t* floats,
                    std::size_t floatRowStep, int pixelCount, Stores stores)
    {
        constexpr auto to = Destination::order;
        convertStoring<ChannelType::F32, to>(stores, floats, floatRowStep, [&](auto storesAs) {
            convertRow<Source::order, to, storesAs>(bytes, floats, pixelCount);
        });
    }
};

}

template <>
const RowKernel* kernelsOf<compiledLevel, Family::BytesToFloats>()
{
    static constexpr auto rows = kernelRows<ToFloats>(bytesToFloats);
    return rows.data();
}

}
