#include "tools/Commands.h"
#include "tools/Conversion.h"
#include "tools/Files.h"
#include "tools/InputFiles.h"
#include "tools/Jobs.h"
#include "tools/OpenFile.h"
#include "tools/PictureModule.h"
#include "tools/PictureTypes.h"
#include "tools/Report.h"

#include <filesystem>
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
    std::string output;
};

Imaging::View viewOf(const std::string& fileName)
{
    const auto file = openFile(fileName);
    const auto& facts = file->facts();
    MemoryBudget budget(0);  // for its check of sizes that no machine holds
    const auto reservation = budget.reserve(facts.byteCount);
    const auto picture = file->readPicture();
    checkNotEmpty(facts);
    return pictureModule().viewOf(picture, std::filesystem::path(fileName).filename());
}

int run(const Options& options)
{
    if (options.output.empty())
        throw UsageError("--output: a file is required");
    if (!findPictureType(extensionOf(options.output)))
        throw UsageError(options.output + ": files of this kind are not written");
    const auto files = inputFiles(options.files, options.frames);
    if (const auto input = InputNames(files).sameAs(options.output))
        throw UsageError("the sheet would overwrite the input " + *input);
    removeUnfinishedFilesOnSignals();
    const auto& pictures = pictureModule();
    std::vector<Imaging::View> views;
    const auto failures =
        forEachFile(files, [&](const std::string& name) { views.push_back(viewOf(name)); });
    if (!views.empty()) {
        writeOutput(options.output, [&](const std::string& temporaryName) {
            pictures.writeContactSheet(temporaryName, views);
        });
        std::cout << shown(options.output) << ": " << views.size()
                  << (views.size() == 1 ? " file\n" : " files\n");
    }
    return failures ? ExitStatus::failure : ExitStatus::success;
}

}

Command sheet()
{
    const auto options = std::make_shared<Options>();
    return {
        .description = sequencesText + R"(
Each view has its file's name, size and depth below. Transparent pictures lie on a checkerboard.)",
        .arguments = {filesArgument(options->files, "media files and other pictures"),
                      required({"-o,--output", "SHEET", &options->output,
                                "the file to write: sheet.png"}),
                      framesArgument(options->frames)},
        .run = [options] { return Zeq::run(*options); },
    };
}

}
