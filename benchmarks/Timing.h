#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <vector>

namespace Benchmarks {

template <class Operation>
double secondsOf(const Operation& operation)
{
    const auto start = std::chrono::steady_clock::now();
    operation();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

inline double median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::ranges::nth_element(values, middle);
    return *middle;
}

}
