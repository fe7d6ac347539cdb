#include "host/soak/Resources.h"
#include "host/soak/Soak.h"

#include <malloc.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

namespace {

constexpr auto usage =
    "usage: soakHost PLUG_IN MINUTES\n"
    "Works with a reader plug-in for that long, and reports what it holds.\n";

constexpr int sampleCount = 120;
constexpr int samplesALine = 10;                   // of the report
constexpr int settlingSamples = sampleCount / 10;  // until every file has been shown

// What the heap may still take for itself, from then on.
constexpr double mostGrowth = 1024;  // KiB

void print(const Resources& sample, const Soak& soak)
{
    std::printf("| %.1f | %ld | %.0f | %d | %d |\n", sample.minutes, soak.filesShown(),
                sample.memory, sample.descriptors, sample.threads);
    std::fflush(stdout);
}

// The exit status.
int verdict(const std::vector<Resources>& samples)
{
    const auto [fewest, most] = std::ranges::minmax(samples, {}, &Resources::descriptors);
    const double slope = memorySlope(samples);
    const double hours = (samples.back().minutes - samples.front().minutes) / 60;
    std::printf(
        "\nMemory slope: %+.0f KiB an hour over the last %.2f hours. "
        "Descriptors: %d to %d.\n",
        slope, hours, fewest.descriptors, most.descriptors);
    return slope * hours > mostGrowth || fewest.descriptors != most.descriptors ? 1 : 0;
}

int run(const char* plugIn, double minutes)
{
    // Large blocks go back to the system when they are freed: what is resident is what is held.
    // NOLINTBEGIN(concurrency-mt-unsafe): there is no other thread yet
    ::mallopt(M_MMAP_THRESHOLD, 1 << 17);
    ::mallopt(M_ARENA_MAX, 1);
    // NOLINTEND(concurrency-mt-unsafe)

    Soak soak(plugIn);
    std::vector<Resources> samples;
    std::puts(
        "| minute | files shown | memory, KiB | descriptors | threads |\n|---|---|---|---|---|");
    using Minutes = std::chrono::duration<double, std::ratio<60>>;
    const auto start = std::chrono::steady_clock::now();
    for (int sample = 1; sample <= sampleCount; ++sample) {
        soak.workFor(Minutes(minutes / sampleCount));
        auto now = resourcesNow();
        now.minutes = Minutes(std::chrono::steady_clock::now() - start).count();
        if (sample % samplesALine == 0)
            print(now, soak);
        if (sample > settlingSamples)
            samples.push_back(now);
    }
    return verdict(samples);
}

}

int main(int argumentCount, char** arguments)
try {
    const double minutes = argumentCount == 3 ? std::stod(arguments[2]) : 0;
    if (!(minutes > 0)) {
        std::fputs(usage, stderr);
        return 2;
    }
    return run(arguments[1], minutes);
} catch (const std::exception& exception) {
    std::fprintf(stderr, "soakHost: %s\n", exception.what());
    return 1;
}
