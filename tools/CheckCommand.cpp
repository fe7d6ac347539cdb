#include "MediaConversion/Encoder/Encoder.h"
#include "MediaConversion/MediaPipeline/Formats.h"
#include "tools/Commands.h"
#include "tools/Conversion.h"
#include "tools/OpenFile.h"
#include "tools/Report.h"
#include "tools/RunReport.h"

#include <cstddef>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

namespace Zeq {

namespace {

struct Options
{
    std::vector<std::string> files;
    std::string frames;
    std::string share;
    std::string report;
    bool hasToBeComplete = false;
    bool asJson = false;
    JobSettings jobs;
};

std::string checkFile(const InputFile& input, MemoryBudget& budget)
{
    throwProblem(input);
    const auto file = openMediaFile(input.name);
    const auto reservation = budget.reserve(file->facts().byteCount);
    MediaConversion::convert(file->readFrame(), Velmora::Formats::BGRA_F32());
    return {};
}

int run(const Options& options)
{
    const auto share = Share::parse(options.share);
    const auto files =
        shareOf(inputFiles(options.files, options.frames, InFolders::mediaFiles), share);
    ReportFile reportFile(options.report);
    std::vector<Job> jobs;
    jobs.reserve(files.size());
    for (const auto& file : files)
        jobs.push_back(
            {file.name, "", [file](MemoryBudget& budget) { return checkFile(file, budget); }});
    const bool namesGaps = share.isFirst() && (options.hasToBeComplete || !options.jobs.isQuiet);
    const auto missing = namesGaps ? reportGaps(options.files, options.frames) : 0;
    auto settings = options.jobs;
    settings.onEnd = [&](std::size_t index, const JobOutcome& outcome) {
        reportFile.add(files[index], {}, outcome);
    };
    const auto outcomes = runJobs(jobs, settings);
    const auto failures = failuresIn(outcomes);
    if (options.asJson) {
        RunReport report{.entries = {}, .missing = missing};
        for (std::size_t index = 0; index < jobs.size(); ++index)
            report.entries.push_back({jobs[index].name, {}, outcomes[index]});
        report.print();
    } else if (!options.jobs.isQuiet) {
        std::cout << jobs.size() << (jobs.size() == 1 ? " file" : " files") << " checked, "
                  << failures << " bad";
        if (missing)
            std::cout << ", " << missing << " missing";
        std::cout << '\n';
    }
    const bool isTooFew = options.hasToBeComplete && missing;
    const bool isReported = reportFile.finish();
    return failures || isTooFew || !isReported ? ExitStatus::failure : ExitStatus::success;
}

}

Command check()
{
    const auto options = std::make_shared<Options>();
    return {
        .description = sequencesText + R"(
Reads each file and converts its frame as a host does. Files that cannot be shown are named on the
error stream, with the reason, and so is what cannot be looked at and what holds no media file: all
of these count as bad, and the others are checked. Hidden files in folders are left out, and links
to folders inside are not followed.

)" + gapsText + "\n\n" +
                       shareText + "\n\n" + reportText,
        .arguments = withJobArguments(
            {filesArgument(options->files,
                           "media files, or folders of such, with the folders inside"),
             framesArgument(options->frames), shareArgument(options->share),
             completeArgument(options->hasToBeComplete), reportArgument(options->report),
             jsonArgument(options->asJson)},
            options->jobs),
        .run = [options] { return Zeq::run(*options); },
    };
}

}
