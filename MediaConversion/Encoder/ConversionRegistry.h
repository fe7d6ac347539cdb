#pragma once

#include "MediaConversion/MediaPipeline/FrameFlow.h"

#include <map>
#include <memory>
#include <utility>
#include <vector>

namespace MediaConversion {

// Makes a filter that converts to the format.
using FilterFactory = std::unique_ptr<IFrameFilter> (*)(const Velmora::FrameFormat& format);

struct ConversionStep
{
    Velmora::FrameFormat format;
    FilterFactory factory;
};

// The chain of steps for each pair of formats that has one: destination first, source second.
using ConversionRegistry =
    std::map<std::pair<Velmora::FrameFormat, Velmora::FrameFormat>, std::vector<ConversionStep>>;

// The one place that says which conversions exist and through which filters each runs.
const ConversionRegistry& conversionRegistry();

}
