#include "MediaConversion/Converters/ImageRGBtoYCbCr42x.h"

#include "MediaConversion/Converters/YCbCrPackings.h"

#include <opencv2/core/hal/intrin.hpp>

#include <array>
#include <type_traits>

namespace MediaConversion {

namespace {

// One value for each of two neighbouring pixels.
using Pair = cv::v_float64x2;

Pair both(double value)
{
    return cv::v_setall_f64(value);
}

constexpr auto fractionOfByte = [] {
    std::array<double, 256> fractions{};
    for (unsigned channel = 0; channel < fractions.size(); ++channel)
        fractions[channel] = channel / Channel<ChannelType::U8>::fullScale;
    return fractions;
}();

// Two neighbouring pixels, channel by channel in the order of the pixel, as fractions of full
// scale. Only F32 is clamped: what U15plus1 channels hold above full scale goes on into the codes.
template <ChannelType type, int channels>
std::array<Pair, 4> fractions(const typename Channel<type>::Element* left)
{
    const auto* const right = left + channels;
    std::array<Pair, 4> pairs;
    if constexpr (type == ChannelType::F32 && channels == 4) {
        const auto clampedPixel = [](const float* pixel) {
            const auto floor = cv::v_max(cv::v_load(pixel), cv::v_setzero_f32());  // 0 for NaN
            return cv::v_min(floor, cv::v_setall_f32(1));
        };
        cv::v_float32x4 lower;
        cv::v_float32x4 upper;
        cv::v_zip(clampedPixel(left), clampedPixel(right), lower, upper);
        pairs = {cv::v_cvt_f64(lower), cv::v_cvt_f64_high(lower), cv::v_cvt_f64(upper),
                 cv::v_cvt_f64_high(upper)};
    } else {
        for (int channel = 0; channel < channels; ++channel) {
            auto& pair = pairs[static_cast<std::size_t>(channel)];
            if constexpr (type == ChannelType::U8) {
                pair = Pair(fractionOfByte[left[channel]], fractionOfByte[right[channel]]);
            } else {
                pair = Pair(left[channel], right[channel]) / both(Channel<type>::fullScale);
                if constexpr (type == ChannelType::F32)
                    pair = cv::v_min(cv::v_max(pair, cv::v_setzero_f64()), both(1));
            }
        }
    }
    return pairs;
}

// The codes of two values, neither clamped nor masked.
cv::v_int32x4 codes(const Pair& values, double scale)
{
    return cv::v_trunc(values * both(scale) + both(0.5));
}

// Two neighbouring pixels by ITU-T T.871. The sums run from left to right: every grey lies on a tie
// between two chroma codes, which another order would decide differently.
template <ChannelOrder order, ChannelType type>
struct PixelPair
{
    Pair luma;
    Pair cb;
    Pair cr;

    Pair alpha;

    explicit PixelPair(const typename Channel<type>::Element* left)
    {
        const auto channels = fractions<type, order.channels()>(left);
        const auto& red = channels[order.red];
        const auto& green = channels[order.green];
        const auto& blue = channels[order.blue];
        luma = red * both(0.299) + green * both(0.587) + blue * both(0.114);
        cb = blue * both(0.5) - red * both(0.168736) - green * both(0.331264) + both(0.5);
        cr = red * both(0.5) - green * both(0.418688) - blue * both(0.081312) + both(0.5);
        if constexpr (order.alpha != ChannelOrder::none)
            alpha = channels[order.alpha];
    }

    Pair leftChroma() const { return cv::v_combine_low(cb, cr); }
    Pair rightChroma() const { return cv::v_combine_high(cb, cr); }
};

// Two luma codes and the codes of Cb and Cr, cut to the widths of their fields.
template <YCbCrPacking Packing>
std::array<unsigned, 4> fields(const Pair& luma, const Pair& chroma)
{
    const auto joint =
        cv::v_combine_low(codes(luma, Packing::lumaMax), codes(chroma, Packing::chromaMax));
    std::array<unsigned, 4> values;
    cv::v_store(values.data(), cv::v_reinterpret_as_u32(joint) &
                                   cv::v_uint32x4(Packing::lumaMax, Packing::lumaMax,
                                                  Packing::chromaMax, Packing::chromaMax));
    return values;
}

// The group whose first pixel is given.
template <YCbCrPacking Packing, ChannelOrder order, ChannelType type>
typename Packing::Samples samplesOf(const std::uint8_t* pixels, std::size_t pixelRowStep)
{
    using Element = typename Channel<type>::Element;
    const auto* const first = reinterpret_cast<const Element*>(pixels);
    const PixelPair<order, type> top(first);
    if constexpr (Packing::rows == 2) {
        const PixelPair<order, type> bottom(
            reinterpret_cast<const Element*>(pixels + pixelRowStep));
        const Pair chroma =
            (top.leftChroma() + top.rightChroma() + bottom.leftChroma() + bottom.rightChroma()) *
            both(0.25);
        const auto [topLeft, topRight, cb, cr] = fields<Packing>(top.luma, chroma);
        const auto below = fields<Packing>(bottom.luma, chroma);
        return {{topLeft, topRight, below[0], below[1]}, cb, cr};
    } else if constexpr (Packing::hasAlpha) {
        const auto [left, right, cb, cr] = fields<Packing>(top.luma, top.leftChroma());
        const auto alphas = fields<Packing>(top.luma, top.alpha);
        return {{{left, right}, cb, cr}, {alphas[2], alphas[3]}};
    } else {
        const auto [left, right, cb, cr] =
            fields<Packing>(top.luma, (top.leftChroma() + top.rightChroma()) * both(0.5));
        return {{left, right}, cb, cr};
    }
}

template <YCbCrPacking Packing, ChannelOrder order, ChannelType type>
void encodeRow(const std::uint8_t* pixels, std::size_t pixelRowStep, std::uint8_t* groups,
               int groupCount)
{
    constexpr std::size_t groupWidth =
        2 * sizeof(typename Channel<type>::Element) * order.channels();
    for (int group = 0; group < groupCount; ++group) {
        Packing::pack(samplesOf<Packing, order, type>(pixels, pixelRowStep), groups);
        pixels += groupWidth;
        groups += Packing::bytes;
    }
}

struct Encode
{
    using Entry = EncodeFunction;

    template <class Source, class Destination>
    static constexpr Entry entry =
        encodeBy<encodeRow<Destination, Source::order, Source::channelType>>;
};

}

ImageRGBtoYCbCr42x::ImageRGBtoYCbCr42x(const FrameFormat& destination) : m_destination(destination)
{
}

std::unique_ptr<Velmora::IFrame> ImageRGBtoYCbCr42x::onNewImage(
    std::shared_ptr<const Velmora::IImageFrame> frame)
{
    // The text says 4:2:2 for 4:2:0, too.
    return encodeFromRgb(frame.get(), m_destination, conversions(),
                         "YCbCr 4:2:2 conversion is not supported from ");
}

// ZEQ-422 from 8-bit RGB and BGR, ZEQ-420 from ARGB and others are gaps that are meant.
const EncodeTable& ImageRGBtoYCbCr42x::conversions()
{
    // clang-format off
    static const EncodeTable& table = *new EncodeTable(conversionTable<Encode>(
        from<RgbU8, BgrU8>             (to<Yuyv422,                        Zeq420>),
        from<RgbU15plus1>              (to<         Zeq422                       >),
        from<BgrU16, BgrF32>           (to<Yuyv422, Zeq422,                Zeq420>),
        from<BgraU8, BgraU16>          (to<Yuyv422, Zeq422,                Zeq420>),
        from<BgraF32>                  (to<Yuyv422, Zeq422, Zeq4224Hybrid, Zeq420>),
        from<ArgbU8, ArgbU15plus1>     (to<Yuyv422, Zeq422                       >)));
    // clang-format on
    return table;
}

namespace {

[[maybe_unused]] const auto& tableAtStartUp = ImageRGBtoYCbCr42x::conversions();

}

}
