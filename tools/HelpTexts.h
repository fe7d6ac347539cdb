#pragma once

#include <string>

// Texts that the help and the manual page share.
namespace Zeq {

inline std::string programSummary()
{
    return "Shows, checks and converts zeq media files";
}

inline std::string exitStatusText()
{
    return "Exit status: 0 all went well, 1 something failed, 2 the command line was wrong.";
}

}
