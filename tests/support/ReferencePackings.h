#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <type_traits>

// Where the groups of the packings hold their samples, and which colours these stand for.
namespace MediaConversion::Reference {

// A number in the bytes of a group. Upwards, bit 0 is the lowest bit of the first byte, and the
// next byte goes on above its top bit; downwards, it is the highest bit of the first byte, and the
// next byte goes on below its low bit.
template <int firstBit, int bits, bool isUpwards = true>
struct Field
{
    static constexpr int lastByte = (firstBit + bits - 1) / 8;

    // How far the byte stands to the left in the number.
    static constexpr int shift(int byte)
    {
        return isUpwards ? 8 * byte - firstBit : firstBit + bits - 8 * (byte + 1);
    }

    static unsigned read(const std::uint8_t* bytes)
    {
        unsigned value = 0;
        for (int byte = firstBit / 8; byte <= lastByte; ++byte)
            value |= shift(byte) < 0 ? bytes[byte] >> -shift(byte) : bytes[byte] << shift(byte);
        return value & ((1u << bits) - 1);
    }

    static void write(std::uint8_t* bytes, unsigned value)
    {
        for (int byte = firstBit / 8; byte <= lastByte; ++byte)
            bytes[byte] |= static_cast<std::uint8_t>(shift(byte) < 0 ? value << -shift(byte)
                                                                     : value >> shift(byte));
    }
};

template <int firstBit, int bits>
using Downwards = Field<firstBit, bits, false>;

template <int byte>
using Byte = Field<8 * byte, 8>;

// Ten bits, the top eight and the low two apart.
template <int byte, int lowTwo>
struct TenBits
{
    static unsigned read(const std::uint8_t* bytes)
    {
        return Byte<byte>::read(bytes) << 2 | Field<lowTwo, 2>::read(bytes);
    }

    static void write(std::uint8_t* bytes, unsigned value)
    {
        Byte<byte>::write(bytes, value >> 2);
        Field<lowTwo, 2>::write(bytes, value & 3);
    }
};

template <class... Fields>
struct Layout
{
    using Samples = std::array<unsigned, sizeof...(Fields)>;

    static Samples read(const std::uint8_t* group) { return {Fields::read(group)...}; }

    // The group's bytes have to be 0.
    static void write(std::uint8_t* group, const Samples& samples)
    {
        auto sample = samples.begin();
        (Fields::write(group, *sample++), ...);
    }
};

// Red, green, blue and alpha of pixels, with a full scale of 1.
template <int count>
using Colours = std::array<std::array<double, 4>, count>;

// What is not a number ends at 0.
inline double clamped(double value, double maximum)
{
    return value > 0 ? (value < maximum ? value : maximum) : 0;
}

// The stored form of a value that is already in the units of the destination.
template <class Element>
Element quantised(double value, double maximum)
{
    constexpr double half = std::is_floating_point_v<Element> ? 0 : 0.5;
    return static_cast<Element>(clamped(value, maximum) + half);
}

// Three samples for each pixel, in the order of the packing's name.
template <int bits, class... Fields>
struct RgbPacking : Layout<Fields...>
{
    static constexpr int rows = 1;
    static constexpr int columns = sizeof...(Fields) / 3;
    static constexpr int maximum = (1 << bits) - 1;

    // 8-bit channels take the top eight bits of a sample.
    template <bool isToBytes>
    static Colours<columns> decode(const std::uint8_t* group)
    {
        constexpr int lostBits = isToBytes ? bits - 8 : 0;
        const auto samples = RgbPacking::read(group);
        Colours<columns> colours;
        colours.fill({0, 0, 0, 1});
        for (std::size_t k = 0; k < samples.size(); ++k)
            colours[k / 3][k % 3] = (samples[k] >> lostBits) / double(maximum >> lostBits);
        return colours;
    }

    static void encode(const Colours<columns>& colours, std::uint8_t* group)
    {
        typename RgbPacking::Samples samples;
        for (std::size_t k = 0; k < samples.size(); ++k)
            samples[k] = quantised<unsigned>(colours[k / 3][k % 3] * maximum, maximum);
        RgbPacking::write(group, samples);
    }
};

// Cb and Cr, which the pixels share, then luma and perhaps alpha, row by row.
template <int pixelRows, int lumaBits, int chromaBits, class... Fields>
struct YCbCrPacking : Layout<Fields...>
{
    static constexpr int rows = pixelRows;
    static constexpr int columns = 2;
    static constexpr int pixelCount = rows * columns;
    static constexpr int lumaMaximum = (1 << lumaBits) - 1;
    static constexpr int chromaMaximum = (1 << chromaBits) - 1;
    static constexpr bool hasAlpha = sizeof...(Fields) > 2 + pixelCount;

    template <bool>
    static Colours<pixelCount> decode(const std::uint8_t* group)
    {
        const auto samples = YCbCrPacking::read(group);
        const double cb = samples[0] / double(chromaMaximum) - 0.5;
        const double cr = samples[1] / double(chromaMaximum) - 0.5;
        Colours<pixelCount> colours;
        for (int k = 0; k < pixelCount; ++k) {
            const double luma = samples[2 + k] / double(lumaMaximum);
            const double alpha = hasAlpha ? samples[2 + pixelCount + k] / 1023.0 : 1;
            colours[k] = {luma + 1.402 * cr, luma - 0.34414 * cb - 0.71414 * cr, luma + 1.772 * cb,
                          alpha};
        }
        return colours;
    }

    // Negative values are cut towards 0, then masked.
    static unsigned code(double value, int maximum)
    {
        return static_cast<int>(value * maximum + 0.5) & maximum;
    }

    // The chroma of the group is the mean of its pixels'; with alpha, the first pixel's alone.
    static void encode(const Colours<pixelCount>& colours, std::uint8_t* group)
    {
        constexpr int chromaCount = hasAlpha ? 1 : pixelCount;
        typename YCbCrPacking::Samples samples{};
        double cb = 0;
        double cr = 0;
        for (int k = 0; k < pixelCount; ++k) {
            const auto& [r, g, b, alpha] = colours[k];
            samples[2 + k] = code(0.299 * r + 0.587 * g + 0.114 * b, lumaMaximum);
            if constexpr (hasAlpha)
                samples[2 + pixelCount + k] = code(alpha, chromaMaximum);
            if (k < chromaCount) {
                cb += 0.5 * b - 0.168736 * r - 0.331264 * g + 0.5;
                cr += 0.5 * r - 0.418688 * g - 0.081312 * b + 0.5;
            }
        }
        samples[0] = code(cb / chromaCount, chromaMaximum);
        samples[1] = code(cr / chromaCount, chromaMaximum);
        YCbCrPacking::write(group, samples);
    }
};

using DpxFilled = RgbPacking<10, Field<22, 10>, Field<12, 10>, Field<2, 10>>;
using DpxPacked = RgbPacking<12, Field<0, 12>, Field<12, 12>, Field<24, 12>, Field<36, 12>,
                             Field<48, 12>, Field<60, 12>>;
using Smpte2110 = RgbPacking<12, Downwards<0, 12>, Downwards<12, 12>, Downwards<24, 12>,
                             Downwards<36, 12>, Downwards<48, 12>, Downwards<60, 12>>;
using Yuyv422 = YCbCrPacking<1, 8, 8, Byte<1>, Byte<3>, Byte<0>, Byte<2>>;
using Zeq422 =
    YCbCrPacking<1, 10, 10, TenBits<0, 38>, TenBits<2, 34>, TenBits<1, 36>, TenBits<3, 32>>;
using Zeq4224Hybrid = YCbCrPacking<1, 12, 10, Field<32, 10>, Field<22, 10>, Field<42, 12>,
                                   Field<10, 12>, Field<54, 10>, Field<0, 10>>;
using Zeq420 = YCbCrPacking<2, 8, 8, Byte<0>, Byte<1>, Byte<2>, Byte<3>, Byte<4>, Byte<5>>;

// Calls `body` with the packing of that name.
template <class Body>
void withPacking(const std::string& name, const Body& body)
{
    const auto isOf = [&](const char* ending, auto packing) {
        return name.ends_with(ending) && (body(packing), true);
    };
    if (!isOf("-DPX-FILLED", DpxFilled{}) && !isOf("-DPX-PACKED", DpxPacked{}) &&
        !isOf("-SMPTE-2110", Smpte2110{}) && !isOf("YUYV-422", Yuyv422{}) &&
        !isOf("ZEQ-422", Zeq422{}) && !isOf("ZEQ-4224-HYBRID", Zeq4224Hybrid{}) &&
        !isOf("ZEQ-420", Zeq420{}))
        throw std::invalid_argument("no reference arithmetic for " + name);
}

}
