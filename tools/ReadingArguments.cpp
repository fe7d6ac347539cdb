#include "tools/ReadingArguments.h"

#include "tools/Report.h"

#include <charconv>
#include <cmath>
#include <system_error>

namespace Zeq {

namespace {

double stopsOf(const std::string& exposure)
{
    constexpr double most = 32;
    double stops = 0;
    const auto* const end = exposure.data() + exposure.size();
    const auto [stop, error] = std::from_chars(exposure.data(), end, stops);
    if (!exposure.empty() && (error != std::errc() || stop != end || !(std::abs(stops) <= most)))
        throw UsageError("--exposure: " + exposure + " is no number from -32 to 32, like -2.5");
    return stops;
}

}

Imaging::ReadingOptions ReadingSettings::options() const
{
    return {.factor = static_cast<float>(scale * std::exp2(stopsOf(exposure))), .layer = layer};
}

Argument layerArgument(ReadingSettings& settings)
{
    return {"--layer", "NAME", &settings.layer,
            "take the channels of this layer of EXR files: diffuse for diffuse.R"};
}

Argument exposureArgument(ReadingSettings& settings)
{
    return {"--exposure", "STOPS", &settings.exposure,
            "multiply red, green and blue: 1 doubles the values, -1 halves them"};
}

Argument clipArgument(bool& isAccepted)
{
    return {"--clip", "", &isAccepted, "accept without a word what the output cannot hold"};
}

std::vector<Argument> withReadingArguments(std::vector<Argument> arguments,
                                           ReadingSettings& settings)
{
    arguments.push_back(layerArgument(settings));
    arguments.push_back({"--scale", "FACTOR", &settings.scale,
                         "multiply red, green and blue by this number before they are converted"});
    arguments.push_back(exposureArgument(settings));
    return arguments;
}

}
