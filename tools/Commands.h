#pragma once

#include "tools/Jobs.h"

#include <cstdint>
#include <functional>
#include <string>
#include <variant>
#include <vector>

namespace Zeq {

// One argument of a sub-command. The parser, the help, the manual page and the completion all know
// it from here.
struct Argument
{
    // A std::uint64_t is a number of bytes like 512M or 4G, a double is at least 0. A number that
    // is 0 when nothing is said stays so for an empty text.
    using Target =
        std::variant<bool*, std::string*, std::vector<std::string>*, int*, double*, std::uint64_t*>;

    std::string names;  // "-o,--output"; without hyphens it stands for what is given without a name
    std::string value;  // what stands for the value in the help; a switch has none
    Target target;
    std::string help = {};
    std::vector<std::string> choices = {};  // in any case of letters; empty when any value will do
    int largest = 0;                        // what an int may be, from 1 on
    bool isRequired = false;

    bool isPositional() const { return names.front() != '-'; }
};

// The argument as one that has to be given.
Argument required(Argument argument);

// Arguments that several sub-commands take.
Argument filesArgument(std::vector<std::string>& files, const std::string& help);
Argument framesArgument(std::string& frames);
Argument shareArgument(std::string& share);
Argument reportArgument(std::string& report);
Argument completeArgument(bool& isComplete);
Argument jsonArgument(bool& asJson);
std::vector<Argument> withJobArguments(std::vector<Argument> arguments, JobSettings& settings);

// A sub-command as it is asked for: what it takes and what it does.
struct Command
{
    std::string description;  // a few lines for people who ask for help
    std::vector<Argument> arguments;
    std::function<int()> run;  // gives the exit status
};

// A row of the table of sub-commands.
struct CommandEntry
{
    std::string name;
    std::string help;  // one line
    Command (*create)();
    bool isHidden = false;
};

const std::vector<CommandEntry>& commands();

// What the command line asks for, one of these commands, to be called for the exit status. Does
// nothing itself but print the help or the version. Throws a UsageError.
std::function<int()> parseCommandLine(const std::vector<CommandEntry>& table, int argumentCount,
                                      char** arguments);

Command info();
Command check();
Command convert();
Command compare();
Command cat();
Command sheet();
Command thumbnail();
Command doctor();
Command load();
Command man();
Command completion();

// Texts that the help and the manual page share.
inline const std::string programSummary = "Shows, checks and converts zeq media files";
inline const std::string namesText =
    R"(What is printed shows control characters, bytes that are no UTF-8 and backslashes in names as
\x1b, \n, \\: printf '%b' gives the name back. With --json, names are as JSON has them.)";
inline const std::string exitStatusText =
    "Exit status: 0 all went well, 1 something failed, 2 the command line was wrong.";

// The words in indented lines, for the descriptions of sub-commands.
std::string listed(const std::vector<std::string>& words);

// What is said of gaps, for the descriptions of sub-commands.
inline const std::string gapsText =
    R"(Frames that are missing between the first and the last of a sequence are named on the error stream,
unless --frames says which are meant. With --complete that is a failure, with status 1, though all
frames that are there are worked on; with --quiet alone they are not named.)";

// What --share is for, for the descriptions of sub-commands.
inline const std::string shareText =
    R"(With --share 2/10 the second of 10 parts is done: every tenth file from the second on, so that slow
and fast ones are spread, whatever exists already. All tasks have to find the same inputs. The first
task alone names the frames that are missing, and fails for them.)";

// What --report is for, for the descriptions of sub-commands.
inline const std::string reportText =
    R"(--report appends a line of JSON for each file, as soon as it is done: input, output, status (ok,
failed, skipped), message, seconds and bytes, of what was written or checked. Several tasks may
append to the same file. When it cannot be written the work goes on, and the status is 1.)";

// How to name the frames of a sequence, for the descriptions of sub-commands.
inline const std::string sequencesText =
    R"(A FILE may name a sequence: shot.####.zeq stands for all its frames, and so do shot.@@@@.zeq,
shot.%04d.zeq and, in quotes for the shell, 'shot.$F4.zeq'. Frame -5 is shot.-005.zeq.
- is standard input, ./- a file.)";

}
