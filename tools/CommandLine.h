#pragma once

#include <functional>

namespace Zeq {

// What the command line asks for, to be called for the exit status. Does nothing itself but print
// the help or the version.
std::function<int()> parseCommandLine(int argumentCount, char** arguments);

}
