#include "benchmarks/Machine.h"

#include "tests/support/KernelLevels.h"

#include <benchmark/benchmark.h>
#include <opencv2/core/utility.hpp>

#include <fstream>

namespace Benchmarks {

namespace {

std::string processorName()
{
    std::ifstream file("/proc/cpuinfo");
    for (std::string line; std::getline(file, line);)
        if (line.starts_with("model name"))
            return line.substr(line.find(": ") + 2);
    return "unknown processor";
}

const char* nameOf(MediaConversion::Level level)
{
    switch (level) {
        case MediaConversion::Level::Sse41:
            return "SSE4.1";
        case MediaConversion::Level::Avx2:
            return "AVX2";
        case MediaConversion::Level::Avx512:
            return "AVX-512";
        default:
            return "baseline";
    }
}

}

void describeMachine()
{
    benchmark::AddCustomContext("processor", processorName());
    benchmark::AddCustomContext("kernel level", nameOf(MediaConversion::useLevelOfEnvironment()));
#ifdef __clang__
    benchmark::AddCustomContext("compiler", __VERSION__);
#else
    benchmark::AddCustomContext("compiler", "g++ " __VERSION__);
#endif
    benchmark::AddCustomContext("OpenCV", cv::getVersionString());
}

}
