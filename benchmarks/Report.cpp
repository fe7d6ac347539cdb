#include "benchmarks/Report.h"

#include "benchmarks/Comparisons.h"
#include "benchmarks/Conversions.h"
#include "benchmarks/GrowthBenchmark.h"
#include "benchmarks/Machine.h"

#include <opencv2/core.hpp>

#include <algorithm>
#include <cstddef>
#include <fstream>
#include <optional>
#include <stdexcept>
#include <string>

namespace Benchmarks {

namespace {

using enum Picture;

constexpr auto introduction = R"(# How fast

Written by `benchmarks/run`, which measures everything here in one run and checks first, on the very
pictures that it times, that each conversion gives the bytes of the plain arithmetic.

- **Limit**: reads every byte of the input and writes every byte of the output in plain 16-byte
  steps, on as many threads: what memory allows, give or take what wider steps may still gain.
- **Plain**: the arithmetic as it is written, pixel by pixel in double precision, on as many threads.
  The tests hold the converters to it.
- **Ours**: a frame's way through the Encoder, its memory out of the pool, as the reader does it.
- **Others**: other libraries from Debian's packages on the nearest same work.

All of them take turns, and a figure is the median of the ratios of the single rounds. Pictures are
noise (random bytes) and smooth (gradients and a slow wave): a cell with two figures gives noise
first. Bold figures with a cross miss their target.

)";

constexpr auto conversionHead =
    "| from | to | 1080p, 1 thread | 1080p, 2 threads | 4K, 1 thread | 4K, 2 threads | target |\n"
    "|---|---|---|---|---|---|---|\n";

// The columns of the conversions.
constexpr struct
{
    int height;
    int threads;
} columns[] = {{1080, 1}, {1080, 2}, {2160, 1}, {2160, 2}};

template <class Figures>
std::optional<double> find(const Measured<Figures>& measured, std::size_t row,
                           const Setting& setting, double Figures::*figure)
{
    const auto found = measured.find({row, setting});
    if (found == measured.end())
        return std::nullopt;
    return found->second.*figure;
}

template <class Figures>
bool isMeasured(const Measured<Figures>& measured, std::size_t row)
{
    return std::ranges::any_of(measured,
                               [&](const auto& entry) { return entry.first.first == row; });
}

std::string number(double value)
{
    return cv::format(value < 9.995 ? "%.2f" : "%.1f", value);
}

// The figures of both pictures in a setting, as far as they were measured. `isMissed` says of one
// whether it misses its target.
template <class Figures, class IsMissed>
std::string cell(const Measured<Figures>& measured, std::size_t row, Setting setting,
                 double Figures::*figure, const IsMissed& isMissed)
{
    std::string text;
    for (const auto picture : {Noise, Smooth}) {
        setting.picture = picture;
        if (const auto value = find(measured, row, setting, figure)) {
            text += text.empty() ? "" : ", ";
            text += isMissed(*value) ? "**" + number(*value) + "** ✗" : number(*value);
        }
    }
    return text.empty() ? "–" : text;
}

// One of the conversions' figures, when it misses its target, and that target as text.
struct Aspect
{
    double ConversionFigures::*figure;
    bool (*isMissed)(double value, const Target& target, int threads);
    std::string (*target)(const Target& target);
};

const Aspect againstLimit{
    &ConversionFigures::oursToLimit,
    [](double value, const Target& target, int threads) {
        return value > target.toLimit.at(threads - 1);
    },
    [](const Target& target) {
        return number(target.toLimit[0]) + ", " + number(target.toLimit[1]);
    },
};

const Aspect againstPlain{
    &ConversionFigures::plainToOurs,
    [](double value, const Target& target, int) { return value < target.fromPlain; },
    [](const Target& target) {
        return target.fromPlain > 0 ? number(target.fromPlain) : std::string("–");
    },
};

void writeConversions(std::ostream& page, const Results& results, const Aspect& aspect)
{
    page << conversionHead;
    for (std::size_t row = 0; row < conversions().size(); ++row) {
        if (!isMeasured(results.conversions, row))
            continue;
        const auto& [source, destination, target] = conversions()[row];
        page << "| " << shortName(source) << " | " << shortName(destination);
        for (const auto& column : columns)
            page << " | "
                 << cell(results.conversions, row, {Noise, column.height, column.threads},
                         aspect.figure, [&](double value) {
                             return aspect.isMissed(value, conversions()[row].target,
                                                    column.threads);
                         });
        page << " | " << aspect.target(target) << " |\n";
    }
    page << '\n';
}

void writeConversions(std::ostream& page, const Results& results)
{
    page << "## Against the limit\n\nOurs / limit: 1 is as fast as memory. The target is an upper "
            "bound, on one thread and on two.\n\n";
    writeConversions(page, results, againstLimit);
    page << "## Against the plain arithmetic\n\nPlain / ours: how many times as fast ours is. The "
            "target is a lower bound.\n\n";
    writeConversions(page, results, againstPlain);
}

std::string qualityOf(const Results& results, std::size_t row)
{
    const auto found = results.qualities.find(row);
    if (found == results.qualities.end())
        return "–";
    const auto& [theirs, ours] = found->second;
    if (comparisons()[row].isEncoder())
        return cv::format("ours %.1f, theirs %.1f", ours, theirs);
    constexpr double equalPictures = 200;
    return theirs > equalPictures ? "equal" : cv::format("%.1f to ours", theirs);
}

void writeComparison(std::ostream& page, const Results& results, std::size_t row, int threads)
{
    const auto& comparison = comparisons()[row];
    page << "| " << shortName(comparison.source) << " to " << shortName(comparison.destination)
         << " | " << comparison.library << ": " << comparison.work << " | " << threads;
    const auto isMissed = [&](double value) { return value < comparison.wanted; };
    for (const int height : {1080, 2160})
        page << " | "
             << cell(results.comparisons, row, {Noise, height, threads},
                     &ComparisonFigures::theirsToOurs, isMissed);
    page << " | " << number(comparison.wanted) << " | " << qualityOf(results, row) << " |\n";
}

void writeComparisons(std::ostream& page, const Results& results)
{
    page << "## Beside other libraries\n\nTheirs / ours at equal numbers of threads: how many "
            "times as fast ours is. The last column compares a photograph: of decoders, their "
            "picture with ours; of encoders, what is decoded from either's blocks with the "
            "photograph.\n\n"
            "| ours | theirs | threads | 1080p | 4K | target | PSNR, dB |\n"
            "|---|---|---|---|---|---|---|\n";
    for (std::size_t row = 0; row < comparisons().size(); ++row)
        for (int threads = 1; threads <= (comparisons()[row].isThreaded ? 2 : 1); ++threads)
            if (isMeasured(results.comparisons, row))
                writeComparison(page, results, row, threads);
    page << "\nWhat they do differently:\n\n";
    for (const auto& comparison : comparisons())
        page << "- " << comparison.library << ", " << comparison.work << ": "
             << comparison.difference << ".\n";
    page << '\n';
}

void writeGrowth(std::ostream& page, const Results& results)
{
    constexpr int heights[] = {540, 1080, 2160, 4320};
    page << "## How cost grows\n\nOn noise: nanoseconds for a pixel, and behind it ours / limit. A "
            "frame of half a megapixel lies in the cache as a whole; one of 33 megapixels and its "
            "result of half a gigabyte lie in memory.\n\n"
            "![Nanoseconds for a pixel at 0.5 to 33 megapixels](benchmarks-growth.svg)\n\n"
            "| conversion | threads | 0.5 Mpixel | 2 | 8 | 33 |\n|---|---|---|---|---|---|\n";
    for (std::size_t row = 0; row < growthConversions().size(); ++row)
        for (const int threads : {1, 2}) {
            if (!isMeasured(results.growth, row))
                continue;
            page << "| " << shortName(growthConversions()[row]) << " | " << threads;
            for (const int height : heights) {
                const auto found = results.growth.find({row, {Noise, height, threads}});
                if (found == results.growth.end())
                    page << " | –";
                else
                    page << " | "
                         << cv::format("%.2f (%.2f)", found->second.nanosecondsPerPixel,
                                       found->second.oursToLimit);
            }
            page << " |\n";
        }
}

}

void writeReport(const std::filesystem::path& folder, const Results& results)
{
    std::ofstream page(folder / "benchmarks.md");
    page << introduction << machineTable() << '\n'
         << "![Each conversion beside the limit, the plain arithmetic and other libraries]"
            "(benchmarks-speed.svg)\n\n";
    writeConversions(page, results);
    writeComparisons(page, results);
    writeGrowth(page, results);
    if (!page.flush())
        throw std::runtime_error("cannot write " + (folder / "benchmarks.md").string());
}

}
