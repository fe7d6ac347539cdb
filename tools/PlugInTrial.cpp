#include "tools/PlugInTrial.h"

#include "MediaConversion/Errors.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace Zeq {

namespace {

// Starts this program once more, to load the plug-in. A mere fork would have none of the
// threads that libraries have started here but, for ever, whatever locks they hold just then.
pid_t startTrial(std::string fileName, int output)
{
    std::string words[] = {"zeq", "load", std::move(fileName)};
    char* arguments[std::size(words) + 1] = {};
    std::ranges::transform(words, arguments, [](std::string& word) { return word.data(); });

    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    pid_t child = 0;
    const int error =
        ::posix_spawn(&child, "/proc/self/exe", &actions, nullptr, arguments, ::environ);
    ::posix_spawn_file_actions_destroy(&actions);
    if (error != 0)
        MediaConversion::fail("No trial process");
    return child;
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
    if (::pipe2(ends, O_CLOEXEC) != 0)
        MediaConversion::fail("No pipe to a trial process");
    const auto child = startTrial(fileName, ends[1]);
    ::close(ends[1]);
    const auto text = readAll(ends[0]);
    ::close(ends[0]);
    int status = 0;
    ::waitpid(child, &status, 0);
    if (WIFSIGNALED(status))
        return "it crashes while it is loaded, by signal " + std::to_string(WTERMSIG(status));
    if (WEXITSTATUS(status) != 0 && text.empty())
        return "it ends its process with status " + std::to_string(WEXITSTATUS(status));
    return WEXITSTATUS(status) == 0 ? "" : text;
}

}
