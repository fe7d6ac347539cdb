#include "MediaConversion/Encoder/Encoder.h"
#include "MediaConversion/MediaPipeline/Formats.h"
#include "tools/Commands.h"
#include "tools/Conversion.h"
#include "tools/OpenFile.h"
#include "tools/Report.h"

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
    bool hasToBeComplete = false;
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

std::vector<InputFile> filesToCheck(const Options& options)
{
    std::vector<InputFile> files;
    for (const auto& name : options.files) {
        const auto found =
            isFolderName(name) ? mediaFilesIn(name) : inputFiles({name}, options.frames);
        files.insert(files.end(), found.begin(), found.end());
    }
    return files;
}

int run(const Options& options)
{
    std::vector<Job> jobs;
    for (const auto& file : filesToCheck(options))
        jobs.push_back(
            {file.name, "", [file](MemoryBudget& budget) { return checkFile(file, budget); }});
    const bool namesGaps = options.hasToBeComplete || !options.jobs.isQuiet;
    const auto missing = namesGaps ? reportGaps(options.files, options.frames) : 0;
    const auto failures = runJobs(jobs, options.jobs);
    if (!options.jobs.isQuiet) {
        std::cout << jobs.size() << (jobs.size() == 1 ? " file" : " files") << " checked, "
                  << failures << " bad";
        if (missing)
            std::cout << ", " << missing << " missing";
        std::cout << '\n';
    }
    const bool isTooFew = options.hasToBeComplete && missing;
    return failures || isTooFew ? ExitStatus::failure : ExitStatus::success;
}

}

Command check()
{
    const auto options = std::make_shared<Options>();
    return {
        .description = sequencesText + R"(
Reads each file and converts its frame as a host does. Files that cannot be shown are named on the
error stream, with the reason, and so is what cannot be looked at and what holds no media file: all
of these count as bad, and the others are checked. Links to folders inside are not followed.

)" + gapsText,
        .arguments = withJobArguments(
            {filesArgument(options->files,
                           "media files, or folders of such, with the folders inside"),
             framesArgument(options->frames), completeArgument(options->hasToBeComplete)},
            options->jobs),
        .run = [options] { return Zeq::run(*options); },
    };
}

}
