// Measures the conversions beside the limit of the memory, the plain arithmetic and other
// libraries. Google Benchmark runs and picks the measurements; the tables are of ratios between
// what takes turns in one of them, so they are written from results of our own.

#include "benchmarks/Report.h"
#include "benchmarks/Results.h"
#include "tests/support/KernelLevels.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <exception>
#include <iostream>
#include <string>

namespace {

using namespace Benchmarks;
using enum Picture;

const Extent whole{{Noise, Smooth}, {1080, 2160}, {540, 1080, 2160, 4320}, 21};
const Extent quick{{Noise}, {1080}, {540, 1080}, 7};

int run(const std::string& folder, bool isQuick)
{
    const auto& extent = isQuick ? quick : whole;
    Results results;
    registerConversions(extent, results);
    registerComparisons(extent, results);
    registerGrowth(extent, results);
    if (benchmark::RunSpecifiedBenchmarks() == 0)
        return EXIT_FAILURE;
    measureQualities(results);
    benchmark::Shutdown();

    writeReport(folder, results);
    writePlotData(folder, results);
    for (const auto& failure : results.failures)
        std::cerr << "differs from the plain arithmetic: " << failure << '\n';
    return results.failures.empty() ? EXIT_SUCCESS : EXIT_FAILURE;
}

}

int main(int argc, char** argv)
try {
    benchmark::Initialize(&argc, argv);
    if (benchmark::GetBenchmarkFilter().empty())
        benchmark::SetBenchmarkFilter("-^further");
    const bool isQuick = argc == 3 && argv[2] == std::string("--quick");
    if (argc != 2 && !isQuick) {
        std::cerr << "Usage: conversionBenchmark FOLDER [--quick] [Google Benchmark's options]\n";
        return 2;
    }
    MediaConversion::useLevelOfEnvironment();
    return run(argv[1], isQuick);
} catch (const std::exception& exception) {
    std::cerr << exception.what() << '\n';
    return EXIT_FAILURE;
}
