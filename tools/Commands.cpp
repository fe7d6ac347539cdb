#include "tools/Commands.h"

#include <vector>

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

}
