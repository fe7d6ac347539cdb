#pragma once

#include "MediaConversion/MediaPipeline/FrameFormat.h"

#include <opencv2/core/mat.hpp>

#include <compare>
#include <string>

namespace Benchmarks {

enum class Picture
{
    Noise,   // random bytes, random floats from 0 to 1: no branch and no table entry is foreseen
    Smooth,  // gradients and a slow wave, as packed by our own Encoder
};

// Where and on what a conversion is measured.
struct Setting
{
    Picture picture;
    int height;
    int threads;

    auto operator<=>(const Setting&) const = default;

    cv::Size size() const { return {height * 16 / 9, height}; }
};

// How a benchmark names it: "noise/1080/2".
std::string nameOf(const Setting& setting);

cv::Mat makePicture(const Velmora::FrameFormat& format, const Setting& setting);

// A photograph of 300 x 200 pixels.
cv::Mat photograph(const Velmora::FrameFormat& format);

}
