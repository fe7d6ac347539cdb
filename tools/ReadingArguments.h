#pragma once

#include "imaging/Picture.h"
#include "tools/Commands.h"

#include <string>
#include <vector>

namespace Zeq {

// What the user says of how pictures are read.
struct ReadingSettings
{
    std::string layer;
    double scale = 1;
    std::string exposure;

    // Throws a UsageError.
    Imaging::ReadingOptions options() const;
};

// Arguments that several sub-commands take.
Argument layerArgument(ReadingSettings& settings);
Argument exposureArgument(ReadingSettings& settings);
Argument clipArgument(bool& isAccepted);

// The first two and --scale.
std::vector<Argument> withReadingArguments(std::vector<Argument> arguments,
                                           ReadingSettings& settings);

}
