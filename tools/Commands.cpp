#include "tools/Commands.h"

namespace Zeq {

const std::vector<CommandEntry>& commands()
{
    // clang-format off
    static const auto& table = *new std::vector<CommandEntry>{
        {"info",       "show what media files say of themselves",                info},
        {"check",      "read and convert media files, and name those that fail", check},
        {"convert",    "convert between media files and other pictures",         convert},
        {"sheet",      "put small views of many files on one page",              sheet},
        {"thumbnail",  "write a small PNG file for each file",                   thumbnail},
        {"doctor",     "look whether everything is in its place",                doctor},
        {"load",       "load a plug-in",                                         load,       true},
        {"man",        "print the manual page",                                  man,        true},
        {"completion", "print the completion for a shell",                       completion, true},
    };
    // clang-format on
    return table;
}

Argument filesArgument(std::vector<std::string>& files, const std::string& help)
{
    return {
        .names = "FILE", .value = "FILE...", .target = &files, .help = help, .isRequired = true};
}

Argument framesArgument(std::string& frames)
{
    return {.names = "--frames",
            .value = "LIST",
            .target = &frames,
            .help = "only these frames of a sequence: 1-100, 1-100x2, 1,5,9"};
}

std::vector<Argument> jobArguments(JobSettings& settings)
{
    return {
        {.names = "-j,--jobs",
         .value = "N",
         .target = &settings.jobs,
         .help = "how many files at once (default: one for each processor)",
         .largest = 1024},
        {.names = "--memory",
         .value = "SIZE",
         .target = &settings.memory,
         .help = "what their frames may take together: 512M, 4G (default: 4G)"},
        {.names = "-q,--quiet",
         .value = "",
         .target = &settings.isQuiet,
         .help = "print errors only"},
    };
}

std::string programSummary()
{
    return "Shows, checks and converts zeq media files";
}

std::string namesText()
{
    return R"(What is printed shows control characters, bytes that are no UTF-8 and backslashes in names as
\x1b, \n, \\: printf '%b' gives the name back. With --json, names are as JSON has them.)";
}

std::string exitStatusText()
{
    return "Exit status: 0 all went well, 1 something failed, 2 the command line was wrong.";
}

std::string sequencesText()
{
    return "A FILE may name a sequence: shot.####.zeq or shot.%04d.zeq stands for all its frames.";
}

}
