#include "MediaConversion/Converters/ImageToPackedFrame.h"

#include "MediaConversion/Converters/Lanes.h"
#include "MediaConversion/Converters/RgbPackings.h"
#include "MediaConversion/MediaPipeline/FullFrame.h"

#include <array>

namespace MediaConversion {

namespace {

template <unsigned bits>
constexpr double sampleMax = (1u << bits) - 1;

template <unsigned bits>
constexpr auto sampleOfByte = [] {
    std::array<std::uint16_t, 256> samples{};
    for (unsigned channel = 0; channel < samples.size(); ++channel)
        samples[channel] = static_cast<std::uint16_t>(
            clamped(channel / 255.0 * sampleMax<bits>, 0.0, sampleMax<bits>) + 0.5);
    return samples;
}();

// The channels of a pixel as samples, in the pixel's own order.
template <unsigned bits, ChannelType type, int channels>
std::array<unsigned, 4> samplesOfPixel(const typename Channel<type>::Element* pixel)
{
    if constexpr (type == ChannelType::U8) {
        constexpr auto& sampleOf = sampleOfByte<bits>;
        return {sampleOf[pixel[0]], sampleOf[pixel[1]], sampleOf[pixel[2]],
                channels == 4 ? sampleOf[pixel[3]] : 0u};
    } else {
        const auto values = Lanes::load<channels>(pixel) / Channel<type>::fullScale;
        std::array<unsigned, 4> samples;
        cv::v_store(samples.data(), cv::v_reinterpret_as_u32(values.quantised(sampleMax<bits>)));
        return samples;
    }
}

template <RgbLayout Layout, ChannelType type, Placement placed>
void packRow(const std::uint8_t* pixels, std::size_t, std::uint8_t* groups, int groupCount)
{
    const auto* pixel = reinterpret_cast<const typename Channel<type>::Element*>(pixels);
    for (int group = 0; group < groupCount; ++group, groups += Layout::bytes) {
        std::array<unsigned, 3 * Layout::pixels> samples;
        for (std::size_t first = 0; first < samples.size(); first += 3, pixel += placed.channels) {
            const auto channels = samplesOfPixel<Layout::bits, type, placed.channels>(pixel);
            for (std::size_t sample = 0; sample < 3; ++sample)
                samples[first + sample] =
                    channels[static_cast<std::size_t>(placed.channelOfSample[sample])];
        }
        Layout::pack(samples, groups);
    }
}

struct Pack
{
    using Entry = EncodeFunction;

    template <class Source, class Destination>
    static constexpr Entry entry =
        encodeBy<packRow<typename Destination::Layout, Source::channelType,
                         placement(Destination::order, Source::order)>>;
};

}

ImageToPackedFrame::ImageToPackedFrame(const FrameFormat& destination) : m_destination(destination)
{
}

std::unique_ptr<Velmora::IFrame> ImageToPackedFrame::onNewImage(
    std::shared_ptr<const Velmora::IImageFrame> frame)
{
    const auto* const full = dynamic_cast<const Velmora::FullFrame*>(frame.get());
    if (!full)
        fail("Can only convert FullFrame images");
    const auto pack = findConversion(conversions(), full->format(), m_destination,
                                     "Packing is not supported from ");
    return pack(*full, m_destination);
}

const EncodeTable& ImageToPackedFrame::conversions()
{
    // clang-format off
    static const EncodeTable& table = *new EncodeTable(conversionTable<Pack>(
        from<RgbU8, BgrU8, BgrU16, BgrF32, BgraU8, BgraU16, BgraF32, ArgbU8, ArgbU15plus1>(
                      to<RgbDpxFilled, BgrDpxFilled, RgbSmpte2110, BgrSmpte2110>),
        from<RgbU10> (to<RgbDpxFilled>),
        from<RgbU12> (to<                            RgbSmpte2110              >),
        from<BgrU12> (to<                            RgbSmpte2110, BgrSmpte2110>)));
    // clang-format on
    return table;
}

namespace {

[[maybe_unused]] const auto& tableAtStartUp = ImageToPackedFrame::conversions();

}

}
