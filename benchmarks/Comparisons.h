#pragma once

#include "MediaConversion/MediaPipeline/Formats.h"
#include "benchmarks/Conversions.h"
#include "benchmarks/Trial.h"
#include "benchmarks/Work.h"

#include <memory>
#include <vector>

namespace Benchmarks {

// Another library on the nearest same work, beside our conversion of the same picture.
struct Comparison
{
    const char* library;
    const char* work;
    Velmora::FrameFormat source;
    Velmora::FrameFormat destination;
    Trial::Input input;
    double wanted;    // theirs / ours, at least
    bool isThreaded;  // otherwise it is compared on one thread only
    std::unique_ptr<Work> (*create)(const cv::Mat& source, int threads);
    const char* difference;

    Conversion conversion() const { return {source, destination, {}}; }
    bool isEncoder() const { return Velmora::PackedFormatCvTypes().contains(destination); }
};

const std::vector<Comparison>& comparisons();

}
