#pragma once

#include "MediaConversion/Converters/Pixels.h"

#include <array>
#include <cstddef>

namespace MediaConversion {

// What chroma, centred on 0, adds to luma by ITU-T T.871.
inline constexpr double redByCr = 1.402;
inline constexpr double greenByCb = -0.34414;
inline constexpr double greenByCr = -0.71414;
inline constexpr double blueByCb = 1.772;

// In which byte of a group each code lies, or its top eight bits. The further bits of all codes,
// two each, then share one byte more, with those of the first byte's code at the top.
struct ByteLayout
{
    static constexpr int none = -1;

    std::array<int, 4> luma;  // left and right, then those of the row below, if there is one
    int cb;
    int cr;
    int furtherBits = none;
};

// Codes that lie in words instead; see GroupCodes.h.
inline constexpr ByteLayout inWords{{ByteLayout::none}, ByteLayout::none, ByteLayout::none};

// A group of two pixels side by side, or of two rows of two, which share a Cb and a Cr.
template <const Velmora::NamedFormat& namedFormat, ByteLayout byteLayout>
struct YCbCrPacking
{
    static constexpr int bytes = static_cast<int>(namedFormat.pixelPacking.bytesPerGroup);
    static constexpr int rows = static_cast<int>(namedFormat.pixelPacking.rowsPerGroup);
    static constexpr bool hasAlpha =
        namedFormat.colourspace == Velmora::Colourspace::YCbCrA_ITU_T871;
    static constexpr auto lumaMax =
        static_cast<unsigned>(Channel<namedFormat.channelType>::fullScale);
    static constexpr unsigned chromaMax = lumaMax == 255 ? 255 : 1023;  // of alpha, too
    static constexpr ByteLayout layout = byteLayout;

    static FrameFormat format() { return namedFormat(); }

    static_assert(namedFormat.pixelPacking.columnsPerGroup == 2 && (rows == 1 || rows == 2));
    static_assert(namedFormat.pixelPacking.channelsPerGroup == 2 * rows + 2 + (hasAlpha ? 2 : 0));
    static_assert((lumaMax == 1023) == (layout.furtherBits != ByteLayout::none));
};

// clang-format off
//                                                                         luma          Cb Cr further bits
struct Yuyv422       : YCbCrPacking<Velmora::Formats::YUYV_422, ByteLayout{{0, 2},       1, 3   }> {};
struct Zeq422        : YCbCrPacking<Velmora::Formats::ZEQ_422,  ByteLayout{{1, 3},       0, 2, 4}> {};
struct Zeq420        : YCbCrPacking<Velmora::Formats::ZEQ_420,  ByteLayout{{2, 3, 4, 5}, 0, 1   }> {};
struct Zeq4224Hybrid : YCbCrPacking<Velmora::Formats::ZEQ_4224_HYBRID, inWords> {};
// clang-format on

}
