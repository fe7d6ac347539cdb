#pragma once

#include "MediaConversion/MediaPipeline/FrameFormat.h"
#include "imaging/Pictures.h"

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

// Null when there is none. Names may be in any case.
const MediaFormat* findMediaFormat(std::string_view name);
const MediaFormat* findMediaFormat(std::uint32_t code);

bool hasAlpha(const Velmora::FrameFormat& format);
SampleDepth depthOf(const Velmora::FrameFormat& format);

// What a picture becomes when nobody says: the format of the fewest bits that holds the samples,
// and of 12 bits when none does. Pictures of more than 8 bits with alpha have one format only,
// which halves the resolution of their colours.
const MediaFormat& defaultMediaFormat(SampleDepth depth, bool hasAlpha);

}
