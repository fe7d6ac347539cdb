#pragma once

#include "MediaConversion/Converters/Decoding.h"
#include "MediaConversion/Converters/Encoding.h"
#include "MediaConversion/Converters/Kernels/ConversionPairs.h"
#include "MediaConversion/Converters/Kernels/Level.h"

#include <array>

// A row kernel for each pair of formats, in the order of the pairs.
namespace MediaConversion {

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
