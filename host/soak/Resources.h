#pragma once

#include <vector>

// What a process holds of the machine.
struct Resources
{
    double minutes = 0;  // since the work began
    double memory = 0;   // resident, in KiB
    int descriptors = 0;
    int threads = 0;
};

Resources resourcesNow();

// How fast the memory grows, in KiB an hour: the straight line that fits the samples best. 0 for
// fewer than two.
double memorySlope(const std::vector<Resources>& samples);
