#pragma once

#include "MediaConversion/MediaPipeline/FrameFormat.h"

#include <array>
#include <string>
#include <vector>

namespace Benchmarks {

// How fast a conversion is to be.
struct Target
{
    std::array<double, 2> toLimit;  // ours / limit, at most, on one thread and on two
    double fromPlain;               // plain / ours, at least; 0 for none
};

struct Conversion
{
    Velmora::FrameFormat source;
    Velmora::FrameFormat destination;
    Target target;
};

// What is always measured: every media format to float BGRA, as the reader converts it, and what
// studios write.
const std::vector<Conversion>& conversions();

// Further packed formats that the registry makes of full ones, without targets.
std::vector<Conversion> furtherConversions();

// A packed format's own name, a full format's with its channel type: "ZEQ-422", "BGRA F32".
std::string shortName(const Velmora::FrameFormat& format);
std::string shortName(const Conversion& conversion);

}
