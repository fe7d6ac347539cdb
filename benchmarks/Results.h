#pragma once

#include "benchmarks/Pictures.h"

#include <cstddef>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace Benchmarks {

struct ConversionFigures
{
    double oursToLimit;
    double plainToOurs;
    double plainToLimit;
};

struct ComparisonFigures
{
    double theirsToOurs;
};

// Of the photograph, in dB: of decoders, theirs to ours; of encoders, each to what they encoded.
struct QualityFigures
{
    double theirs;
    double ours;
};

struct GrowthFigures
{
    double nanosecondsPerPixel;
    double oursToLimit;
};

// The figures of a row of the respective table in a setting.
template <class Figures>
using Measured = std::map<std::pair<std::size_t, Setting>, Figures>;

struct Results
{
    Measured<ConversionFigures> conversions;
    Measured<ComparisonFigures> comparisons;
    Measured<GrowthFigures> growth;
    std::map<std::size_t, QualityFigures> qualities;  // by row of the comparisons
    std::vector<std::string> failures;
};

// Which settings are measured, and how often.
struct Extent
{
    std::vector<Picture> pictures;
    std::vector<int> heights;
    std::vector<int> growthHeights;
    int rounds;  // at a height of 1080; fewer above
};

// Each registers its part with Google Benchmark. The results have to outlive the run.
void registerConversions(const Extent& extent, Results& results);
void registerComparisons(const Extent& extent, Results& results);
void registerGrowth(const Extent& extent, Results& results);

void measureQualities(Results& results);

}
