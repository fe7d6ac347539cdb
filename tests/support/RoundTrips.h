#pragma once

#include "MediaConversion/MediaPipeline/Formats.h"

#include <algorithm>

// How far a sample may be from where it was after a way to a format of media files and back, for
// groups of equal pixels. Half a step of the samples, as it shows in blue, where chroma weighs
// most; and a little for the matrices, of which the one is not quite the inverse of the other.
// Blocks lose no more than their end points do.
inline double largestError(const Velmora::FrameFormat& format)
{
    using enum Velmora::Colourspace;
    if (format.colourspace == YCoCg)
        return 0.05;
    const bool isRgb = format.colourspace == RGB || format.colourspace == RGBA;
    const double steps = (1 << bitsOf(format.channelType)) - 1;
    const double chroma = isRgb ? 0 : 1.772 / std::min(steps, 1023.0);
    return 0.5 * (1 / steps + chroma) + 2e-6;
}
