#pragma once

#include "MediaConversion/Converters/ConversionPairs.h"
#include "MediaConversion/Converters/Decoding.h"
#include "MediaConversion/Converters/Encoding.h"

#include <array>

namespace MediaConversion {

// The vector instructions that a set of kernels is compiled for. Every kernel is compiled for each
// of them from the same source, and all give the same bytes.
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

// A row kernel for each pair of formats, in the order of the pairs.
struct Kernels
{
    const DecodeRow* unpackRgb;
    const EncodeRow* packRgb;
    const DecodeRow* decodeYCbCr;
    const EncodeRow* encodeYCbCr;
    const DecodeRow* decodeBlocks;
    const EncodeRow* encodeBlocks;
};

// Those of the level in use.
const Kernels& kernels();

// The members of Kernels for one level, each defined by the source that it is compiled from.
template <Level>
struct KernelsOf
{
    static const DecodeRow* unpackRgb();
    static const EncodeRow* packRgb();
    static const DecodeRow* decodeYCbCr();
    static const EncodeRow* encodeYCbCr();
    static const DecodeRow* decodeBlocks();
    static const EncodeRow* encodeBlocks();
};

// Family::row<Source, Destination> for every pair.
template <class Family, class... Conversions>
constexpr auto kernelRows(Pairs<Conversions...>)
{
    return std::array{
        Family::template row<typename Conversions::Source, typename Conversions::Destination>...};
}

}
