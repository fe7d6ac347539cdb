#include "host/headless/Options.h"

#include <utility>

const char* const usage =
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

Options parseOptions(const std::vector<std::string>& arguments)
{
    Options options;
    options.plugIn = DEFAULT_PLUG_IN;
    auto argument = arguments.begin();
    const auto value = [&] {
        const auto& option = *argument;
        if (++argument == arguments.end())
            throw UsageError("Option " + option + " needs a value");
        return *argument;
    };

    bool optionsEnded = false;
    for (; argument != arguments.end(); ++argument) {
        if (optionsEnded || argument->size() < 2 || argument->front() != '-')
            options.files.push_back(*argument);
        else if (*argument == "--")
            optionsEnded = true;
        else if (*argument == "-o" || *argument == "--output")
            options.folder = value();
        else if (*argument == "--plugin")
            options.plugIn = value();
        else if (*argument == "--exr")
            options.exr = true;
        else if (*argument == "-h" || *argument == "--help")
            options.help = true;
        else
            throw UsageError("Unknown option " + *argument);
    }
    if (options.files.empty() && !options.help)
        throw UsageError("No files given");
    return options;
}
