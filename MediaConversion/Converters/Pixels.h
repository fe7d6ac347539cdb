#pragma once

#include "MediaConversion/MediaPipeline/Formats.h"

#include <bit>
#include <cstdint>
#include <string_view>
#include <type_traits>

namespace MediaConversion {

using Velmora::ChannelType;
using Velmora::FrameFormat;

// How a channel of a full frame is stored, and the value that stands for full intensity.
template <class ElementType, std::uint32_t fullScaleValue>
struct StoredAs
{
    using Element = ElementType;
    static constexpr double fullScale = fullScaleValue;
};

// clang-format off
template <ChannelType type> struct Channel;
template <> struct Channel<ChannelType::U8>       : StoredAs<std::uint8_t,    255> {};
template <> struct Channel<ChannelType::U10>      : StoredAs<std::uint16_t,  1023> {};
template <> struct Channel<ChannelType::U12>      : StoredAs<std::uint16_t,  4095> {};
template <> struct Channel<ChannelType::U15plus1> : StoredAs<std::uint16_t, 32768> {};
template <> struct Channel<ChannelType::U16>      : StoredAs<std::uint16_t, 65535> {};
template <> struct Channel<ChannelType::F32>      : StoredAs<float,             1> {};
// clang-format on

// Clamps a value to a range. A NaN gives `low`.
constexpr double clamped(double value, double low, double high)
{
    return value > low ? (value < high ? value : high) : low;
}

// Makes a channel of a fraction of full scale, clamped to 0 and 1. Integers are rounded half up.
template <ChannelType type>
constexpr typename Channel<type>::Element quantise(double value)
{
    using Element = typename Channel<type>::Element;
    constexpr double fullScale = Channel<type>::fullScale;
    const double scaled = clamped(value * fullScale, 0.0, fullScale);
    if constexpr (std::is_floating_point_v<Element>)
        return static_cast<Element>(scaled);
    else
        return static_cast<Element>(scaled + 0.5);
}

// 1 / max as a sum of two numbers, by which samples are divided without a division: the product of
// a sample, 0 to max, with the upper one is exact, and the sum of both products is the number
// nearest to sample / max.
template <class Number, unsigned max>
struct ExactFraction
{
    static constexpr unsigned scale = std::bit_ceil(max) * 4096;
    static constexpr unsigned wholeSteps = scale / max;
    static constexpr Number upper = static_cast<Number>(wholeSteps) / scale;
    static constexpr Number lower = (1 - upper * max) / max;

    static constexpr bool holds()
    {
        for (unsigned sample = 0; sample <= max; ++sample) {
            const auto number = static_cast<Number>(sample);
            if (number * upper + number * lower !=
                static_cast<Number>(sample / static_cast<double>(max)))
                return false;
        }
        return true;
    }
    static_assert(holds());
};

// At which place of a pixel each colour lies; `none` for a pixel without alpha.
struct ChannelOrder
{
    static constexpr int none = -1;

    int red = none;
    int green = none;
    int blue = none;
    int alpha = none;

    constexpr int channels() const { return alpha == none ? 3 : 4; }

    constexpr bool operator==(const ChannelOrder&) const = default;
};

// The order that letters give: "BGRA". Any other text does not compile.
constexpr ChannelOrder channelOrder(std::string_view letters)
{
    ChannelOrder order;
    for (int place = 0; const char letter : letters)
        (letter == 'R'   ? order.red
         : letter == 'G' ? order.green
         : letter == 'B' ? order.blue
         : letter == 'A' ? order.alpha
                         : throw "no letter of a channel") = place++;
    if (order.red == ChannelOrder::none || order.green == ChannelOrder::none ||
        order.blue == ChannelOrder::none || order.channels() != static_cast<int>(letters.size()))
        throw "not every channel once";
    return order;
}

// The pixel of a full format.
template <const Velmora::NamedFormat& namedFormat>
struct FullPixel
{
    static constexpr ChannelOrder order = channelOrder(namedFormat.pixelFormat);
    static constexpr ChannelType channelType = namedFormat.channelType;
    using Element = typename Channel<channelType>::Element;

    static FrameFormat format() { return namedFormat(); }

    static_assert(namedFormat.pixelPacking.bytesPerGroup == order.channels() * sizeof(Element));
};

// clang-format off
struct RgbU8        : FullPixel<Velmora::Formats::RGB_U8>        {};
struct RgbU10       : FullPixel<Velmora::Formats::RGB_U10>       {};
struct RgbU12       : FullPixel<Velmora::Formats::RGB_U12>       {};
struct RgbU15plus1  : FullPixel<Velmora::Formats::RGB_U15plus1>  {};
struct RgbU16       : FullPixel<Velmora::Formats::RGB_U16>       {};
struct BgrU8        : FullPixel<Velmora::Formats::BGR_U8>        {};
struct BgrU10       : FullPixel<Velmora::Formats::BGR_U10>       {};
struct BgrU12       : FullPixel<Velmora::Formats::BGR_U12>       {};
struct BgrU16       : FullPixel<Velmora::Formats::BGR_U16>       {};
struct BgrF32       : FullPixel<Velmora::Formats::BGR_F32>       {};
struct RgbaU8       : FullPixel<Velmora::Formats::RGBA_U8>       {};
struct BgraU8       : FullPixel<Velmora::Formats::BGRA_U8>       {};
struct BgraU16      : FullPixel<Velmora::Formats::BGRA_U16>      {};
struct BgraF32      : FullPixel<Velmora::Formats::BGRA_F32>      {};
struct ArgbU8       : FullPixel<Velmora::Formats::ARGB_U8>       {};
struct ArgbU15plus1 : FullPixel<Velmora::Formats::ARGB_U15plus1> {};
// clang-format on

}
