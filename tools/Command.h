#pragma once

#include <functional>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

namespace Zeq {

// One argument of a sub-command. The parser, the help, the manual page and the completion all know
// it from here.
struct Argument
{
    using Target = std::variant<bool*, std::string*, std::vector<std::string>*>;

    std::string names;  // "-o,--output"; without hyphens it stands for what is given without a name
    std::string value;  // what stands for the value in the help; a switch has none
    Target target;
    std::string help;
    std::vector<std::string> choices = {};  // in any case of letters; empty when any value will do
    bool isRequired = false;

    bool isPositional() const { return names.front() != '-'; }
};

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

// A command line that cannot be understood, found before anything is done.
class UsageError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

namespace ExitStatus {

inline constexpr int success = 0;
inline constexpr int failure = 1;
inline constexpr int usage = 2;

}

}
