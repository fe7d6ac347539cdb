#pragma once

#include "MediaConversion/MediaPipeline/Formats.h"

#include <cstdint>
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

// `low` for a NaN, too.
constexpr double clamped(double value, double low, double high)
{
    return value > low ? (value < high ? value : high) : low;
}

// A channel from a value of 0 to 1; what lies outside is clamped. Integers round half up.
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

// At which place of a pixel each colour lies; `none` for a pixel without alpha.
struct ChannelOrder
{
    static constexpr int none = -1;

    int red;
    int green;
    int blue;
    int alpha = none;

    constexpr int channels() const { return alpha == none ? 3 : 4; }
};

inline constexpr ChannelOrder RGB{.red = 0, .green = 1, .blue = 2};
inline constexpr ChannelOrder BGR{.red = 2, .green = 1, .blue = 0};
inline constexpr ChannelOrder RGBA{.red = 0, .green = 1, .blue = 2, .alpha = 3};
inline constexpr ChannelOrder BGRA{.red = 2, .green = 1, .blue = 0, .alpha = 3};
inline constexpr ChannelOrder ARGB{.red = 1, .green = 2, .blue = 3, .alpha = 0};

// The pixel of a named full format.
template <ChannelOrder channelOrder, ChannelType type, FrameFormat (*namedFormat)()>
struct FullPixel
{
    using Element = typename Channel<type>::Element;
    static constexpr ChannelOrder order = channelOrder;
    static constexpr ChannelType channelType = type;

    static FrameFormat format() { return namedFormat(); }
};

// clang-format off
struct RgbU8        : FullPixel<RGB,  ChannelType::U8,       Velmora::Formats::RGB_U8>        {};
struct RgbU10       : FullPixel<RGB,  ChannelType::U10,      Velmora::Formats::RGB_U10>       {};
struct RgbU12       : FullPixel<RGB,  ChannelType::U12,      Velmora::Formats::RGB_U12>       {};
struct RgbU15plus1  : FullPixel<RGB,  ChannelType::U15plus1, Velmora::Formats::RGB_U15plus1>  {};
struct RgbU16       : FullPixel<RGB,  ChannelType::U16,      Velmora::Formats::RGB_U16>       {};
struct BgrU8        : FullPixel<BGR,  ChannelType::U8,       Velmora::Formats::BGR_U8>        {};
struct BgrU10       : FullPixel<BGR,  ChannelType::U10,      Velmora::Formats::BGR_U10>       {};
struct BgrU12       : FullPixel<BGR,  ChannelType::U12,      Velmora::Formats::BGR_U12>       {};
struct BgrU16       : FullPixel<BGR,  ChannelType::U16,      Velmora::Formats::BGR_U16>       {};
struct BgrF32       : FullPixel<BGR,  ChannelType::F32,      Velmora::Formats::BGR_F32>       {};
struct RgbaU8       : FullPixel<RGBA, ChannelType::U8,       Velmora::Formats::RGBA_U8>       {};
struct BgraU8       : FullPixel<BGRA, ChannelType::U8,       Velmora::Formats::BGRA_U8>       {};
struct BgraU16      : FullPixel<BGRA, ChannelType::U16,      Velmora::Formats::BGRA_U16>      {};
struct BgraF32      : FullPixel<BGRA, ChannelType::F32,      Velmora::Formats::BGRA_F32>      {};
struct ArgbU8       : FullPixel<ARGB, ChannelType::U8,       Velmora::Formats::ARGB_U8>       {};
struct ArgbU15plus1 : FullPixel<ARGB, ChannelType::U15plus1, Velmora::Formats::ARGB_U15plus1> {};
// clang-format on

}
