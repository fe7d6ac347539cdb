#include "MediaConversion/Converters/ImageToPackedFrame.h"

#include "MediaConversion/Converters/RgbPackings.h"
#include "MediaConversion/MediaPipeline/FullFrame.h"

#include <array>

namespace MediaConversion {

namespace {

template <unsigned bits, ChannelType type>
constexpr unsigned convertChannel(typename Channel<type>::Element channel)
{
    constexpr double fullScale = (1u << bits) - 1;
    const double value = channel / Channel<type>::fullScale;
    return static_cast<unsigned>(clamped(value * fullScale, 0.0, fullScale) + 0.5);
}

template <unsigned bits>
constexpr auto sampleOfByte = [] {
    std::array<std::uint16_t, 256> samples{};
    for (unsigned channel = 0; channel < samples.size(); ++channel)
        samples[channel] = static_cast<std::uint16_t>(
            convertChannel<bits, ChannelType::U8>(static_cast<std::uint8_t>(channel)));
    return samples;
}();

template <unsigned bits, ChannelType type>
unsigned sampleOfChannel(typename Channel<type>::Element channel)
{
    if constexpr (type == ChannelType::U8)
        return sampleOfByte<bits>[channel];
    else
        return convertChannel<bits, type>(channel);
}

template <RgbLayout Layout, ChannelType type, Placement placed>
void packRow(const std::uint8_t* pixels, std::size_t, std::uint8_t* groups, int groupCount)
{
    using Element = typename Channel<type>::Element;
    const auto* pixel = reinterpret_cast<const Element*>(pixels);
    for (int group = 0; group < groupCount; ++group, groups += Layout::bytes) {
        std::array<unsigned, 3 * Layout::pixels> samples;
        for (std::size_t first = 0; first < samples.size(); first += 3, pixel += placed.channels)
            for (std::size_t sample = 0; sample < 3; ++sample)
                samples[first + sample] =
                    sampleOfChannel<Layout::bits, type>(pixel[placed.channelOfSample[sample]]);
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
