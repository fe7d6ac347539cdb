// The conversions beside the limit of the memory and the plain arithmetic.

#include "benchmarks/Trial.h"

#include <cstddef>
#include <string>

namespace Benchmarks {

namespace {

constexpr int threadCounts[] = {1, 2};

void registerConversion(const std::string& name, const Conversion& conversion,
                        const Setting& setting, const Extent& extent, Results& results,
                        std::size_t row)
{
    const auto measure = [=, &results](benchmark::State& state, Trial& trial) {
        enum
        {
            ours,
            limit,
            plain
        };
        const Rounds rounds(
            state, {[&] { trial.ours(); }, [&] { trial.limit(); }, [&] { trial.plain(); }});
        const ConversionFigures figures{rounds.ratio(ours, limit), rounds.ratio(plain, ours),
                                        rounds.ratio(plain, limit)};
        state.counters["ours/limit"] = figures.oursToLimit;
        state.counters["plain/ours"] = figures.plainToOurs;
        if (row < conversions().size())
            results.conversions[{row, setting}] = figures;
    };
    registerTrial(name, conversion, setting, extent, results, measure);
}

}

void registerConversions(const Extent& extent, Results& results)
{
    auto all = conversions();
    for (const auto& conversion : furtherConversions())
        all.push_back(conversion);
    for (std::size_t row = 0; row < all.size(); ++row)
        for (const int height : extent.heights)
            for (const auto picture : extent.pictures)
                for (const int threads : threadCounts) {
                    const bool isFurther = row >= conversions().size();
                    registerConversion((isFurther ? "further: " : "") + shortName(all[row]),
                                       all[row], {picture, height, threads}, extent, results, row);
                }
}

}
