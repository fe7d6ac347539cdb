#pragma once

#include <benchmark/benchmark.h>

#include <cstddef>
#include <functional>
#include <vector>

namespace Benchmarks {

// Operations that take turns: each runs once a round, and every round begins with another. Ratios
// are the medians of the rounds' own, so that they hold when the machine's speed drifts.
class Rounds
{
public:
    using Operation = std::function<void()>;

    // Runs each operation once to warm up, then a round for every iteration of the state. The first
    // operation's is the time that the state reports.
    Rounds(benchmark::State& state, const std::vector<Operation>& operations);

    double seconds(std::size_t operation) const;
    double ratio(std::size_t dividend, std::size_t divisor) const;

private:
    std::vector<std::vector<double>> m_seconds;  // of each operation in each round
};

}
