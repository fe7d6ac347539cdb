#pragma once

#include "MediaConversion/Converters/Kernels.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>
#include <utility>

namespace MediaConversion {

// KERNEL_LEVEL names a lower level than the machine's best for the whole program: ctest runs the
// converters' tests on each, and benchmarks can measure each.
inline void useLevelOfEnvironment()
{
    const char* const name = std::getenv("KERNEL_LEVEL");
    for (const auto& [levelName, level] :
         {std::pair("Baseline", Level::Baseline), {"Sse41", Level::Sse41}, {"Avx2", Level::Avx2}})
        if (name && std::string_view(name) == levelName)
            useLevel(std::min(level, bestLevel()));
}

}
