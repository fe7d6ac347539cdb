#include "imaging/Png.h"
#include "tools/Commands.h"
#include "tools/Conversion.h"
#include "tools/Files.h"
#include "tools/InputFiles.h"
#include "tools/Report.h"
#include "tools/Views.h"

#include <memory>
#include <string>
#include <vector>

namespace Zeq {

namespace {

struct Options
{
    std::vector<std::string> files;
    std::string frames;
    std::string output;
    bool isInPlace = false;
    ViewOptions views{.side = 256};
    JobSettings jobs;
};

void makeThumbnail(const Conversion& conversion, const ReadingOptions& reading,
                   const Options& options, MemoryBudget& budget)
{
    const auto view = readReduced(conversion.input.name, reading, options.views, budget).picture;
    const auto file = Imaging::encodedPng(view);
    if (options.isInPlace)
        writeInPlace(conversion.output, file);
    else
        writeOutput(conversion.output, file);
}

// A name without an ending is that of a folder, which may still have to be made.
std::string outputName(const std::string& output)
{
    if (output.empty())
        throw UsageError("--output: a file or a folder is required");
    if (output.ends_with('/') || extensionOf(output) == "png")
        return output;
    if (!isFolderName(output) && !extensionOf(output).empty())
        throw UsageError(output + ": thumbnails are PNG files; for a folder write " + output + "/");
    return output + "/";
}

int run(const Options& options)
{
    const auto output = outputName(options.output);
    const auto reading = options.views.reading.options();
    const auto plan = planConversions(inputFiles(options.files, options.frames), output, "png");
    if (output.ends_with('/'))
        makeFolder(output);
    else
        checkFolderOf(output);
    const auto make = [&](const Conversion& conversion, MemoryBudget& budget) {
        makeThumbnail(conversion, reading, options, budget);
        return std::string();
    };
    return failuresIn(runConversions(plan, options.jobs, make)) ? ExitStatus::failure
                                                                : ExitStatus::success;
}

}

Command thumbnail()
{
    const auto options = std::make_shared<Options>();
    auto arguments = viewArguments(options->views);
    arguments.insert(
        arguments.begin(),
        {filesArgument(options->files, "media files and other pictures, or folders of such"),
         required({"-o,--output", "OUTPUT", &options->output,
                   "a PNG file, a sequence of these, or a folder"})});
    arguments.push_back(framesArgument(options->frames));
    arguments.push_back({"--in-place", "", &options->isInPlace,
                         "write into files that are there, for programs that have them open"});
    return {
        .description = sequencesText + R"(

Writes 8 bits, with alpha where the file has it. What is small already keeps its size. In a folder,
which is made if it does not exist, shot.zeq becomes shot.png.
)" + displayText + R"(

  zeq thumbnail shot.0001.zeq -o shot.png
  zeq thumbnail shot.####.zeq -o small/)",
        .arguments = withJobArguments(arguments, options->jobs),
        .run = [options] { return Zeq::run(*options); },
    };
}

}
