#include "MediaConversion/Version.h"
#include "tools/Commands.h"
#include "tools/Files.h"
#include "tools/PictureModule.h"
#include "tools/PlugInTrial.h"
#include "tools/Report.h"

#include <opencv2/core/utility.hpp>

#include <cstdlib>
#include <exception>
#include <filesystem>
#include <iostream>
#include <memory>
#include <string>

namespace Zeq {

namespace {

namespace fs = std::filesystem;

// Where the plug-in is when it was built or installed with this program, or put where users put it.
std::string findPlugIn()
{
    const fs::path folder = programFolder();
    const char* const home = std::getenv("HOME");
    const fs::path places[] = {folder / "../reader", folder / LIBRARY_FOLDER,
                               fs::path(home ? home : "/") / ".host/plugins"};
    for (const auto& place : places)
        if (const auto plugIn = place / "zeqReader.so"; fs::exists(plugIn))
            return fs::canonical(plugIn);
    return {};
}

bool print(const std::string& name, const std::string& value)
{
    std::cout << name << ": " << shown(value) << '\n';
    return true;
}

bool printOpenImageIo()
{
    try {
        return print("OpenImageIO", pictureModule().openImageIoVersion());
    } catch (const std::exception& error) {
        print("OpenImageIO", std::string("missing; ") + error.what());
        return false;
    }
}

bool printPlugIn(const std::string& plugIn)
{
    if (plugIn.empty()) {
        print("plug-in", "not found; name it with --plugin");
        return false;
    }
    print("plug-in", plugIn);
    const auto problem = fs::exists(plugIn) ? tryPlugIn(fs::absolute(plugIn)) : "no such file";
    print("plug-in loads", problem.empty() ? "yes" : "no; " + problem);
    if (problem.find("DDImage") != std::string::npos)
        print("hint",
              "libDDImage.so comes with the host; outside of it set LD_LIBRARY_PATH to its "
              "folder");
    else if (problem.empty())
        print("host", "add " + fs::absolute(plugIn).parent_path().native() +
                          " to the folders in which the host looks for plug-ins, or copy the "
                          "plug-in into one of these");
    return problem.empty();
}

int run(const std::string& plugIn)
{
    print("zeq", MediaConversion::Version::text());
    print("program", programFolder() + "/zeq");
    print("OpenCV", cv::getVersionString());
    const bool hasPictures = printOpenImageIo();
    const bool hasPlugIn = printPlugIn(plugIn.empty() ? findPlugIn() : plugIn);
    return hasPictures && hasPlugIn ? ExitStatus::success : ExitStatus::failure;
}

}

Command doctor()
{
    const auto plugIn = std::make_shared<std::string>();
    return {
        .description =
            R"(Looks for the host's reader plug-in in the build tree, where it is installed and in
~/.host/plugins, loads it, and says what the host has to be told.)",
        .arguments = {{.names = "--plugin",
                       .value = "PATH",
                       .target = plugIn.get(),
                       .help = "the plug-in to try"}},
        .run = [plugIn] { return Zeq::run(*plugIn); }};
}

}
