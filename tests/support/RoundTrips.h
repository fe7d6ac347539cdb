#pragma once

#include "MediaConversion/Encoder/Encoder.h"
#include "MediaConversion/MediaPipeline/Formats.h"
#include "MediaConversion/MediaPipeline/FrameFlow.h"

#include <opencv2/core/types.hpp>

#include <memory>
#include <utility>

// How far a sample may be from where it was after a way to a format and back, for pixels that share
// nothing but equal chroma.
struct LargestError
{
    Velmora::FrameFormat format;
    cv::Size chromaGroup;
    bool chromaFromLeft;
    double error;  // 0 for blocks, whose error has no bound
};

// Half a step of the samples, as it shows in blue, where chroma weighs most; and a little for the
// matrices, of which the one is not quite the inverse of the other.
constexpr double halfSteps(double lumaSteps, double chromaSteps = 1e30)
{
    return 0.5 / lumaSteps + 1.772 * 0.5 / chromaSteps + 2e-6;
}

inline const auto& largestErrors()
{
    using namespace Velmora::Formats;
    static const LargestError table[] = {
        // clang-format off
        {RGB_U8(),          {1, 1}, false, halfSteps(255)        },
        {BGRA_U8(),         {1, 1}, false, halfSteps(255)        },
        {RGB_DPX_FILLED(),  {1, 1}, false, halfSteps(1023)       },
        {BGR_DPX_FILLED(),  {1, 1}, false, halfSteps(1023)       },
        {RGB_SMPTE_2110(),  {1, 1}, false, halfSteps(4095)       },
        {BGR_SMPTE_2110(),  {1, 1}, false, halfSteps(4095)       },
        {YUYV_422(),        {2, 1}, false, halfSteps(255, 255)   },
        {ZEQ_422(),         {2, 1}, false, halfSteps(1023, 1023) },
        {ZEQ_4224_HYBRID(), {2, 1}, true,  halfSteps(4095, 1023) },
        {ZEQ_420(),         {2, 2}, false, halfSteps(255, 255)   },
        {YCoCg_DXT5(),      {1, 1}, false, 0                     },
        // clang-format on
    };
    return table;
}
