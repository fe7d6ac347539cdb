#pragma once

#include "MediaConversion/Converters/Pixels.h"

namespace MediaConversion {

// What is in a group of two pixels side by side, or of two rows of two. The bits are put together
// and taken apart in GroupCodes.h.
template <FrameFormat (*namedFormat)(), int groupBytes, int pixelRows, unsigned largestLuma,
          unsigned largestChroma, bool withAlpha = false>
struct YCbCrPacking
{
    static constexpr int bytes = groupBytes;
    static constexpr int rows = pixelRows;
    static constexpr unsigned lumaMax = largestLuma;
    static constexpr unsigned chromaMax = largestChroma;  // of alpha, too
    static constexpr bool hasAlpha = withAlpha;

    static FrameFormat format() { return namedFormat(); }
};

// clang-format off
//                                                              bytes rows  luma chroma  alpha
struct Yuyv422       : YCbCrPacking<Velmora::Formats::YUYV_422,        4, 1,  255,  255>       {};
struct Zeq422        : YCbCrPacking<Velmora::Formats::ZEQ_422,         5, 1, 1023, 1023>       {};
struct Zeq4224Hybrid : YCbCrPacking<Velmora::Formats::ZEQ_4224_HYBRID, 8, 1, 4095, 1023, true> {};
struct Zeq420        : YCbCrPacking<Velmora::Formats::ZEQ_420,         6, 2,  255,  255>       {};
// clang-format on

}
