#include "host/headless/HeadlessHost.h"
#include "host/headless/OutputNames.h"
#include "imaging/ContactSheet.h"
#include "imaging/PictureWriter.h"
#include "imaging/StandardStreams.h"

#include <CLI/CLI.hpp>

#include <exception>
#include <filesystem>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

using namespace Headless;

namespace {

// What the command line asks for.
struct Options
{
    std::filesystem::path plugIn = DEFAULT_PLUG_IN;
    std::filesystem::path folder = "pictures";
    bool exr = false;
    bool help = false;
    std::vector<std::string> files;
};

constexpr auto usage =
    R"(Usage: headlessHost [OPTION...] FILE...

Reads media files through the reader plug-in, as a host does, and writes each as a PNG file (8 bits
where the file has 8, otherwise 16) and all of them on one contact sheet, contact-sheet.png.

  -o, --output DIR  the folder to write to, made if it does not exist (default: pictures)
      --exr         write each picture as a float EXR file as well
      --plugin PATH the plug-in to load (default: the one built with this program)
  -h, --help        show this text
      --            what follows are files

Exit status: 0 all files were read, 1 some were not, 2 the command line was wrong.
)";

Options parsed(int argumentCount, char** arguments)
{
    Options options;
    CLI::App parser;
    parser.set_help_flag();
    parser.add_option("-o,--output", options.folder)->take_last();
    parser.add_option("--plugin", options.plugIn)->take_last();
    parser.add_flag("--exr", options.exr);
    parser.add_flag("-h,--help", options.help);
    parser.add_option("files", options.files);
    parser.allow_extras();
    try {
        parser.parse(argumentCount, arguments);
    } catch (const CLI::ArgumentMismatch& error) {
        const std::string text = error.what();  // "--output: ..."
        throw CLI::ParseError("Option " + text.substr(0, text.find(':')) + " needs a value",
                              CLI::ExitCodes::ArgumentMismatch);
    }
    for (const auto& argument : parser.remaining())
        if (argument != "--")
            throw CLI::ParseError("Unknown option " + argument, CLI::ExitCodes::ExtrasError);
    if (options.files.empty() && !options.help)
        throw CLI::ParseError("No files given", CLI::ExitCodes::RequiredError);
    return options;
}

// Names each file that fails and goes on with the next. Gives the exit status.
int run(const Options& options)
{
    const HeadlessHost host(options.plugIn);
    OutputNames names(options.folder, options.files);
    std::filesystem::create_directories(options.folder);
    std::vector<Imaging::View> views;
    int status = 0;
    const auto fail = [&](const std::string& name, const std::exception& exception) {
        std::cerr << name << ": " << exception.what() << std::endl;
        status = 1;
    };

    std::cout << host.panelText() << std::endl;
    bool hasPicture = false;
    for (const auto& file : options.files) {
        const auto shownName = std::filesystem::path(file).filename().string();
        try {
            const auto picture = host.read(file);
            const auto output = names.next(file).string();
            Imaging::writePng(picture, output + ".png");
            if (options.exr)
                Imaging::writeExr(picture, output + ".exr");
            std::cout << file << ": " << picture.width << " x " << picture.height << ", "
                      << picture.depth << " bit, " << output << ".png"
                      << (options.exr ? " and .exr" : "") << std::endl;
            views.push_back(viewOf(picture, shownName));
            hasPicture = true;
        } catch (const std::exception& exception) {
            fail(file, exception);
            views.push_back(Imaging::failedView(shownName, exception.what()));
        }
    }
    const auto sheet = names.contactSheet().string();
    try {
        if (hasPicture) {
            Imaging::writeContactSheet(sheet, views, 0);
            std::cout << "Contact sheet: " << sheet << std::endl;
        }
    } catch (const std::exception& exception) {
        fail(sheet, exception);
    }
    return status;
}

}

int main(int argumentCount, char** arguments)
try {
    Programs::openStandardStreams();
    const auto options = parsed(argumentCount, arguments);
    int status = 0;
    if (options.help)
        std::cout << usage;
    else
        status = run(options);
    if (!std::cout.flush())
        throw std::runtime_error("The output could not be written");
    return status;
} catch (const CLI::ParseError& error) {
    std::cerr << "headlessHost: " << error.what() << "\n\n" << usage;
    return 2;
} catch (const std::exception& exception) {
    std::cerr << "headlessHost: " << exception.what() << std::endl;
    return 1;
}
