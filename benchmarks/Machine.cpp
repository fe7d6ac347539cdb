#include "benchmarks/Machine.h"

#include "benchmarks/peers/Versions.h"

#include <benchmark/benchmark.h>
#include <opencv2/core.hpp>
#include <opencv2/core/hal/intrin.hpp>

#include <chrono>
#include <ctime>
#include <fstream>
#include <sstream>
#include <utility>

namespace Benchmarks {

namespace {

std::string processorName()
{
    std::ifstream file("/proc/cpuinfo");
    for (std::string line; std::getline(file, line);)
        if (line.starts_with("model name"))
            return line.substr(line.find(": ") + 2);
    return "unknown";
}

std::string vectorUnits()
{
    std::string names;
    for (const auto& [feature, name] :
         {std::pair(CV_CPU_SSE4_2, "SSE4.2"), {CV_CPU_AVX2, "AVX2"}, {CV_CPU_AVX_512F, "AVX-512"}})
        if (cv::checkHardwareSupport(feature))
            names += std::string(names.empty() ? "" : ", ") + name;
    return names;
}

std::string processor()
{
    const auto& information = benchmark::CPUInfo::Get();
    std::string text = processorName() + ", " + std::to_string(information.num_cpus) +
                       (information.num_cpus == 1 ? " core" : " cores") + "; " + vectorUnits();
    for (const auto& cache : information.caches)
        if (cache.level == 3)
            text += "; " + std::to_string(cache.size >> 20) + " MB of L3 cache";
    return text;
}

std::string compiler()
{
#ifdef __clang__
    return __VERSION__;
#else
    return "g++ " __VERSION__;
#endif
}

std::string today()
{
    const std::time_t now = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
    char text[sizeof "2000-01-01"];
    std::strftime(text, sizeof text, "%Y-%m-%d", std::gmtime(&now));
    return text;
}

}

std::string machineTable()
{
    std::ostringstream table;
    table << "| | |\n|---|---|\n"
          << "| Processor | " << processor() << " |\n"
          << "| Compiler | " << compiler() << " |\n"
          << "| OpenCV | " << cv::getVersionString() << " |\n"
          << "| Compared with | " << Peers::versions() << " |\n"
          << "| Date | " << today() << " |\n";
    return table.str();
}

}
