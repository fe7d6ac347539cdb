#include "MediaConversion/Version.h"
#include "tools/Commands.h"
#include "tools/HelpTexts.h"

#include <iostream>
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

void printCommand(const CommandEntry& entry)
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

int run()
{
    std::cout << ".TH ZEQ 1 \"\" \"zeq " << MediaConversion::Version::text() << "\"\n"
              << ".SH NAME\nzeq \\- " << escaped(programSummary()) << "\n"
              << ".SH SYNOPSIS\n.B zeq\n.I COMMAND\n[\\fIOPTION\\fR...] [\\fIFILE\\fR...]\n"
              << ".SH COMMANDS\n";
    for (const auto& entry : commands())
        if (!entry.isHidden)
            printCommand(entry);
    std::cout << ".SH OPTIONS\n"
              << ".TP\n\\fB\\-h\\fR, \\fB\\-\\-help\\fR\nprint the help of zeq or of a command\n"
              << ".TP\n\\fB\\-\\-version\\fR\nprint the version\n"
              << ".SH NAMES\n"
              << escaped(namesText()) << "\n.SH EXIT STATUS\n"
              << escaped(exitStatusText()) << "\n";
    return ExitStatus::success;
}

}

Command man()
{
    return {.description = "Prints the source of the manual page.", .arguments = {}, .run = run};
}

}
