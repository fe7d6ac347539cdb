#pragma once

#include "MediaConversion/Converters/Decoding.h"
#include "MediaConversion/Converters/Encoding.h"
#include "MediaConversion/Converters/Kernels/ConversionPairs.h"
#include "MediaConversion/Converters/Kernels/Level.h"

#include <array>

// A row kernel for each pair of formats, in the order of the pairs.
namespace MediaConversion {

template <const auto& pairs>
using DecodeRows = std::array<DecodeRow, pairs.count>;

template <const auto& pairs>
using EncodeRows = std::array<EncodeRow, pairs.count>;

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
    static const DecodeRows<rgbUnpackings> unpackRgb;
    static const EncodeRows<rgbPackings> packRgb;
    static const DecodeRows<yCbCrDecodings> decodeYCbCr;
    static const EncodeRows<yCbCrEncodings> encodeYCbCr;
    static const DecodeRows<blockDecodings> decodeBlocks;
    static const EncodeRows<blockEncodings> encodeBlocks;
};

// Family::row<Source, Destination> for every pair.
template <class Family, class... Conversions>
constexpr auto kernelRows(Pairs<Conversions...>)
{
    return std::array{
        Family::template row<typename Conversions::Source, typename Conversions::Destination>...};
}

}
