#pragma once

#include "MediaConversion/MediaPipeline/Formats.h"

#include <opencv2/core/types.hpp>

#include <array>
#include <compare>
#include <string>
#include <vector>

namespace Benchmarks {

// In which company and in which sizes a conversion is measured.
enum class Scope
{
    Usual,          // beside the limit and other libraries, at 1080p and 4K
    Growing,        // from half a megapixel to 33 as well
    Peers,          // beside other libraries only
    PeersFromFile,  // the same, from a media file
};

struct Conversion
{
    Velmora::FrameFormat source;
    Velmora::FrameFormat destination;
    Scope scope = Scope::Usual;
    std::array<double, 2> mostToLimit{};  // ours / limit on one thread and on two; 0 for no target
};

// Every media format to float BGRA, as the reader converts it, what studios write, and what other
// libraries do as well.
const std::vector<Conversion>& conversions();

enum class PictureKind
{
    Noise,   // random bytes, random floats from 0 to 1: no branch and no table entry is foreseen
    Smooth,  // gradients and a slow wave, as packed by our own Encoder
};

struct Setting
{
    PictureKind picture;
    int height;
    int threads;

    auto operator<=>(const Setting&) const = default;

    cv::Size size() const { return {height * 16 / 9, height}; }
};

// The names of benchmarks are made of these: "ZEQ-422", "BGRA F32"; "ZEQ-422 to BGRA F32";
// "noise/1080/2".
std::string nameOf(const Velmora::FrameFormat& format);
std::string nameOf(const Conversion& conversion);
std::string nameOf(const Setting& setting);

}
