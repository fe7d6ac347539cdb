#pragma once

#include <string>

// Texts that the help and the manual page share.
namespace Zeq {

inline std::string programSummary()
{
    return "Shows, checks and converts zeq media files";
}

inline std::string namesText()
{
    return R"(What is printed shows control characters, bytes that are no UTF-8 and backslashes in names as
\x1b, \n, \\: printf '%b' gives the name back. With --json, names are as JSON has them.)";
}

inline std::string exitStatusText()
{
    return "Exit status: 0 all went well, 1 something failed, 2 the command line was wrong.";
}

}
