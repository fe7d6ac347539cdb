// Every media format to float BGRA, as the reader converts it, and full frames to every packed
// format, each beside the limit of the memory and the plain arithmetic. All three run in turn in
// every iteration, and the ratios reported are the medians of the iterations' own: they hold when
// the machine's speed drifts.

#include "MediaConversion/MediaFile/MediaFormatCodes.h"
#include "MediaConversion/MediaPipeline/ConversionRegistry.h"
#include "MediaConversion/MediaPipeline/Encoder.h"
#include "MediaConversion/MediaPipeline/Formats.h"
#include "MediaConversion/MediaPipeline/FrameSinkDestination.h"
#include "MediaConversion/MediaPipeline/FullFrame.h"
#include "MediaConversion/MediaPipeline/HostMemoryResource.h"
#include "MediaConversion/MediaPipeline/PackedFrame.h"
#include "MediaConversion/MediaPipeline/SelfPruningMemoryPool.h"
#include "benchmarks/Limit.h"
#include "tests/support/PlainDecoding.h"
#include "tests/support/PlainEncoding.h"

#include <benchmark/benchmark.h>
#include <opencv2/core.hpp>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <memory>
#include <vector>

namespace {

using namespace Velmora::Formats;
using Velmora::FrameFormat;

constexpr int iterations = 15;

std::unique_ptr<Velmora::ImageFrame> frameOf(const FrameFormat& format, const cv::Mat& image)
{
    if (Velmora::FullFormatCvTypes().contains(format))
        return std::make_unique<Velmora::FullFrame>(format, image);
    return std::make_unique<Velmora::PackedFrame>(format, image);
}

cv::Mat noise(const FrameFormat& format, const cv::Size& size)
{
    const auto& packing = format.pixelPacking;
    const auto& full = Velmora::FullFormatCvTypes();
    const auto& types = full.contains(format) ? full : Velmora::PackedFormatCvTypes();
    cv::Mat image(size.height / static_cast<int>(packing.rowsPerGroup),
                  size.width / static_cast<int>(packing.columnsPerGroup),
                  openCvType(format, types));
    if (image.depth() == CV_32F) {
        cv::randu(image, cv::Scalar::all(0), cv::Scalar::all(1));
        return image;
    }
    cv::Mat bytes(image.rows, image.cols * static_cast<int>(image.elemSize()), CV_8U, image.data,
                  image.step);
    cv::randu(bytes, 0, 256);
    return image;
}

// The plain arithmetic of the whole chain. Only blocks are not made from float directly.
cv::Mat plain(const Velmora::ImageFrame& frame, const FrameFormat& destination)
{
    if (destination == BGRA_F32())
        return MediaConversion::plainBgraF32(frame);
    if (frame.format() != BGRA_F32() || destination != YCoCg_DXT5())
        return MediaConversion::plainEncode(dynamic_cast<const Velmora::FullFrame&>(frame),
                                            destination);
    cv::Mat bytes;
    frame.image().convertTo(bytes, CV_8U, 255);
    return MediaConversion::plainEncode(Velmora::FullFrame(BGRA_U8(), bytes), destination);
}

bool sameBytes(const cv::Mat& one, const cv::Mat& other)
{
    return one.size() == other.size() && one.type() == other.type() &&
           std::memcmp(one.data, other.data, one.total() * one.elemSize()) == 0;
}

template <class Operation>
double seconds(const Operation& operation)
{
    const auto start = std::chrono::steady_clock::now();
    operation();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double median(std::vector<double> values)
{
    std::ranges::nth_element(values, values.begin() + static_cast<int>(values.size() / 2));
    return values[values.size() / 2];
}

struct Conversion
{
    FrameFormat source;
    FrameFormat destination;
};

// The frame's way through the Encoder. Like the reader, it holds a result until the next replaces
// it.
class Converter
{
public:
    explicit Converter(const Conversion& conversion)
        : m_encoder(conversion.source, conversion.destination), m_source(conversion.source)
    {
        m_encoder.connectFrameSink(&m_sink);
        m_encoder.start();
    }

    const cv::Mat& convert(const cv::Mat& image)
    {
        m_encoder.onNewFrame(frameOf(m_source, image));
        m_result = m_sink.takeFrame();
        return dynamic_cast<const Velmora::IImageFrame&>(*m_result).image();
    }

private:
    MediaConversion::FrameSinkDestination m_sink;
    MediaConversion::Encoder m_encoder;
    FrameFormat m_source;
    std::unique_ptr<Velmora::IFrame> m_result;
};

void convert(benchmark::State& state, const Conversion& conversion, const cv::Size& size,
             int threads)
{
    cv::setNumThreads(threads);
    Velmora::ImageFrame::setMemoryPool(
        std::make_shared<Velmora::SelfPruningMemoryPool<Velmora::HostMemoryResource>>());

    const cv::Mat image = noise(conversion.source, size);
    const auto frame = frameOf(conversion.source, image);
    const cv::Mat expected = plain(*frame, conversion.destination);
    Converter converter(conversion);
    if (!sameBytes(converter.convert(image), expected)) {
        state.SkipWithError("differs from the plain arithmetic");
        return;
    }

    cv::Mat outputs[2] = {expected.clone(), expected.clone()};
    for (int warmUp = 0; warmUp < 5; ++warmUp)
        converter.convert(image);

    std::vector<double> toLimit;
    std::vector<double> fromPlain;
    std::vector<double> limits;
    std::vector<double> oursAlone;
    int turn = 0;
    for (auto _ : state) {
        const double limit = seconds([&] { readAndWrite(image, outputs[turn ^= 1]); });
        const double ours = seconds([&] { converter.convert(image); });
        const double plainly = seconds([&] { plain(*frame, conversion.destination); });
        state.SetIterationTime(ours);
        limits.push_back(limit * 1e3);
        oursAlone.push_back(ours * 1e3);
        toLimit.push_back(ours / limit);
        fromPlain.push_back(plainly / ours);
    }
    state.counters["limit"] = median(limits);
    state.counters["ours"] = median(oursAlone);
    state.counters["ours/limit"] = median(toLimit);
    state.counters["plain/ours"] = median(fromPlain);
}

// A row of a Markdown table for each benchmark.
class TableReporter final : public benchmark::BenchmarkReporter
{
public:
    bool ReportContext(const Context&) override
    {
        GetOutputStream() << "| conversion, size, threads | limit, ms | ours, ms | ours / limit "
                             "| plain / ours |\n|---|---|---|---|---|\n";
        return true;
    }

    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const auto& run : runs) {
            if (run.error_occurred)
                GetErrorStream() << run.run_name.function_name << ": " << run.error_message << '\n';
            else
                GetOutputStream() << cv::format(
                    "| %s | %.2f | %.2f | %.2f | %.1f |\n", run.run_name.function_name.c_str(),
                    run.counters.at("limit").value, run.counters.at("ours").value,
                    run.counters.at("ours/limit").value, run.counters.at("plain/ours").value);
        }
        GetOutputStream().flush();
    }
};

std::vector<Conversion> conversions()
{
    std::vector<Conversion> all;
    for (const auto& [code, format] : MediaConversion::mediaFormatCodes())
        all.push_back({format, BGRA_F32()});
    for (const auto& [formats, steps] : MediaConversion::conversionRegistry()) {
        const auto& [destination, source] = formats;
        const bool starts = source == BGRA_F32() || source == BGRA_U8() || source == RGB_U8() ||
                            source == RGBA_U8();
        const bool isDirect = steps.size() == 1 || source == BGRA_F32();
        if (starts && isDirect && Velmora::PackedFormatCvTypes().contains(destination))
            all.push_back({source, destination});
    }
    return all;
}

void registerAll()
{
    for (const auto& conversion : conversions())
        for (const auto& size : {cv::Size(1920, 1080), cv::Size(3840, 2160)})
            for (const int threads : {1, 2})
                benchmark::RegisterBenchmark(
                    cv::format("%s to %s, %dx%d, %d", toString(conversion.source).c_str(),
                               toString(conversion.destination).c_str(), size.width, size.height,
                               threads)
                        .c_str(),
                    convert, conversion, size, threads)
                    ->Iterations(iterations)
                    ->UseManualTime();
}

}

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    registerAll();
    TableReporter table;
    benchmark::RunSpecifiedBenchmarks(&table);
    benchmark::Shutdown();
}
