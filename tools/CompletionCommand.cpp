#include "tools/Commands.h"

#include <iostream>
#include <memory>
#include <string>

namespace Zeq {

namespace {

// "-o,--output" as "-o --output", or as "-o|--output" where a shell's pattern is wanted.
std::string separated(std::string names, char separator)
{
    for (auto& letter : names)
        letter = letter == ',' ? separator : letter;
    return names;
}

void printCommand(const CommandEntry& entry)
{
    const auto command = entry.create();
    std::string options = "-h --help";
    std::cout << "        " << entry.name << ")\n            case $previous in\n";
    for (const auto& argument : command.arguments) {
        if (argument.isPositional())
            continue;
        options += " " + separated(argument.names, ' ');
        if (argument.value.empty())
            continue;
        std::string choices;
        for (const auto& choice : argument.choices)
            choices += (choices.empty() ? "" : " ") + choice;
        std::cout << "                " << separated(argument.names, '|') << ") words=\"" << choices
                  << "\"; takesValue=1 ;;\n";
    }
    std::cout << "            esac\n            options=\"" << options << "\"\n            ;;\n";
}

void printBash()
{
    std::string names = "--help --version";
    for (const auto& entry : commands())
        if (!entry.isHidden)
            names += " " + entry.name;
    std::cout << R"(# Completion of zeq for bash.
_zeq()
{
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]}
    local command=${COMP_WORDS[1]} words= options= takesValue=
    if [ "$COMP_CWORD" -eq 1 ]; then
        COMPREPLY=($(compgen -W ")"
              << names << R"(" -- "$current"))
        return
    fi
    case $command in
)";
    for (const auto& entry : commands())
        if (!entry.isHidden)
            printCommand(entry);
    std::cout << R"(    esac
    if [ -n "$words" ]; then
        COMPREPLY=($(compgen -W "$words" -- "$current"))
    elif [ -z "$takesValue" ] && [ "${current#-}" != "$current" ]; then
        COMPREPLY=($(compgen -W "$options" -- "$current"))
    else
        compopt -o filenames
        COMPREPLY=($(compgen -f -- "$current"))
    fi
}
complete -F _zeq zeq
)";
}

}

Command completion()
{
    const auto shell = std::make_shared<std::string>();
    return {.description = "Prints the completion for bash.",
            .arguments = {{.names = "SHELL",
                           .value = "SHELL",
                           .target = shell.get(),
                           .help = "bash",
                           .choices = {"bash"},
                           .isRequired = true}},
            .run = [shell] {
                printBash();
                return ExitStatus::success;
            }};
}

}
