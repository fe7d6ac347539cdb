#pragma once

#include "MediaConversion/MediaPipeline/FrameFormat.h"

#include <array>
#include <string>
#include <vector>

namespace Benchmarks {

// In which company and in which sizes a conversion is measured.
enum class Scope
{
    Usual,          // beside the limit, the reference and other libraries, at 1080p and 4K
    Growing,        // from half a megapixel to 33 as well
    Peers,          // beside other libraries only
    PeersFromFile,  // the same, from a media file
    Further,        // as usual, but only when it is asked for
};

struct Conversion
{
    Velmora::FrameFormat source;
    Velmora::FrameFormat destination;
    Scope scope = Scope::Usual;
    std::array<double, 2> mostToLimit{};  // ours / limit on one thread and on two; 0 for no target
    double leastOfReference = 0;          // reference / ours; 0 for no target

    bool hasReference() const { return scope != Scope::Peers && scope != Scope::PeersFromFile; }
};

// Every media format to float BGRA, as the reader converts it, what studios write, what other
// libraries do as well, and further packed formats that the registry makes of full ones.
const std::vector<Conversion>& conversions();

// A packed format's own name, a full format's with its channel type: "ZEQ-422", "BGRA F32".
std::string shortName(const Velmora::FrameFormat& format);

// How a benchmark names it: "ZEQ-422 to BGRA F32".
std::string nameOf(const Conversion& conversion);

}
