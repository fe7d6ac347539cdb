#pragma once

#include "MediaConversion/MediaPipeline/Formats.h"
#include "imaging/Picture.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Zeq {

using Imaging::SampleDepth;

// A format that media files can have.
struct MediaFormat
{
    std::string name;  // as people call it: "ZEQ-422", "RGB-U8"
    std::uint32_t code;
    Velmora::FrameFormat frameFormat;
};

const std::vector<MediaFormat>& mediaFormats();

// Find a format by its name, in any case of letters, or by its code, and give null when there is
// none.
const MediaFormat* findMediaFormat(std::string_view name);
const MediaFormat* findMediaFormat(std::uint32_t code);

SampleDepth depthOf(const Velmora::FrameFormat& format);

// The format that a picture gets when none is asked for. It is the one of the fewest bits that
// holds the samples, or one of 12 bits when none does. For more than 8 bits with alpha there is one
// format only, which halves the resolution of colours.
const MediaFormat& defaultMediaFormat(SampleDepth depth, bool hasAlpha);

}
