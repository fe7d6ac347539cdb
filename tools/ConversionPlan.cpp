#include "tools/ConversionPlan.h"

#include "tools/Command.h"
#include "tools/InputFiles.h"

#include <filesystem>
#include <functional>
#include <map>

namespace Zeq {

namespace {

namespace fs = std::filesystem;

// Two names of one file are one.
fs::path identity(const std::string& name)
{
    std::error_code error;
    const auto absolute = fs::absolute(name, error);
    const auto identity = error ? fs::path() : fs::weakly_canonical(absolute, error);
    return error ? fs::path(name) : identity;
}

// How an input's name becomes that of its output.
std::function<std::string(const InputFile&)> naming(const std::string& output,
                                                    const std::string& extension)
{
    if (isFolderName(output))
        return [=](const InputFile& input) {
            const auto name = fs::path(input.name).stem().native() + "." + extension;
            return (fs::path(output) / name).native();
        };
    if (const auto pattern = FramePattern::parse(output))
        return [=](const InputFile& input) {
            if (!input.frame)
                throw UsageError(input.name + " has no frame number for " + output);
            return pattern->fileName(*input.frame);
        };
    return [=](const InputFile&) { return output; };
}

}

std::vector<Conversion> planConversions(const std::vector<InputFile>& inputs,
                                        const std::string& output, const std::string& extension)
{
    const auto outputOf = naming(output, extension);
    std::map<fs::path, std::string> inputNames;
    for (const auto& input : inputs)
        inputNames.emplace(identity(input.name), input.name);

    std::vector<Conversion> conversions;
    std::map<fs::path, std::string> taken;  // the outputs and the inputs that they are made of
    for (const auto& input : inputs) {
        if (!input.problem.empty()) {
            conversions.push_back({input.name, {}, input.problem});
            continue;
        }
        const auto& conversion = conversions.emplace_back(Conversion{input.name, outputOf(input)});
        const auto target = identity(conversion.output);
        const auto [entry, isFirst] = taken.emplace(target, input.name);
        if (!isFirst)
            throw UsageError(entry->second + " and " + input.name + " would both become " +
                             conversion.output);
        if (const auto other = inputNames.find(target);
            other != inputNames.end() && target != identity(input.name))
            throw UsageError(input.name + " would overwrite the input " + other->second);
    }
    return conversions;
}

bool isFolderName(const std::string& name)
{
    std::error_code ignored;
    return name.ends_with('/') || fs::is_directory(name, ignored);
}

}
