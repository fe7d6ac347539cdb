#pragma once

namespace Zeq {

// Parses the command line and runs the sub-command that it names. Gives the exit status.
int runCommandLine(int argumentCount, char** arguments);

}
