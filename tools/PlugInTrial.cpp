#include "tools/PlugInTrial.h"

#include "MediaConversion/Errors.h"

#include <dlfcn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>

namespace Zeq {

namespace {

[[noreturn]] void loadAndTell(const std::string& fileName, int pipe)
{
    const bool isLoaded = ::dlopen(fileName.c_str(), RTLD_NOW | RTLD_LOCAL);
    const char* const text = isLoaded ? "" : ::dlerror();
    const auto written = ::write(pipe, text, std::strlen(text));
    ::_exit(isLoaded && written == 0 ? 0 : 1);
}

std::string readAll(int pipe)
{
    std::string text;
    char block[512];
    for (ssize_t count = 0; (count = ::read(pipe, block, sizeof block)) > 0;)
        text.append(block, static_cast<std::size_t>(count));
    return text;
}

}

std::string tryPlugIn(const std::string& fileName)
{
    int ends[2];
    if (::pipe(ends) != 0)
        MediaConversion::fail("No pipe to a trial process");
    const pid_t child = ::fork();
    if (child < 0)
        MediaConversion::fail("No trial process");
    if (child == 0)
        loadAndTell(fileName, ends[1]);
    ::close(ends[1]);
    const auto text = readAll(ends[0]);
    ::close(ends[0]);
    int status = 0;
    ::waitpid(child, &status, 0);
    if (WIFSIGNALED(status))
        return "it crashes while it is loaded, by signal " + std::to_string(WTERMSIG(status));
    return WEXITSTATUS(status) == 0 ? "" : text;
}

}
