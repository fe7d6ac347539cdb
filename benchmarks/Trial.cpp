#include "benchmarks/Trial.h"

#include "MediaConversion/MediaPipeline/Formats.h"
#include "MediaConversion/MediaPipeline/Frames.h"
#include "benchmarks/Limit.h"
#include "tests/support/PlainDecoding.h"
#include "tests/support/PlainEncoding.h"

#include <algorithm>
#include <cstring>

namespace Benchmarks {

using namespace Velmora::Formats;
using Velmora::FrameFormat;

namespace {

// The plain arithmetic of the whole chain.
cv::Mat plainly(const Velmora::ImageFrame& frame, const FrameFormat& destination)
{
    if (destination == BGRA_F32())
        return MediaConversion::plainBgraF32(frame);
    if (const auto* packed = dynamic_cast<const Velmora::PackedFrame*>(&frame))
        return MediaConversion::plainDecode(*packed, destination);
    if (frame.format() != BGRA_F32() || destination != YCoCg_DXT5())
        return MediaConversion::plainEncode(dynamic_cast<const Velmora::FullFrame&>(frame),
                                            destination);
    // Blocks are the one packing that is not made from float directly.
    cv::Mat bytes;
    frame.image().convertTo(bytes, CV_8U, 255);
    return MediaConversion::plainEncode(Velmora::FullFrame(BGRA_U8(), bytes), destination);
}

bool sameBytes(const cv::Mat& one, const cv::Mat& other)
{
    return one.size() == other.size() && one.type() == other.type() &&
           std::memcmp(one.data, other.data, one.total() * one.elemSize()) == 0;
}

std::unique_ptr<OurWork> ourWork(const Conversion& conversion, const cv::Mat& image,
                                 Trial::Input input)
{
    if (input == Trial::Input::File)
        return std::make_unique<ReadingWork>(conversion, image);
    return std::make_unique<ConversionWork>(conversion, image);
}

}

Trial::ThreadCount::ThreadCount(int threads)
{
    cv::setNumThreads(threads);
}

Trial::Trial(const Conversion& conversion, const Setting& setting, Input input)
    : m_threadCount(setting.threads),
      m_conversion(conversion),
      m_image(makePicture(conversion.source, setting)),
      m_frame(frameOf(conversion.source, m_image)),
      m_ours(ourWork(conversion, m_image, input))
{
}

bool Trial::isExact()
{
    constexpr int framesUntilThePoolIsFilled = 5;
    for (int frame = 0; frame < framesUntilThePoolIsFilled; ++frame)
        ours();
    m_outputs[0] = plainly(*m_frame, m_conversion.destination);
    m_outputs[1] = m_outputs[0].clone();
    return sameBytes(m_ours->result(), m_outputs[0]);
}

void Trial::plain()
{
    m_plainResult = plainly(*m_frame, m_conversion.destination);
}

void Trial::limit()
{
    readAndWrite(m_image, m_outputs[m_turn ^= 1]);
}

void registerTrial(const std::string& name, const Conversion& conversion, const Setting& setting,
                   const Extent& extent, Results& results, const Measure& measure,
                   Trial::Input input)
{
    const std::string fullName = cv::format("%s, %s, %dx%d, %d", name.c_str(),
                                            setting.picture == Picture::Noise ? "noise" : "smooth",
                                            setting.size().width, setting.height, setting.threads);
    const auto run = [=, &results](benchmark::State& state) {
        Trial trial(conversion, setting, input);
        if (trial.isExact())
            return measure(state, trial);
        results.failures.push_back(fullName);
        state.SkipWithError("differs from the plain arithmetic");
    };
    const int rounds = extent.rounds * 1080 / std::max(setting.height, 1080);
    benchmark::RegisterBenchmark(fullName.c_str(), run)
        ->Iterations(std::max(rounds, 7))
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
}

}
