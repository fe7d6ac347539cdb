#include "benchmarks/Comparisons.h"
#include "benchmarks/GrowthBenchmark.h"
#include "benchmarks/Report.h"

#include <opencv2/core.hpp>

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace Benchmarks {

namespace {

// A figure of one row in every setting that it was measured in, in ascending order.
template <class Figures>
std::vector<double> ofRow(const Measured<Figures>& measured, std::size_t row,
                          double Figures::*figure)
{
    std::vector<double> values;
    for (const auto& [key, figures] : measured)
        if (key.first == row)
            values.push_back(figures.*figure);
    std::ranges::sort(values);
    return values;
}

// Median, least and most.
std::string summary(const std::vector<double>& values)
{
    const std::size_t last = values.size() - 1;
    const double median = (values[last / 2] + values[last - last / 2]) / 2;
    return cv::format("%.3f %.3f %.3f", median, values.front(), values.back());
}

// Whether it differs from the row before it in the order of the colours only.
bool isMirrored(const Conversion& conversion)
{
    const auto& [source, destination, target] = conversion;
    return source.pixelFormat.starts_with("BGR-") || destination.pixelFormat.starts_with("BGR-");
}

void writeSpeed(std::ostream& data, const Results& results)
{
    data << "# conversion; ours / limit: median, least, most; plain / limit: median, least, most\n";
    for (std::size_t row = 0; row < conversions().size(); ++row) {
        if (isMirrored(conversions()[row]))
            continue;
        const auto ours = ofRow(results.conversions, row, &ConversionFigures::oursToLimit);
        const auto plain = ofRow(results.conversions, row, &ConversionFigures::plainToLimit);
        if (!ours.empty())
            data << '"' << shortName(conversions()[row]) << "\" " << summary(ours) << ' '
                 << summary(plain) << '\n';
    }
}

void writePeers(std::ostream& data, const Results& results)
{
    data << "# conversion; library and its work; theirs / ours: median, least, most; target\n";
    for (std::size_t row = 0; row < comparisons().size(); ++row) {
        const auto& comparison = comparisons()[row];
        const auto values = ofRow(results.comparisons, row, &ComparisonFigures::theirsToOurs);
        if (!values.empty())
            data << '"' << shortName(comparison.conversion()) << "\" \"" << comparison.library
                 << ": " << comparison.work << "\" " << summary(values) << ' ' << comparison.wanted
                 << '\n';
    }
}

void writeGrowth(std::ostream& data, const Results& results)
{
    data << "# a block for each conversion on one thread, then on two: megapixels, nanoseconds a "
            "pixel, "
            "from, to\n";
    for (const int threads : {1, 2})
        for (std::size_t row = 0; row < growthConversions().size(); ++row) {
            const auto& conversion = growthConversions()[row];
            for (const auto& [key, figures] : results.growth)
                if (key.first == row && key.second.threads == threads)
                    data << cv::format("%.3f %.4f", key.second.pixels() / 1e6,
                                       figures.nanosecondsPerPixel)
                         << " \"" << shortName(conversion.source) << "\" \"to "
                         << shortName(conversion.destination) << "\"\n";
            data << "\n\n";
        }
}

void writeFile(const std::filesystem::path& file, const Results& results,
               void (*write)(std::ostream&, const Results&))
{
    std::ofstream data(file);
    write(data, results);
    if (!data.flush())
        throw std::runtime_error("cannot write " + file.string());
}

}

void writePlotData(const std::filesystem::path& folder, const Results& results)
{
    writeFile(folder / "speed.dat", results, writeSpeed);
    writeFile(folder / "peers.dat", results, writePeers);
    writeFile(folder / "growth.dat", results, writeGrowth);
}

}
