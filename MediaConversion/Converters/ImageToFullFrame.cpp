#include "MediaConversion/Converters/ImageToFullFrame.h"

#include "MediaConversion/Converters/RgbPackings.h"

#include <array>

namespace MediaConversion {

namespace {

// The channel for a sample. U8 channels cut the sample's low bits, all others scale and round.
template <unsigned bits, ChannelType type>
constexpr typename Channel<type>::Element convertSample(unsigned sample)
{
    if constexpr (type == ChannelType::U8)
        return quantise<type>((sample >> (bits - 8)) / 255.0);
    else
        return quantise<type>(sample / static_cast<double>((1u << bits) - 1));
}

template <unsigned bits, ChannelType type>
constexpr auto channelOfSample = [] {
    std::array<typename Channel<type>::Element, 1u << bits> channels{};
    for (unsigned sample = 0; sample < channels.size(); ++sample)
        channels[sample] = convertSample<bits, type>(sample);
    return channels;
}();

template <RgbLayout Layout, ChannelType type, Placement placed>
void unpackRow(const std::uint8_t* groups, int groupCount, std::uint8_t* pixels, std::size_t)
{
    using Element = typename Channel<type>::Element;
    constexpr auto& channelOf = channelOfSample<Layout::bits, type>;
    constexpr auto opaque = quantise<type>(1.0);
    auto* pixel = reinterpret_cast<Element*>(pixels);
    for (int group = 0; group < groupCount; ++group, groups += Layout::bytes) {
        const auto samples = Layout::samples(groups);
        for (std::size_t first = 0; first < samples.size(); first += 3, pixel += placed.channels) {
            pixel[placed.channelOfSample[0]] = channelOf[samples[first]];
            pixel[placed.channelOfSample[1]] = channelOf[samples[first + 1]];
            pixel[placed.channelOfSample[2]] = channelOf[samples[first + 2]];
            if constexpr (placed.alpha != ChannelOrder::none)
                pixel[placed.alpha] = opaque;
        }
    }
}

struct Unpack
{
    using Entry = DecodeFunction;

    template <class Source, class Destination>
    static constexpr Entry entry =
        decodeBy<unpackRow<typename Source::Layout, Destination::channelType,
                           placement(Source::order, Destination::order)>>;
};

}

ImageToFullFrame::ImageToFullFrame(const FrameFormat& destination) : m_destination(destination) {}

std::unique_ptr<Velmora::IFrame> ImageToFullFrame::onNewImage(
    std::shared_ptr<const Velmora::IImageFrame> frame)
{
    const auto* const packed = dynamic_cast<const Velmora::PackedFrame*>(frame.get());
    if (!packed)
        fail("Can only convert packed images");
    const auto unpack = findConversion(conversions(), packed->format(), m_destination,
                                       "Unpacking is not supported from ");
    return unpack(*packed, m_destination);
}

// 12-bit DPX groups offer RGBA_U8 and no RGB_U16, SMPTE groups the reverse: both gaps are meant.
const DecodeTable& ImageToFullFrame::conversions()
{
    // clang-format off
    static const DecodeTable& table = *new DecodeTable(conversionTable<Unpack>(
        from<RgbDpxFilled, BgrDpxFilled>(to<RgbU8, BgrU8, RgbU10, BgrU10, RgbU16, RgbaU8, BgraU8, BgraU16, BgraF32, ArgbU8, ArgbU15plus1>),
        from<RgbDpxPacked, BgrDpxPacked>(to<RgbU8, BgrU8, RgbU12, BgrU12,         RgbaU8, BgraU8, BgraU16, BgraF32, ArgbU8, ArgbU15plus1>),
        from<RgbSmpte2110, BgrSmpte2110>(to<RgbU8, BgrU8, RgbU12, BgrU12, RgbU16,         BgraU8, BgraU16, BgraF32, ArgbU8, ArgbU15plus1>)));
    // clang-format on
    return table;
}

namespace {

[[maybe_unused]] const auto& tableAtStartUp = ImageToFullFrame::conversions();

}

}
