#include "benchmarks/GrowthBenchmark.h"

#include "MediaConversion/MediaPipeline/Formats.h"
#include "benchmarks/Trial.h"

#include <cstddef>

namespace Benchmarks {

const std::vector<Conversion>& growthConversions()
{
    using namespace Velmora::Formats;
    static const auto& table = *new std::vector<Conversion>{
        {RGB_DPX_FILLED(), BGRA_F32(), {}}, {ZEQ_422(), BGRA_F32(), {}},
        {YCoCg_DXT5(), BGRA_F32(), {}},     {BGRA_F32(), ZEQ_420(), {}},
        {BGRA_U8(), YCoCg_DXT5(), {}},
    };
    return table;
}

void registerGrowth(const Extent& extent, Results& results)
{
    for (std::size_t row = 0; row < growthConversions().size(); ++row)
        for (const int height : extent.growthHeights)
            for (const int threads : {1, 2}) {
                const Setting setting{Picture::Noise, height, threads};
                const auto measure = [=, &results](benchmark::State& state, Trial& trial) {
                    enum
                    {
                        ours,
                        limit
                    };
                    const Rounds rounds(state, {[&] { trial.ours(); }, [&] { trial.limit(); }});
                    const GrowthFigures figures{rounds.seconds(ours) * 1e9 / setting.pixels(),
                                                rounds.ratio(ours, limit)};
                    state.counters["ns/pixel"] = figures.nanosecondsPerPixel;
                    state.counters["ours/limit"] = figures.oursToLimit;
                    results.growth[{row, setting}] = figures;
                };
                const auto& conversion = growthConversions()[row];
                registerTrial("growth: " + shortName(conversion), conversion, setting, extent,
                              results, measure);
            }
}

}
