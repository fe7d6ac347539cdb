#include "tools/CommandLine.h"

#include "MediaConversion/Version.h"
#include "tools/Commands.h"
#include "tools/Report.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <iostream>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

// The one file that knows the parser's library, which takes long to compile.
namespace Zeq {

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

CLI::Option* addTo(CLI::App& parser, const Argument& argument)
{
    const auto add = [&](auto* target) -> CLI::Option* {
        using Target = std::remove_pointer_t<decltype(target)>;
        if constexpr (std::is_same_v<Target, bool>)
            return parser.add_flag(argument.names, *target, argument.help);
        else
            return parser.add_option(argument.names, *target, argument.help);
    };
    return std::visit(add, argument.target);
}

void declare(CLI::App& parser, const Argument& argument)
{
    auto* const option = addTo(parser, argument);
    option->required(argument.isRequired);
    if (argument.value.empty())
        return;
    // The name of a positional stands in the help already.
    option->option_text(argument.isPositional() ? argument.value.substr(argument.names.size())
                                                : argument.value);
    if (!std::holds_alternative<std::vector<std::string>*>(argument.target))
        option->take_last();
    if (!argument.choices.empty())
        // Not the library's own check, which prints all choices on one line.
        option->transform([&argument](std::string value) {
            const auto choice = std::ranges::find_if(argument.choices, [&](const auto& each) {
                return CLI::detail::to_lower(each) == CLI::detail::to_lower(value);
            });
            if (choice == argument.choices.end())
                throw CLI::ValidationError("unknown " + argument.value + " " + value +
                                           "; see --help");
            return *choice;
        });
}

// The parser's library would complain of a missing one.
void checkCommandName(const std::string& name)
{
    if (!name.starts_with('-') &&
        std::ranges::find(commands(), name, &CommandEntry::name) == commands().end())
        throw UsageError(name.empty() ? "a command is required; see zeq --help"
                                      : "unknown command " + name + "; see zeq --help");
}

}

std::function<int()> parseCommandLine(int argumentCount, char** arguments)
{
    CLI::App parser(programSummary(), "zeq");
    parser.set_version_flag("--version", "zeq " + MediaConversion::Version::text(),
                            "print the version and leave");
    parser.set_help_flag("-h,--help", "print this help and leave");
    parser.require_subcommand(1);
    parser.footer(namesText() + "\n\n" + exitStatusText());
    parser.formatter(std::make_shared<HelpFormatter>());

    std::vector<std::pair<CLI::App*, Command>> parsed;
    for (const auto& entry : commands()) {
        auto* const subcommand = parser.add_subcommand(entry.name, entry.help);
        parsed.emplace_back(subcommand, entry.create());
        if (entry.isHidden)
            subcommand->group("");
    }
    for (auto& [subcommand, command] : parsed) {
        for (const auto& argument : command.arguments)
            declare(*subcommand, argument);
        subcommand->footer(command.description + "\n\n" + exitStatusText());
    }

    checkCommandName(argumentCount > 1 ? arguments[1] : "");
    try {
        parser.parse(argumentCount, arguments);
    } catch (const CLI::Success& request) {
        return [status = parser.exit(request)] { return status; };
    } catch (const CLI::ParseError& error) {
        throw UsageError(error.what());
    }
    const auto chosen =
        std::ranges::find_if(parsed, [](const auto& each) { return each.first->parsed(); });
    return chosen->second.run;
}

}
