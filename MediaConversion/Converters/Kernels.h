#pragma once

#include "MediaConversion/Converters/ConversionPairs.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace MediaConversion {

// The instructions that a set of kernels is compiled for. Every kernel is compiled for each of them
// from the same source, and all give the same bytes.
enum class Level
{
    Baseline,  // what every machine of the architecture has
    Sse41,     // and what came before it
    Avx2,
    Avx512,  // F, BW, DQ and VL
};

// The best level of this machine.
Level bestLevel();

// The level whose kernels convert from now on: at first the best. For tests and benchmarks; not
// while a conversion runs. The machine has to have it.
void useLevel(Level level);

// Converts one row of packing groups, whichever side has them, and writes every byte of the
// destination once. Where a group has several rows of pixels, the further ones follow the first at
// the step of that side, in bytes.
using RowKernel = void (*)(const std::uint8_t* source, std::size_t sourceStep,
                           std::uint8_t* destination, std::size_t destinationStep, int groupCount);

// The kernels of a family in the level that is in use, in the order of the family's pairs.
const RowKernel* kernels(Family family);

// Those of one level, each defined by the source that is compiled for it.
template <Level, Family>
const RowKernel* kernelsOf();

// KernelFamily::row<Source, Destination> for every pair.
template <class KernelFamily, class... Conversions>
constexpr auto kernelRows(Pairs<Conversions...>)
{
    return std::array{KernelFamily::template row<typename Conversions::Source,
                                                 typename Conversions::Destination>...};
}

}
