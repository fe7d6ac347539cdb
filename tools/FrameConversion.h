#pragma once

#include "tools/ConversionPlan.h"
#include "tools/Jobs.h"
#include "tools/MediaFormats.h"

#include <optional>
#include <string>

namespace Zeq {

// What was asked for; what was not follows from the file that is converted.
struct WantedResult
{
    const MediaFormat* format = nullptr;  // of a media file
    std::optional<SampleDepth> depth;     // of any other picture
};

// Makes one file of another: a media file where the output's extension is zeq, else a picture of
// that kind. The output is written whole or not at all. Throws a std::exception.
void convertFile(const Conversion& conversion, const WantedResult& wanted, MemoryBudget& budget);

// Throws a UsageError when no file of this name can be written.
void checkOutputName(const std::string& fileName, const WantedResult& wanted);

}
