#include "MediaConversion/Errors.h"
#include "MediaConversion/Version.h"
#include "tools/Commands.h"
#include "tools/Files.h"
#include "tools/PictureModule.h"
#include "tools/Report.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <opencv2/core/utility.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <iostream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace Zeq {

namespace {

namespace fs = std::filesystem;

// The first of these folders that has the file, with the file's name.
std::string findFile(const std::string& name, const std::vector<fs::path>& folders)
{
    for (const auto& folder : folders)
        if (const auto file = folder / name; fs::exists(file))
            return fs::canonical(file);
    return {};
}

// Where the plug-in is when it was built or installed with this program, or put where users put it.
std::string findPlugIn()
{
    const fs::path folder = programFolder();
    const char* const home = std::getenv("HOME");
    return findFile("zeqReader.so", {folder / "../reader", folder / LIBRARY_FOLDER,
                                     fs::path(home ? home : "/") / ".host/plugins"});
}

std::string findImageIoPlugIn()
{
    const fs::path folder = programFolder();
    return findFile("zeq.imageio.so", {folder / "../oiio", folder / LIBRARY_FOLDER});
}

int loadPlugIn(const fs::path& plugIn)
{
    // A host has this library in its process when it loads the plug-in. Where both were built
    // together, without a host, it stands beside the plug-in.
    const auto hostLibrary = plugIn.parent_path() / "../host/DDImage/libDDImage.so";
    ::dlopen(hostLibrary.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (::dlopen(plugIn.c_str(), RTLD_NOW | RTLD_LOCAL))
        return ExitStatus::success;
    std::cout << ::dlerror();
    return ExitStatus::failure;
}

std::string readAll(int pipe)
{
    std::string text;
    char block[512];
    for (ssize_t count = 0; (count = ::read(pipe, block, sizeof block)) > 0;)
        text.append(block, static_cast<std::size_t>(count));
    return text;
}

struct Trial
{
    int status;  // as waitpid() gives it
    std::string output;
};

// Runs a program to its end. A mere fork would have none of the threads that libraries have started
// here but, for ever, whatever locks they hold just then.
Trial runTrial(const char* program, std::vector<std::string> words)
{
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0)
        MediaConversion::fail("No pipe to a trial process");
    std::vector<char*> arguments(words.size() + 1);
    std::ranges::transform(words, arguments.begin(), [](std::string& word) { return word.data(); });

    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    pid_t child = 0;
    const int error =
        ::posix_spawnp(&child, program, &actions, nullptr, arguments.data(), ::environ);
    ::posix_spawn_file_actions_destroy(&actions);
    ::close(ends[1]);
    Trial trial{.status = 0, .output = readAll(ends[0])};
    ::close(ends[0]);
    if (error != 0)
        MediaConversion::fail("No trial process: ", program);
    ::waitpid(child, &trial.status, 0);
    return trial;
}

// Loads a plug-in in a process of its own, as it may bring its process down. Gives what went wrong;
// empty when it loads.
std::string tryPlugIn(const std::string& fileName)
{
    const auto [status, text] = runTrial("/proc/self/exe", {"zeq", "load", fileName});
    if (WIFSIGNALED(status))
        return "it crashes while it is loaded, by signal " + std::to_string(WTERMSIG(status));
    if (WEXITSTATUS(status) != 0 && text.empty())
        return "it ends its process with status " + std::to_string(WEXITSTATUS(status));
    return WEXITSTATUS(status) == 0 ? "" : text;
}

// What a plug-in lacks first beside the host's library, which a host has in its process; empty when
// it lacks nothing else.
std::string lackingInHost(const std::string& fileName)
{
    const auto [status, output] = runTrial("ldd", {"ldd", "-r", fileName});
    if (status != 0)
        return "ldd -r fails";
    std::istringstream lines(output);
    for (std::string line; std::getline(lines >> std::ws, line);) {
        const bool isLacking = line.find("not found") != std::string::npos ||
                               line.find("undefined symbol") != std::string::npos;
        const bool isOfHost =
            line.starts_with("libDDImage.so") || line.find("2DD5Image") != std::string::npos;
        if (isLacking && !isOfHost)
            return line;
    }
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
        return print("OpenImageIO", pictureModule().openImageIoVersion);
    } catch (const std::exception& error) {
        print("OpenImageIO", std::string("missing; ") + error.what());
        return false;
    }
}

bool printPlugIn(const std::string& plugIn)
{
    if (plugIn.empty()) {
        print("plug-in", IS_READER_BUILT ? "not found; name it with --plugin"
                                         : "not built with this program; name one with --plugin");
        return !IS_READER_BUILT;
    }
    print("plug-in", plugIn);
    auto problem = fs::exists(plugIn) ? tryPlugIn(fs::absolute(plugIn)) : "no such file";
    const bool needsHost = problem.starts_with("libDDImage.so");
    if (needsHost)
        problem = lackingInHost(fs::absolute(plugIn));
    print("plug-in loads", !problem.empty() ? "no; " + problem
                           : needsHost      ? "yes, in the host, which brings libDDImage.so"
                                            : "yes");
    if (problem.empty())
        print("host", "add " + fs::absolute(plugIn).parent_path().native() +
                          " to the folders in which the host looks for plug-ins, or copy the "
                          "plug-in into one of these");
    return problem.empty();
}

// A build without the plug-in is as good as any.
bool printImageIoPlugIn(const std::string& plugIn)
{
    print("OpenImageIO plug-in", plugIn.empty() ? "not found" : plugIn);
    if (plugIn.empty())
        return true;
    const auto problem = tryPlugIn(plugIn);
    print("OpenImageIO plug-in loads", problem.empty() ? "yes" : "no; " + problem);
    print("OpenImageIO programs",
          "set OIIO_LIBRARY_PATH, or OPENIMAGEIO_PLUGIN_PATH from OpenImageIO 2.6.3 on, to " +
              fs::path(plugIn).parent_path().native() +
              "; only programs with the version above take notice of the plug-in");
    return problem.empty();
}

int diagnose(const std::string& plugIn)
{
    print("zeq", MediaConversion::Version::text());
    print("program", programFolder() + "/zeq");
    print("OpenCV", cv::getVersionString());
    const bool hasPictures = printOpenImageIo();
    const bool hasPlugIn = printPlugIn(plugIn.empty() ? findPlugIn() : plugIn);
    const bool hasImageIo = printImageIoPlugIn(findImageIoPlugIn());
    return hasPictures && hasPlugIn && hasImageIo ? ExitStatus::success : ExitStatus::failure;
}

}

Command doctor()
{
    const auto plugIn = std::make_shared<std::string>();
    return {
        .description =
            R"(Looks for the host's reader plug-in in the build tree, where it is installed and in
~/.host/plugins, loads it, and says what the host has to be told. Then does the same for the
plug-in for programs that read pictures through OpenImageIO.)",
        .arguments = {{"--plugin", "PATH", plugIn.get(), "the plug-in to try"}},
        .run = [plugIn] { return diagnose(*plugIn); }};
}

Command load()
{
    const auto plugIn = std::make_shared<std::string>();
    return {.description = "Loads a plug-in and ends; where that fails, prints why.",
            .arguments = {required({"PLUGIN", "PLUGIN", plugIn.get(), "the plug-in to load"})},
            .run = [plugIn] { return loadPlugIn(*plugIn); }};
}

}
