#include "tools/Commands.h"
#include "tools/Conversion.h"
#include "tools/Files.h"
#include "tools/OpenFile.h"
#include "tools/PictureModule.h"
#include "tools/Report.h"

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace Zeq {

namespace {

struct Options
{
    std::vector<std::string> files;
    std::string frames;
    std::string folder;
    int size = 256;
    JobSettings jobs;
};

void makeThumbnail(const Conversion& conversion, int largestSide, MemoryBudget& budget)
{
    const auto file = openFile(conversion.input.name);
    const auto& facts = file->facts();
    const auto reservation = budget.reserve(facts.byteCount);
    const auto picture = file->readPicture();
    checkNotEmpty(facts);
    auto view = reduced(picture, largestSide);
    view.depth = Imaging::SampleDepth::U8;
    writeOutput(conversion.output,
                [&](const std::string& name) { pictureModule().write(name, view, name); });
}

int run(const Options& options)
{
    if (options.folder.empty())
        throw UsageError("--output: a folder is required");
    const auto folder = options.folder.ends_with('/') ? options.folder : options.folder + "/";
    const auto plan = planConversions(inputFiles(options.files, options.frames), folder, "png");
    makeFolder(folder);
    const auto make = [&](const Conversion& conversion, MemoryBudget& budget) {
        makeThumbnail(conversion, options.size, budget);
        return std::string();
    };
    return failuresIn(runConversions(plan, options.jobs, make)) ? ExitStatus::failure
                                                                : ExitStatus::success;
}

}

Command thumbnail()
{
    const auto options = std::make_shared<Options>();
    return {
        .description = sequencesText + R"(
Writes shot.png with 8 bits for shot.zeq, with alpha where the file has it. What is small already
keeps its size.)",
        .arguments =
            withJobArguments({filesArgument(options->files, "media files and other pictures"),
                              required({"-o,--output", "DIR", &options->folder,
                                        "the folder to write to, made if it does not exist"}),
                              {.names = "--size",
                               .value = "N",
                               .target = &options->size,
                               .help = "the longer side in pixels (default: 256)",
                               .largest = 4096},
                              framesArgument(options->frames)},
                             options->jobs),
        .run = [options] { return Zeq::run(*options); },
    };
}

}
