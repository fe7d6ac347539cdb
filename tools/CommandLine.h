#pragma once

#include "tools/Commands.h"

#include <functional>
#include <vector>

namespace Zeq {

// What the command line asks for, one of these commands, to be called for the exit status. Does
// nothing itself but print the help or the version. Throws a UsageError.
std::function<int()> parseCommandLine(const std::vector<CommandEntry>& table, int argumentCount,
                                      char** arguments);

}
