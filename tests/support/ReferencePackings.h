#pragma once

#include <array>
#include <cstdint>
#include <stdexcept>
#include <string>

// Where the groups of the packings hold their samples.
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

// Three samples for each pixel, in the order of the packing's name.
template <int sampleBits, class... Fields>
struct RgbPacking : Layout<Fields...>
{
    static constexpr bool isRgb = true;
    static constexpr int rows = 1;
    static constexpr int columns = sizeof...(Fields) / 3;
    static constexpr int bits = sampleBits;
    static constexpr int maximum = (1 << bits) - 1;
};

// Cb and Cr, which the pixels share, then luma and perhaps alpha, row by row.
template <int pixelRows, int lumaBits, int chromaBits, class... Fields>
struct YCbCrPacking : Layout<Fields...>
{
    static constexpr bool isRgb = false;
    static constexpr int rows = pixelRows;
    static constexpr int columns = 2;
    static constexpr int lumaMaximum = (1 << lumaBits) - 1;
    static constexpr int chromaMaximum = (1 << chromaBits) - 1;
    static constexpr bool hasAlpha = sizeof...(Fields) > 2 + 2 * rows;
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
    if (name.ends_with("-DPX-FILLED"))
        body(DpxFilled{});
    else if (name.ends_with("-DPX-PACKED"))
        body(DpxPacked{});
    else if (name.ends_with("-SMPTE-2110"))
        body(Smpte2110{});
    else if (name == "YUYV-422")
        body(Yuyv422{});
    else if (name == "ZEQ-422")
        body(Zeq422{});
    else if (name == "ZEQ-4224-HYBRID")
        body(Zeq4224Hybrid{});
    else if (name == "ZEQ-420")
        body(Zeq420{});
    else
        throw std::invalid_argument("no reference arithmetic for " + name);
}

}
