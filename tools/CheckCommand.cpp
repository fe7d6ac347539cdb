#include "MediaConversion/Errors.h"
#include "tools/Commands.h"
#include "tools/CommonArguments.h"
#include "tools/ConversionPlan.h"
#include "tools/Files.h"
#include "tools/OpenFile.h"

#include <iostream>

namespace Zeq {

namespace {

struct Options
{
    std::vector<std::string> files;
    std::string frames;
    JobSettings jobs;
};

void checkFile(const std::string& name, MemoryBudget& budget)
{
    const auto file = openMediaFile(name);
    const auto reservation =
        budget.reserve(file->contents().byteCount + floatByteCount(file->contents()));
    readPicture(*file);
}

std::vector<std::string> filesToCheck(const Options& options)
{
    std::vector<std::string> files;
    const auto append = [&](const std::vector<std::string>& names) {
        files.insert(files.end(), names.begin(), names.end());
    };
    for (const auto& name : options.files) {
        const auto found =
            isFolderName(name) ? mediaFilesIn(name) : namesOf(inputFiles({name}, options.frames));
        if (found.empty())
            MediaConversion::fail(name, ": no media files found");
        append(found);
    }
    return files;
}

int run(const Options& options)
{
    std::vector<Job> jobs;
    for (const auto& name : filesToCheck(options))
        jobs.push_back({name, "", [name](MemoryBudget& budget) { checkFile(name, budget); }});
    const auto failures = runJobs(jobs, options.jobs);
    if (!options.jobs.isQuiet)
        std::cout << jobs.size() << (jobs.size() == 1 ? " file" : " files") << " checked, "
                  << failures << " bad\n";
    return failures ? ExitStatus::failure : ExitStatus::success;
}

}

Command check()
{
    const auto options = std::make_shared<Options>();
    const auto jobs = jobArguments(options->jobs);
    std::vector<Argument> arguments{
        filesArgument(options->files, "media files, or folders of such, with the folders inside"),
        framesArgument(options->frames)};
    arguments.insert(arguments.end(), jobs.begin(), jobs.end());
    return {
        .description = sequencesText + std::string(R"(
Reads each file and converts its frame as a host does. Files that cannot be shown are named on the
error stream, with the reason.)"),
        .arguments = arguments,
        .run = [options] { return Zeq::run(*options); },
    };
}

}
