#include "host/soak/Resources.h"

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

int entries(const char* folder)
{
    const std::filesystem::directory_iterator iterator(folder);
    return static_cast<int>(std::distance(begin(iterator), end(iterator)));
}

}

Resources resourcesNow()
{
    Resources now;
    double pages = 0;
    std::ifstream("/proc/self/statm") >> pages >> pages;
    now.memory = pages * static_cast<double>(::sysconf(_SC_PAGESIZE)) / 1024;
    now.descriptors = entries("/proc/self/fd") - 1;  // one of them lists the folder
    now.threads = entries("/proc/self/task");
    return now;
}

double memorySlope(const std::vector<Resources>& samples)
{
    const auto count = static_cast<double>(samples.size());
    double time = 0;
    double memory = 0;
    for (const auto& sample : samples) {
        time += sample.minutes / count;
        memory += sample.memory / count;
    }
    double covariance = 0;
    double variance = 0;
    for (const auto& sample : samples) {
        covariance += (sample.minutes - time) * (sample.memory - memory);
        variance += (sample.minutes - time) * (sample.minutes - time);
    }
    return variance > 0 ? 60 * covariance / variance : 0;
}
