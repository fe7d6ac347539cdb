#pragma once

#include "MediaConversion/Converters/Kernels.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>
#include <utility>

namespace MediaConversion {

// KERNEL_LEVEL names a lower level than the machine's best for the whole program: ctest runs the
// converters' tests on each, and benchmarks can measure each. Returns the level that is used.
inline Level useLevelOfEnvironment()
{
    auto used = bestLevel();
    const char* const name = std::getenv("KERNEL_LEVEL");
    for (const auto& [levelName, level] :
         {std::pair("Baseline", Level::Baseline), {"Sse41", Level::Sse41}, {"Avx2", Level::Avx2}})
        if (name && std::string_view(name) == levelName)
            used = std::min(level, used);
    useLevel(used);
    return used;
}

}
