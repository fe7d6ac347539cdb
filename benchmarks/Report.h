#pragma once

#include "benchmarks/Results.h"

#include <filesystem>

namespace Benchmarks {

// Writes what was measured as a page, benchmarks.md. Rows that were not measured are left out, and
// other gaps stand as dashes.
void writeReport(const std::filesystem::path& folder, const Results& results);

// Writes what the plots of benchmarks/plots are drawn from: speed.dat, peers.dat and growth.dat.
void writePlotData(const std::filesystem::path& folder, const Results& results);

}
