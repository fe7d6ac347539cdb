#pragma once

#include "tools/Command.h"
#include "tools/Jobs.h"

#include <string>
#include <vector>

// Arguments that several sub-commands take.
namespace Zeq {

inline Argument filesArgument(std::vector<std::string>& files, const std::string& help)
{
    return {
        .names = "FILE", .value = "FILE...", .target = &files, .help = help, .isRequired = true};
}

inline Argument framesArgument(std::string& frames)
{
    return {.names = "--frames",
            .value = "LIST",
            .target = &frames,
            .help = "only these frames of a sequence: 1-100, 1-100x2, 1,5,9"};
}

inline std::vector<Argument> jobArguments(JobSettings& settings)
{
    return {
        {.names = "-j,--jobs",
         .value = "N",
         .target = &settings.jobs,
         .help = "how many files at once (default: one for each processor)"},
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

// How to name the frames of a sequence, for the descriptions of sub-commands.
inline const char* const sequencesText =
    "A FILE may name a sequence: shot.####.zeq or shot.%04d.zeq stands for all its frames.";

}
