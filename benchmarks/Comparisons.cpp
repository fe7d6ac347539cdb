#include "benchmarks/Comparisons.h"

#include "MediaConversion/MediaPipeline/Formats.h"
#include "benchmarks/peers/Peers.h"

#include <opencv2/core.hpp>

#include <cmath>
#include <cstddef>
#include <limits>
#include <string>

namespace Benchmarks {

const std::vector<Comparison>& comparisons()
{
    using namespace Velmora::Formats;
    using namespace Peers;
    using enum Trial::Input;
    // clang-format off
    static const auto& table = *new std::vector<Comparison>{
        // library, its work; our source and destination, whence; theirs / ours, has threads
        {"libswscale",  "yuyv422 to gbrpf32",      YUYV_422(),       BGRA_F32(),   Memory, 1.3, true,  scaleYuyv422,
         "three planes without alpha, 12 bytes a pixel where ours writes 16"},
        {"OpenCV",      "cvtColor and convertTo",  YUYV_422(),       BGRA_F32(),   Memory, 1.3, true,  convertYuy2,
         "YUY2 of limited range to 8-bit BGRA, then to float: at most 256 levels, two passes"},
        {"libswscale",  "yuv420p to gbrpf32",      ZEQ_420(),        BGRA_F32(),   Memory, 1.3, true,  scaleYuv420p,
         "from planes; otherwise as yuyv422"},
        {"libswscale",  "yuv422p10 to gbrpf32",    ZEQ_422(),        BGRA_F32(),   Memory, 1.3, true,  scaleYuv422p10,
         "from planes of 16-bit words, no groups to take apart; otherwise as yuyv422"},
        {"libswscale",  "x2rgb10 to gbrpf32",      RGB_DPX_FILLED(), BGRA_F32(),   Memory, 4,   true,  scaleX2rgb10,
         "its colours pass through YCbCr; otherwise as yuyv422"},
        {"OpenImageIO", "reads a 10-bit DPX file", RGB_DPX_FILLED(), BGRA_F32(),   File,   8,   true,  readDpx,
         "a DPX file to float RGB, where ours opens, reads and converts a media file; both in memory"},
        {"libavcodec",  "dds decoder, YCG2",       YCoCg_DXT5(),     BGRA_U8(),    Memory, 5,   true,  decodeDds,
         "the same blocks behind a header, to 8-bit RGBA where ours writes 8-bit BGRA"},
        {"libavcodec",  "Hap encoder, hap_q",      BGRA_U8(),        YCoCg_DXT5(), Memory, 6,   true,  encodeHapQ,
         "from RGBA to the same kind of blocks in a packet; no second compression"},
        {"libavcodec",  "Hap encoder, hap",        RGBA_U8(),        RGB_DXT1(),   Memory, 6,   true,  encodeHap,
         "in a packet, too; refines the end points, where ours takes the corners of the block's colours"},
        {"libsquish",   "DXT1, range fit",         RGBA_U8(),        RGB_DXT1(),   Memory, 6,   true,  encodeBySquish,
         "end points along the principal axis: its fastest way"},
        {"stb_dxt",     "DXT1, normal",            RGBA_U8(),        RGB_DXT1(),   Memory, 6,   false, encodeByStb,
         "one block a call, without threads; refines the end points once"},
    };
    // clang-format on
    return table;
}

namespace {

double peakSignalToNoise(const cv::Mat& one, const cv::Mat& other)
{
    const double error = cv::norm(one, other, cv::NORM_L2SQR);
    const auto values = static_cast<double>(one.total()) * one.channels();
    // Equal pictures get a figure, too.
    return -10 * std::log10(error / values + std::numeric_limits<double>::min());
}

QualityFigures quality(const Comparison& comparison)
{
    const InstalledPool pool;
    const cv::Mat source = photograph(comparison.source);
    ConversionWork ours(comparison.conversion(), source);
    const auto theirs = comparison.create(source, 1);
    ours.run();
    theirs->run();
    if (!comparison.isEncoder())
        return {peakSignalToNoise(theirs->picture(), ours.picture()), 0};
    const cv::Mat original = pictureOf(comparison.source, source);
    return {peakSignalToNoise(theirs->picture(), original),
            peakSignalToNoise(ours.picture(), original)};
}

void registerComparison(std::size_t row, const Setting& setting, const Extent& extent,
                        Results& results)
{
    const auto& comparison = comparisons()[row];
    const auto measure = [=, &comparison, &results](benchmark::State& state, Trial& trial) {
        enum
        {
            ours,
            theirs
        };
        const auto peer = comparison.create(trial.image(), setting.threads);
        const Rounds rounds(state, {[&] { trial.ours(); }, [&] { peer->run(); }});
        const ComparisonFigures figures{rounds.ratio(theirs, ours)};
        state.counters["theirs/ours"] = figures.theirsToOurs;
        results.comparisons[{row, setting}] = figures;
    };
    registerTrial(comparison.library + std::string(", ") + comparison.work, comparison.conversion(),
                  setting, extent, results, measure, comparison.input);
}

}

void registerComparisons(const Extent& extent, Results& results)
{
    for (std::size_t row = 0; row < comparisons().size(); ++row)
        for (const int height : extent.heights)
            for (const auto picture : extent.pictures)
                for (int threads = 1; threads <= (comparisons()[row].isThreaded ? 2 : 1); ++threads)
                    registerComparison(row, {picture, height, threads}, extent, results);
}

void measureQualities(Results& results)
{
    for (std::size_t row = 0; row < comparisons().size(); ++row)
        results.qualities[row] = quality(comparisons()[row]);
}

}
