#include "benchmarks/Rounds.h"

#include "benchmarks/Timing.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace Benchmarks {

Rounds::Rounds(benchmark::State& state, const std::vector<Operation>& operations)
    : m_seconds(operations.size())
{
    for (const auto& operation : operations)
        operation();
    std::size_t first = 0;
    for (auto _ : state) {
        for (std::size_t k = 0; k < operations.size(); ++k) {
            const std::size_t operation = (first + k) % operations.size();
            m_seconds[operation].push_back(secondsOf(operations[operation]));
        }
        state.SetIterationTime(m_seconds.front().back());
        ++first;
    }
}

double Rounds::seconds(std::size_t operation) const
{
    return median(m_seconds[operation]);
}

double Rounds::ratio(std::size_t dividend, std::size_t divisor) const
{
    std::vector<double> ratios(m_seconds[dividend].size());
    std::ranges::transform(m_seconds[dividend], m_seconds[divisor], ratios.begin(),
                           std::divides<>());
    return median(std::move(ratios));
}

}
