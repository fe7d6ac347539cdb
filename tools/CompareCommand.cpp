#include "MediaConversion/MediaFile/Headers.h"
#include "tools/Commands.h"
#include "tools/Comparison.h"
#include "tools/Conversion.h"
#include "tools/Files.h"
#include "tools/InputFiles.h"
#include "tools/PictureTypes.h"
#include "tools/ReadingArguments.h"
#include "tools/Report.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <iomanip>
#include <iostream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Zeq {

using Imaging::channelNames;
using Imaging::Deviation;
using Imaging::Difference;

namespace {

using Json = nlohmann::ordered_json;

struct Options
{
    std::vector<std::string> files;
    std::string format;
    double tolerance = 0;
    std::string heatMap;
    std::string frames;
    bool asJson = false;
    ReadingSettings reading;
    JobSettings jobs;
};

// A pair with what came of it: a comparison, or a problem.
struct Outcome
{
    Pair pair;
    Comparison comparison = {};
    std::string problem = {};

    const Difference& difference() const { return comparison.difference; }
    bool isCompared() const { return problem.empty(); }
    bool isWithin(double tolerance) const
    {
        return isCompared() && difference().ofAll().largest <= tolerance;
    }
};

// What came of all pairs.
struct Summary
{
    std::size_t compared = 0;
    std::size_t within = 0;
    Difference difference;           // over all pictures
    const Outcome* worst = nullptr;  // the pair with the largest deviation
};

Summary summaryOf(const std::vector<Outcome>& outcomes, double tolerance)
{
    Summary summary;
    for (const auto& outcome : outcomes) {
        if (!outcome.isCompared())
            continue;
        ++summary.compared;
        summary.within += outcome.isWithin(tolerance) ? 1 : 0;
        const auto& difference = outcome.difference();
        if (difference.ofAll().largest > summary.difference.ofAll().largest) {
            summary.difference.worst = difference.worst;
            summary.worst = &outcome;
        }
        auto& channelCount = summary.difference.channelCount;
        channelCount = std::max(channelCount, difference.channelCount);
        for (std::size_t channel = 0; channel < difference.channelCount; ++channel)
            summary.difference.ofChannels[channel].add(difference.ofChannels[channel]);
    }
    return summary;
}

void printRow(const char* name, const Deviation& deviation)
{
    std::cout << std::left << std::setw(7) << name << std::right;
    for (const double number : {deviation.largest, deviation.mean(), deviation.rootMeanSquare(),
                                deviation.peakSignalToNoise()})
        std::cout << std::setw(13) << text(number);
    std::cout << '\n';
}

void printTable(const Difference& difference)
{
    std::cout << "channel      largest         mean          RMS     PSNR, dB\n";
    for (std::size_t channel = 0; channel < difference.channelCount; ++channel)
        printRow(channelNames[channel], difference.ofChannels[channel]);
    printRow("all", difference.ofAll());
}

std::string worstText(const Difference& difference)
{
    if (difference.ofAll().largest == 0)
        return "none";
    const auto& worst = difference.worst;
    const auto valueText = [&](const cv::Vec4f& value) {
        std::string samples;
        for (int channel = 0; channel < static_cast<int>(difference.channelCount); ++channel)
            samples += " " + text(value[channel]);
        return samples;
    };
    return std::to_string(worst.position.x) + ", " + std::to_string(worst.position.y) + ", " +
           channelNames[worst.channel] + ":" + valueText(worst.value) + " and" +
           valueText(worst.otherValue);
}

std::string alphaText(const Outcome& outcome)
{
    const auto& comparison = outcome.comparison;
    if (comparison.hasAlpha == comparison.otherHasAlpha)
        return {};
    const auto& pair = outcome.pair;
    const auto& with = comparison.hasAlpha ? pair.name : pair.otherName;
    const auto& without = comparison.hasAlpha ? pair.otherName : pair.name;
    return "only " + with + " has alpha; " + without + " counts as opaque";
}

std::string verdict(bool isWithin, double tolerance)
{
    if (tolerance == 0)
        return isWithin ? "equal" : "different";
    return (isWithin ? "within the tolerance of " : "beyond the tolerance of ") + text(tolerance);
}

void printOne(const Outcome& outcome, double tolerance)
{
    const auto& difference = outcome.difference();
    std::cout << shown(outcome.pair.name) << ", " << shown(outcome.pair.otherName) << ": "
              << difference.size.width << " x " << difference.size.height << " pixels\n";
    printTable(difference);
    std::cout << "worst pixel: " << worstText(difference) << '\n';
    if (const auto alpha = alphaText(outcome); !alpha.empty())
        std::cout << "alpha: " << shown(alpha) << '\n';
    std::cout << verdict(outcome.isWithin(tolerance), tolerance) << '\n';
}

void printLine(const Outcome& outcome)
{
    const auto all = outcome.difference().ofAll();
    std::cout << shown(outcome.pair.name) << ", " << shown(outcome.pair.otherName) << ": largest "
              << text(all.largest) << ", mean " << text(all.mean()) << ", RMS "
              << text(all.rootMeanSquare()) << ", PSNR " << text(all.peakSignalToNoise())
              << " dB, worst pixel " << worstText(outcome.difference());
    if (const auto alpha = alphaText(outcome); !alpha.empty())
        std::cout << ", " << shown(alpha);
    std::cout << '\n';
}

void printSequence(const std::vector<Outcome>& outcomes, const Summary& summary, double tolerance)
{
    for (const auto& outcome : outcomes)
        if (outcome.isCompared())
            printLine(outcome);
    if (summary.compared)
        printTable(summary.difference);
    if (summary.worst)
        std::cout << "worst pixel: " << shown(summary.worst->pair.name) << ", "
                  << worstText(summary.difference) << '\n';
    std::cout << outcomes.size() << (outcomes.size() == 1 ? " pair: " : " pairs: ")
              << summary.within << " " << verdict(true, tolerance) << ", "
              << summary.compared - summary.within << " " << verdict(false, tolerance) << ", "
              << outcomes.size() - summary.compared << " failed\n";
}

// JSON has no number for what is not finite.
Json jsonOf(double number)
{
    if (std::isfinite(number))
        return number;
    return text(number);
}

Json jsonOf(const Deviation& deviation)
{
    return {{"largest", jsonOf(deviation.largest)},
            {"mean", jsonOf(deviation.mean())},
            {"rms", jsonOf(deviation.rootMeanSquare())},
            {"psnr", jsonOf(deviation.peakSignalToNoise())}};
}

void addDeviations(Json& json, const Difference& difference)
{
    for (std::size_t channel = 0; channel < difference.channelCount; ++channel)
        json["channels"][channelNames[channel]] = jsonOf(difference.ofChannels[channel]);
    json["all"] = jsonOf(difference.ofAll());
}

Json worstJson(const Difference& difference)
{
    if (difference.ofAll().largest == 0)
        return {};
    const auto& worst = difference.worst;
    Json json{{"column", worst.position.x},
              {"row", worst.position.y},
              {"channel", channelNames[worst.channel]}};
    for (int channel = 0; channel < static_cast<int>(difference.channelCount); ++channel) {
        json["value"].push_back(jsonOf(worst.value[channel]));
        json["otherValue"].push_back(jsonOf(worst.otherValue[channel]));
    }
    return json;
}

Json jsonOf(const Outcome& outcome, double tolerance)
{
    Json json{{"file", outcome.pair.name}, {"other", outcome.pair.otherName}};
    json["problem"] = outcome.isCompared() ? Json() : Json(outcome.problem);
    json["withinTolerance"] = outcome.isWithin(tolerance);
    if (!outcome.isCompared())
        return json;
    const auto& difference = outcome.difference();
    json["width"] = difference.size.width;
    json["height"] = difference.size.height;
    json["hasAlpha"] = outcome.comparison.hasAlpha;
    json["otherHasAlpha"] = outcome.comparison.otherHasAlpha;
    addDeviations(json, difference);
    json["worst"] = worstJson(difference);
    return json;
}

void printJson(const std::vector<Outcome>& outcomes, const Summary& summary, double tolerance)
{
    Json json{{"tolerance", tolerance}, {"withinTolerance", summary.within == outcomes.size()}};
    if (summary.compared)
        addDeviations(json, summary.difference);
    json["pairs"] = Json::array();
    for (const auto& outcome : outcomes)
        json["pairs"].push_back(jsonOf(outcome, tolerance));
    // File names are bytes: what is not UTF-8 is replaced.
    std::cout << json.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
}

std::vector<Pair> planned(const Options& options)
{
    if (!options.format.empty() && options.files.size() != 1)
        throw UsageError("--against compares one A with what the format makes of it, without a B");
    if (options.format.empty() && options.files.size() != 2)
        throw UsageError("A and B are required, or A with --against");
    auto pairs =
        options.format.empty()
            ? pairsOf(options.files[0], options.files[1], options.frames)
            : pairsWithFormat(options.files[0], *MediaConversion::mediaFormat(options.format),
                              options.frames);
    if (!options.heatMap.empty()) {
        if (!isFolderName(options.heatMap) && !findPictureType(extensionOf(options.heatMap)))
            throw UsageError(options.heatMap + ": files of this kind are not written");
        planHeatMaps(pairs, options.heatMap);
        if (options.heatMap.ends_with('/'))
            makeFolder(options.heatMap);
    }
    return pairs;
}

int run(const Options& options)
{
    std::vector<Outcome> outcomes;
    for (auto& pair : planned(options))
        outcomes.push_back({std::move(pair)});
    const auto reading = options.reading.options();
    std::vector<Job> jobs;
    for (auto& outcome : outcomes)
        jobs.push_back({outcome.pair.name, "", [&outcome, &reading](MemoryBudget& budget) {
                            try {
                                outcome.comparison = compare(outcome.pair, reading, budget);
                            } catch (const std::exception& error) {
                                outcome.problem = messageOf(error);
                                throw;
                            }
                            return std::string();
                        }});
    removeUnfinishedFilesOnSignals();
    runJobs(jobs, options.jobs);

    const auto summary = summaryOf(outcomes, options.tolerance);
    if (options.asJson)
        printJson(outcomes, summary, options.tolerance);
    else if (!options.jobs.isQuiet && sequenceOf(options.files[0]))
        printSequence(outcomes, summary, options.tolerance);
    else if (!options.jobs.isQuiet && summary.compared)
        printOne(outcomes.front(), options.tolerance);
    return summary.within == outcomes.size() ? ExitStatus::success : ExitStatus::failure;
}

std::string description()
{
    return R"(A and B are two files or two sequences, shot.####.zeq or shot.%04d.zeq, whose frames are compared by
their numbers: media files and other pictures, of any kind on either side. - is standard input.
Values are compared as they are stored, scaled to 0 to 1: no colour conversion, no multiplication by
alpha. Where only one picture has alpha, the other counts as opaque. PSNR is that of the largest
value, at least 1, to the root mean square. What is infinite or no number on one side only is
infinitely far.

With --against, A is compared with itself as a media file of this format would hold it: with what
the format loses.

A heat map shows each pixel's largest difference in false colours, with a scale and the names below
it. Of a sequence, heat.####.png or a folder takes them.

  zeq compare photo.png photo.zeq --tolerance 0.002
  zeq compare shot.####.zeq exr/shot.####.exr -o heat.####.png
  zeq compare photo.png --against ZEQ-422 -o heat.png

The exit status is 1 as well when a difference is larger than the tolerance, when pictures have
different sizes and when a frame has no counterpart.

Formats:
)" + listed(MediaConversion::mediaFormatNames());
}

}

Command compare()
{
    const auto options = std::make_shared<Options>();
    return {
        .description = description(),
        .arguments = withJobArguments(
            {required({"A", "A [B]", &options->files, "what is compared"}),
             {"--against", "FORMAT", &options->format,
              "compare A with what this format of media files makes of it",
              MediaConversion::mediaFormatNames()},
             {"-t,--tolerance", "N", &options->tolerance,
              "the largest difference that is let pass (default: 0)"},
             {"-o,--output", "HEATMAP", &options->heatMap,
              "the picture of the differences to write: heat.png"},
             layerArgument(options->reading),
             framesArgument(options->frames),
             {"--json", "", &options->asJson, "print an object with an entry for each pair"}},
            options->jobs),
        .run = [options] { return Zeq::run(*options); },
    };
}

}
