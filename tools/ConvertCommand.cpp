#include "MediaConversion/MediaFile/Headers.h"
#include "tools/Commands.h"
#include "tools/Conversion.h"
#include "tools/Files.h"
#include "tools/PictureTypes.h"
#include "tools/ReadingArguments.h"
#include "tools/Report.h"
#include "tools/RunReport.h"
#include "tools/StandardFiles.h"

#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <iostream>
#include <memory>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace Zeq {

namespace {

namespace fs = std::filesystem;

struct Options
{
    std::vector<std::string> files;  // the last one is the output
    std::string frames;
    std::string share;
    std::string report;
    std::string format;
    std::string depth;
    std::string extension;
    bool skipsExisting = false;
    bool updates = false;
    bool hasTimestamp = false;
    bool isPremultiplied = false;
    bool clips = false;
    bool hasToBeComplete = false;
    bool asJson = false;
    ReadingSettings reading;
    JobSettings jobs;
};

std::vector<std::string> depthNames()
{
    std::vector<std::string> names;
    names.reserve(Imaging::sampleDepths.size());
    for (const auto& depth : Imaging::sampleDepths)
        names.emplace_back(depth.name);
    return names;
}

std::vector<std::string> extensions()
{
    std::vector<std::string> all{"zeq"};
    for (const auto& type : pictureTypes())
        all.insert(all.end(), type.extensions.begin(), type.extensions.end());
    return all;
}

std::string description()
{
    return sequencesText + "\n" + gapsText + R"(

An OUTPUT that ends in .zeq is a media file. Of several files, OUTPUT is a sequence, which takes
their numbers, or a folder, with the kind of file in --to. Outputs appear when they are complete;
one that is an input, by whatever name, is refused.

A folder among the FILEs stands for the pictures in it and in the folders inside, of all kinds below
and some more, without hidden ones; in an OUTPUT that is a folder they keep their places. As OUTPUT,
- is standard output, with the kind of file in --to.

With --skip-existing, an output is left as it is when it is as large as its input and whole: a media
file that has all bytes of its frame, or another picture whose first and last rows can be read. With
--update it is left when it is no older than its input; with both, when both are true.

)" + shareText +
           "\n\n" + reportText + R"(

The same input and options make the same bytes each time. With --timestamp, pictures say when they
were made, in local time, where files of their kind can.

A photograph that says by EXIF which way up it is comes out upright.

Values are kept as they are stored: no colour conversion, no multiplication by alpha. Without
--depth a picture gets one that loses nothing, or is refused. Without --format a media file is
RGB-U8, or RGBA-U8 with alpha; of a picture of more than 8 bits it is RGB-DPX-FILLED for 10 bits
and RGB-SMPTE-2110, 12 bits, for more, and with alpha ZEQ-4224-HYBRID, 12 bits, which halves the
horizontal resolution of the colours.

Media files and whole numbers hold values from 0 to 1; half and float, which EXR and TIFF files may
have, hold all. Of media files RGBA-U8, BGRA-U8 and ZEQ-4224-HYBRID hold alpha, of other files all
but JPEG and BMP. What an output cannot hold is cut off at 0 and 1, what is no number becomes 0, and
alpha is dropped. A file that loses by that is named on the error stream, also with --quiet, with
the part of its samples and how far they reach, and --clip accepts it without a word.

A picture's channels are those named R, G, B and A, or Y and A, wherever they stand in the file; of
an EXR file with layers those of none, of the only one, or of the one in --layer. Other channels are
left out, which is named as above.

--scale and --exposure bring values in before that: they multiply the file's red, green and blue,
and not alpha, as floats, before anything is cut off or rounded. Where these are linear light, as in
most EXR files, that is a change of exposure; other values are multiplied as they are, too.

EXR files are taken and written like all others, with the values as they are stored, so that every
picture comes back as it was. Compositors expect colours there that are multiplied by alpha: with
--premultiplied they are divided by it as an EXR file becomes another kind, except where alpha is 0,
and multiplied as another kind becomes EXR. From EXR to EXR they stay.

A picture that is larger than 8192 x 4320 is refused when its file stores less than a pixel in 16
of it, or has less than a thousandth of its bytes: its size is then a mere claim.

  zeq convert shot.####.zeq png/shot.####.png
  zeq convert --format ZEQ-422 --frames 1001-1100 shot.%04d.exr media/shot.%04d.zeq
  zeq convert --exposure -2.5 render.exr plate.zeq
  zeq convert --to dpx --skip-existing *.zeq dpx/

Formats:
)" + listed(MediaConversion::mediaFormatNames()) +
           "\n\nKinds of files:\n" + listed(extensions());
}

const std::string& outputOf(const Options& options)
{
    if (options.files.size() < 2 || options.files.back().empty())
        throw UsageError("OUTPUT is required");
    return options.files.back();
}

// The kind of files in a folder and on standard output; nothing for an OUTPUT whose name says it.
std::string outputExtension(const Options& options)
{
    const auto& output = outputOf(options);
    const bool isStandardOutput = output == standardFile;
    if (!isStandardOutput && !isFolderName(output)) {
        if (extensionOf(output).empty())
            throw UsageError(output + " has no ending; for a folder write " + output +
                             "/ and --to png");
        if (!options.extension.empty())
            throw UsageError("--to is for an OUTPUT that is a folder or -");
        return {};
    }
    if (!options.extension.empty())
        return options.extension;
    if (options.format.empty())
        throw UsageError(isStandardOutput ? "--to is needed for standard output"
                                          : "--to is needed for an OUTPUT that is a folder");
    return "zeq";
}

WantedResult wantedResult(const Options& options)
{
    WantedResult wanted;
    wanted.format = MediaConversion::mediaFormat(options.format);
    for (const auto& depth : Imaging::sampleDepths)
        if (options.depth == depth.name)
            wanted.depth = depth.depth;
    wanted.extension = outputExtension(options);
    wanted.reading = options.reading.options();
    wanted.hasTimestamp = options.hasTimestamp;
    wanted.isPremultiplied = options.isPremultiplied;
    wanted.isLossAccepted = options.clips;
    return wanted;
}

// Before anything is read or written.
void checkPlan(const std::vector<Conversion>& plan, const Options& options,
               const WantedResult& wanted)
{
    const auto isExr = [&](const Conversion& conversion) {
        return outputKind(conversion, wanted) == "exr" ||
               extensionOf(conversion.input.name) == "exr";
    };
    if (options.isPremultiplied && std::ranges::none_of(plan, isExr))
        throw UsageError("--premultiplied is for EXR files");
    if (outputOf(options) == standardFile && options.asJson)
        throw UsageError("--json and the picture would both be written to standard output");
    if (outputOf(options) == standardFile && ::isatty(STDOUT_FILENO))
        throw UsageError("pictures are not written to a terminal; pipe them into a program");
}

// Once for all frames, and before the first is read. Those of files that were found in folders are
// made as they are converted.
void prepareFolders(const std::vector<Conversion>& plan, const std::string& output)
{
    if (output.ends_with('/'))
        makeFolder(output);
    for (const auto& conversion : plan)
        if (conversion.input.folder.empty())
            checkFolderOf(conversion.output);
}

std::vector<Conversion> planned(const Options& options, const WantedResult& wanted)
{
    const auto& output = outputOf(options);
    const auto& extension = wanted.extension;
    checkOutputName(extension.empty() ? output : "x." + extension, wanted);
    auto plan = planConversions(
        inputFiles({options.files.begin(), options.files.end() - 1}, options.frames), output,
        extension);
    checkPlan(plan, options, wanted);
    prepareFolders(plan, output);
    return plan;
}

bool isWholeOutput(const Conversion& conversion, const WantedResult& wanted, MemoryBudget& budget)
{
    try {
        const auto file = openFile(conversion.output);
        const auto& facts = file->facts();
        if (facts.size != openFile(conversion.input.name, wanted.reading)->facts().size)
            return false;
        const auto reservation = budget.reserve(facts.byteCount);
        file->checkWhole();
        return true;
    } catch (const std::exception&) {
        return false;  // it is made anew, and what is wrong with its input is said then
    }
}

// Also when the two times are the same. An input without a time is looked at by the conversion.
bool isUpToDate(const Conversion& conversion)
{
    std::error_code inputError;
    std::error_code outputError;
    const auto inputTime = fs::last_write_time(conversion.input.name, inputError);
    const auto outputTime = fs::last_write_time(conversion.output, outputError);
    return !inputError && !outputError && outputTime >= inputTime;
}

// Takes those whose outputs are there already out of the plan, and gives them.
std::vector<Conversion> takeFinished(std::vector<Conversion>& plan, const Options& options,
                                     const WantedResult& wanted, JobSettings settings)
{
    const auto isFinished = [&](const Conversion& conversion, MemoryBudget& budget) {
        return (!options.updates || isUpToDate(conversion)) &&
               (!options.skipsExisting || isWholeOutput(conversion, wanted, budget));
    };
    std::vector<Job> jobs;
    std::vector<char> areFinished(plan.size());
    for (std::size_t index = 0; index < plan.size(); ++index)
        if (plan[index].output != standardFile && exists(plan[index].output))
            jobs.push_back({plan[index].output, "", [&, index](MemoryBudget& budget) {
                                areFinished[index] = isFinished(plan[index], budget) ? 1 : 0;
                                return std::string();
                            }});
    settings.isQuiet = true;
    runJobs(jobs, settings);
    std::vector<Conversion> finished;
    std::vector<Conversion> others;
    for (std::size_t index = 0; index < plan.size(); ++index)
        (areFinished[index] ? finished : others).push_back(std::move(plan[index]));
    plan = std::move(others);
    return finished;
}

RunReport reportOf(const std::vector<Conversion>& plan, const std::vector<JobOutcome>& outcomes,
                   const std::vector<Conversion>& finished)
{
    RunReport report;
    for (std::size_t index = 0; index < plan.size(); ++index)
        report.entries.push_back({plan[index].input.name, plan[index].output, outcomes[index]});
    for (const auto& conversion : finished)
        report.entries.push_back({conversion.input.name, conversion.output, {}, true});
    return report;
}

int run(const Options& options)
{
    const auto wanted = wantedResult(options);
    const auto share = Share::parse(options.share);
    auto plan = shareOf(planned(options, wanted), share);
    ReportFile reportFile(options.report);
    auto settings = options.jobs;
    settings.isQuiet = settings.isQuiet || options.asJson || outputOf(options) == standardFile;
    removeUnfinishedFilesOnSignals();
    const auto finished = options.skipsExisting || options.updates
                              ? takeFinished(plan, options, wanted, settings)
                              : std::vector<Conversion>();
    for (const auto& conversion : finished)
        reportFile.add(conversion.input, conversion.output, {}, true);
    settings.onEnd = [&](std::size_t index, const JobOutcome& outcome) {
        reportFile.add(plan[index].input, plan[index].output, outcome);
    };
    const bool namesGaps =
        share.isFirst() && (options.hasToBeComplete || options.asJson || !options.jobs.isQuiet);
    const auto missing =
        namesGaps ? reportGaps({options.files.begin(), options.files.end() - 1}, options.frames)
                  : 0;
    const auto outcomes =
        runConversions(plan, settings, [&](const Conversion& conversion, MemoryBudget& budget) {
            return convertFile(conversion, wanted, budget);
        });
    const auto failures = failuresIn(outcomes);
    if (options.asJson) {
        auto report = reportOf(plan, outcomes, finished);
        report.missing = missing;
        report.print();
    } else if (!settings.isQuiet && plan.size() + finished.size() != 1) {
        std::cout << plan.size() - failures << " converted, " << finished.size() << " skipped, "
                  << failures << " failed";
        if (missing)
            std::cout << ", " << missing << " missing";
        std::cout << '\n';
    }
    const bool isTooFew = options.hasToBeComplete && missing;
    const bool isReported = reportFile.finish();
    return failures || isTooFew || !isReported ? ExitStatus::failure : ExitStatus::success;
}

}

Command convert()
{
    const auto options = std::make_shared<Options>();
    return {
        .description = description(),
        .arguments = withJobArguments(
            withReadingArguments(
                {required({"FILE", "FILE... OUTPUT", &options->files,
                           "what is converted, and what it becomes"}),
                 {"-f,--format", "FORMAT", &options->format, "the format of media files, as below",
                  MediaConversion::mediaFormatNames()},
                 {"-d,--depth", "DEPTH", &options->depth,
                  "of other pictures: 8, 10, 12, 16 bits, half or float", depthNames()},
                 {"--to", "KIND", &options->extension,
                  "the kind of files in a folder or on standard output, as below", extensions()},
                 {"--premultiplied", "", &options->isPremultiplied,
                  "colours in EXR files are multiplied by alpha, those in other files are not"},
                 clipArgument(options->clips),
                 framesArgument(options->frames),
                 shareArgument(options->share),
                 completeArgument(options->hasToBeComplete),
                 {"--skip-existing", "", &options->skipsExisting,
                  "leave outputs that exist and are whole as they are"},
                 {"--update", "", &options->updates,
                  "leave outputs that are no older than their inputs"},
                 {"--timestamp", "", &options->hasTimestamp,
                  "write into pictures when they were made"},
                 reportArgument(options->report),
                 jsonArgument(options->asJson)},
                options->reading),
            options->jobs),
        .run = [options] { return Zeq::run(*options); },
    };
}

}
