#include "MediaConversion/Version.h"
#include "tools/Commands.h"
#include "tools/Report.h"

#include <algorithm>
#include <iostream>
#include <memory>
#include <string>

namespace Zeq {

namespace {

// Text as it stands, of which the formatter takes hyphens, backslashes and leading dots for its
// own.
std::string escaped(const std::string& text)
{
    std::string result;
    for (const char letter : text) {
        const bool startsLine = result.empty() || result.back() == '\n';
        if (startsLine && (letter == '.' || letter == '\''))
            result += "\\&";
        result += letter == '-' ? "\\-" : letter == '\\' ? "\\e" : std::string(1, letter);
    }
    return result;
}

std::string headOf(const Argument& argument)
{
    const auto comma = argument.names.find(',');
    auto text = "\\fB" + escaped(argument.names.substr(0, comma)) + "\\fR";
    if (comma != std::string::npos)
        text += ", \\fB" + escaped(argument.names.substr(comma + 1)) + "\\fR";
    return argument.value.empty() ? text : text + " \\fI" + escaped(argument.value) + "\\fR";
}

void printManualOf(const CommandEntry& entry)
{
    const auto command = entry.create();
    std::cout << ".SS zeq " << entry.name;
    for (const auto& argument : command.arguments)
        if (argument.isPositional())
            std::cout << ' ' << argument.value;
    std::cout << "\n" << escaped(entry.help) << ".\n";
    for (const auto& argument : command.arguments)
        if (!argument.isPositional())
            std::cout << ".TP\n" << headOf(argument) << "\n" << escaped(argument.help) << "\n";
    std::cout << ".PP\n.nf\n" << escaped(command.description) << "\n.fi\n";
}

int printManual()
{
    std::cout << ".TH ZEQ 1 \"\" \"zeq " << MediaConversion::Version::text() << "\"\n"
              << ".SH NAME\nzeq \\- " << escaped(programSummary) << "\n"
              << ".SH SYNOPSIS\n.B zeq\n.I COMMAND\n[\\fIOPTION\\fR...] [\\fIFILE\\fR...]\n"
              << ".SH COMMANDS\n";
    for (const auto& entry : commands())
        if (!entry.isHidden)
            printManualOf(entry);
    std::cout << ".SH OPTIONS\n"
              << ".TP\n\\fB\\-h\\fR, \\fB\\-\\-help\\fR\nprint the help of zeq or of a command\n"
              << ".TP\n\\fB\\-\\-version\\fR\nprint the version\n"
              << ".SH NAMES\n"
              << escaped(namesText) << "\n.SH EXIT STATUS\n"
              << escaped(exitStatusText) << "\n";
    return ExitStatus::success;
}

// "-o,--output" as "-o --output", or as "-o|--output" where a shell's pattern is wanted.
std::string separated(std::string names, char separator)
{
    std::ranges::replace(names, ',', separator);
    return names;
}

void printCompletionOf(const CommandEntry& entry)
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

int printCompletion()
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
    COMPREPLY=()
    # What follows is a name, which readline completes, with all that has to be quoted in it.
    case " ${COMP_WORDS[*]:1:COMP_CWORD-1} " in *" -- "*) return ;; esac
    # "--to=png" is three words.
    if [ "$current" = = ]; then
        current=
    elif [ "$previous" = = ]; then
        previous=${COMP_WORDS[COMP_CWORD-2]}
    fi
    if [ "$COMP_CWORD" -eq 1 ]; then
        COMPREPLY=($(compgen -W ")"
              << names << R"(" -- "$current"))
        return
    fi
    case $command in
)";
    for (const auto& entry : commands())
        if (!entry.isHidden)
            printCompletionOf(entry);
    std::cout << R"(    esac
    if [ -n "$words" ]; then
        # They are taken in small letters as well.
        [ -n "$current" ] && [ "$current" = "${current,,}" ] && words=${words,,}
        COMPREPLY=($(compgen -W "$words" -- "$current"))
    elif [ -z "$takesValue" ] && [ "${current#-}" != "$current" ]; then
        COMPREPLY=($(compgen -W "$options" -- "$current"))
    fi
}
complete -o bashdefault -o default -F _zeq zeq
)";
    return ExitStatus::success;
}

}

Command man()
{
    return {.description = "Prints the source of the manual page.",
            .arguments = {},
            .run = printManual};
}

Command completion()
{
    const auto shell = std::make_shared<std::string>();
    return {.description = "Prints the completion for bash.",
            .arguments = {required({"SHELL", "SHELL", shell.get(), "bash", {"bash"}})},
            .run = [shell] { return printCompletion(); }};
}

}
