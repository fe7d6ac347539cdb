#include "tools/Commands.h"

#include "MediaConversion/Version.h"
#include "tools/Report.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>

// The one file that knows the parser's library, which takes long to compile.
namespace Zeq {

const std::vector<CommandEntry>& commands()
{
    // clang-format off
    static const auto& table = *new std::vector<CommandEntry>{
        {"info",       "show what media files say of themselves",                info},
        {"check",      "read and convert media files, and name those that fail", check},
        {"convert",    "convert between media files and other pictures",         convert},
        {"compare",    "say how far pictures are from others",                   compare},
        {"cat",        "write a sequence to another program, for a movie",       cat},
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

Argument required(Argument argument)
{
    argument.isRequired = true;
    return argument;
}

Argument filesArgument(std::vector<std::string>& files, const std::string& help)
{
    return required({"FILE", "FILE...", &files, help});
}

Argument framesArgument(std::string& frames)
{
    return {"--frames", "LIST", &frames, "only these frames of a sequence: 1-100, 1-100x2, -5-5:2"};
}

Argument shareArgument(std::string& share)
{
    return {"--share", "I/N", &share, "only the I-th of N parts, for tasks side by side"};
}

Argument reportArgument(std::string& report)
{
    return {"--report", "FILE", &report, "append a line of JSON to FILE as each file is done"};
}

Argument completeArgument(bool& isComplete)
{
    return {"--complete", "", &isComplete, "fail when frames of a sequence are missing"};
}

Argument jsonArgument(bool& asJson)
{
    return {"--json", "", &asJson, "print an object with an entry for each file, and errors"};
}

std::string listed(const std::vector<std::string>& words)
{
    std::string text;
    std::string line;
    for (const auto& word : words) {
        if (line.size() + word.size() > 84) {
            text += line + "\n";
            line.clear();
        }
        line += (line.empty() ? "  " : ", ") + word;
    }
    return text + line;
}

std::vector<Argument> withJobArguments(std::vector<Argument> arguments, JobSettings& settings)
{
    arguments.push_back(
        {.names = "-j,--jobs",
         .value = "N",
         .target = &settings.jobs,
         .help = "how many files at once (default: one for each processor it may have)",
         .largest = 1024});
    arguments.push_back(
        {"--memory", "SIZE", &settings.memory,
         "what their frames may take together: 512M, 4G (default: 4G, at most half\n"
         "of what it may have)"});
    arguments.push_back({"-q,--quiet", "", &settings.isQuiet, "print errors only"});
    return arguments;
}

namespace {

// Shows arguments as they are declared, without the library's own remarks.
class HelpFormatter final : public CLI::Formatter
{
public:
    HelpFormatter() { column_width(26); }

    std::string make_option_opts(const CLI::Option* option) const override
    {
        const auto& text = option->get_option_text();
        return option->get_positional() || text.empty() ? text : " " + text;
    }

    std::string make_option_usage(const CLI::Option* option) const override
    {
        return option->get_name(true) + option->get_option_text();
    }
};

// A number as the library reads it, but always as a decimal one, and without its remarks on what is
// none: it takes a zero in front for that of an octal number, and spaces and signs as well.
CLI::Validator number(const CLI::Validator& check, const std::string& otherwise, bool mayBeEmpty)
{
    return {[=](std::string& text) {
                if (text.empty() && mayBeEmpty)
                    return std::string();
                const std::string given = text;
                text.erase(0, text.find_first_not_of('0'));
                const auto isPlain = [](unsigned char letter) { return std::isalnum(letter); };
                const bool isNumber = !text.empty() && '1' <= text.front() && text.front() <= '9' &&
                                      std::ranges::all_of(text, isPlain);
                try {
                    if (isNumber && check(text).empty())
                        return std::string();
                } catch (const CLI::ValidationError&) {
                    // Some say it one way and some the other.
                }
                return given + " is no " + otherwise;
            },
            ""};
}

CLI::Validator byteCount()
{
    using Units = std::map<std::string, std::uint64_t>;
    const Units units{{"M", std::uint64_t{1} << 20}, {"G", std::uint64_t{1} << 30}};
    return number(CLI::AsNumberWithUnit(units, CLI::AsNumberWithUnit::UNIT_REQUIRED),
                  "amount like 512M or 4G", false);
}

CLI::Validator amount()
{
    return {[](std::string& text) {
                double value = 0;
                const auto* const end = text.data() + text.size();
                const auto [stop, error] = std::from_chars(text.data(), end, value);
                const bool isAmount =
                    error == std::errc() && stop == end && std::isfinite(value) && value >= 0;
                return isAmount ? std::string() : text + " is no number from 0 on, like 0.01";
            },
            ""};
}

// Not the library's own check, which prints all choices on one line.
CLI::Validator choice(const Argument& argument)
{
    return {[&argument](std::string& text) {
                const auto choice = std::ranges::find_if(argument.choices, [&](const auto& each) {
                    return CLI::detail::to_lower(each) == CLI::detail::to_lower(text);
                });
                if (choice == argument.choices.end())
                    return "unknown " + argument.value + " " + text + "; see --help";
                text = *choice;
                return std::string();
            },
            ""};
}

void declare(CLI::App& parser, const Argument& argument)
{
    const auto add = [&](auto* target) -> CLI::Option* {
        if constexpr (std::is_same_v<decltype(target), bool*>)
            return parser.add_flag(argument.names, *target, argument.help);
        else
            return parser.add_option(argument.names, *target, argument.help);
    };
    auto* const option = std::visit(add, argument.target);
    option->required(argument.isRequired);
    if (argument.value.empty())
        return;
    // The name of a positional stands in the help already.
    option->option_text(argument.isPositional() ? argument.value.substr(argument.names.size())
                                                : argument.value);
    option->type_name("TEXT");  // as messages call what is missing
    if (!std::holds_alternative<std::vector<std::string>*>(argument.target))
        option->take_last();
    if (!argument.choices.empty())
        option->transform(choice(argument));
    if (const auto* const target = std::get_if<int*>(&argument.target))
        option->transform(number(CLI::Range(1, argument.largest),
                                 "number from 1 to " + std::to_string(argument.largest),
                                 **target == 0));
    if (std::holds_alternative<double*>(argument.target))
        option->transform(amount());
    if (std::holds_alternative<std::uint64_t*>(argument.target))
        option->transform(byteCount());
}

// The parser's library would complain of a missing one.
void checkCommandName(const std::vector<CommandEntry>& table, const std::string& name)
{
    if (!name.starts_with('-') &&
        std::ranges::find(table, name, &CommandEntry::name) == table.end())
        throw UsageError(name.empty() ? "a command is required; see zeq --help"
                                      : "unknown command " + name + "; see zeq --help");
}

// The command line without the program's name. What stands behind "--" is no option: the library
// does not know that of files that follow others, so such names get their folder.
std::vector<std::string> wordsOf(int argumentCount, char** arguments)
{
    std::vector<std::string> words(arguments + std::min(argumentCount, 1),
                                   arguments + argumentCount);
    const auto mark = std::ranges::find(words, "--");
    if (mark == words.end())
        return words;
    for (auto word = words.erase(mark); word != words.end(); ++word)
        if (word->starts_with('-') && *word != "-")
            word->insert(0, "./");
    return words;
}

}

std::function<int()> parseCommandLine(const std::vector<CommandEntry>& table, int argumentCount,
                                      char** arguments)
{
    CLI::App parser(programSummary, "zeq");
    parser.set_version_flag("--version", "zeq " + MediaConversion::Version::text(),
                            "print the version and leave");
    parser.set_help_flag("-h,--help", "print this help and leave");
    parser.require_subcommand(1);
    parser.footer(namesText + "\n\n" + exitStatusText);
    parser.formatter(std::make_shared<HelpFormatter>());

    std::map<const CLI::App*, Command> known;
    for (const auto& entry : table) {
        auto* const subcommand = parser.add_subcommand(entry.name, entry.help);
        if (entry.isHidden)
            subcommand->group("");
        const auto& command = known[subcommand] = entry.create();
        for (const auto& argument : command.arguments)
            declare(*subcommand, argument);
        subcommand->footer(command.description + "\n\n" + exitStatusText);
    }

    auto words = wordsOf(argumentCount, arguments);
    checkCommandName(table, words.empty() ? "" : words.front());
    try {
        std::ranges::reverse(words);  // as the library wants them
        parser.parse(std::move(words));
    } catch (const CLI::Success& request) {
        return [status = parser.exit(request)] { return status; };
    } catch (const CLI::ParseError& error) {
        throw UsageError(error.what());
    }
    return known.at(parser.get_subcommands().front()).run;
}

}
