#pragma once

#include "MediaConversion/Converters/Kernels.h"

namespace MediaConversion {

// The entries of conversion tables that call the kernel at their place in `rows`.
template <const DecodeRow* Kernels::*rows>
struct DecodeEntries
{
    using Entry = DecodeFunction;

    template <class, std::size_t index>
    static std::unique_ptr<Velmora::FullFrame> entry(const Velmora::PackedFrame& source,
                                                     const Velmora::FrameFormat& destination)
    {
        return decodeRows(source, destination, (kernels().*rows)[index]);
    }
};

template <const EncodeRow* Kernels::*rows>
struct EncodeEntries
{
    using Entry = EncodeFunction;

    template <class, std::size_t index>
    static std::unique_ptr<Velmora::PackedFrame> entry(const Velmora::ImageFrame& source,
                                                       const Velmora::FrameFormat& destination)
    {
        return encodeRows(source, destination, (kernels().*rows)[index]);
    }
};

template <const DecodeRow* Kernels::*rows, class... Conversions>
DecodeTable decodeTable(Pairs<Conversions...> pairs)
{
    return conversionTable<DecodeEntries<rows>>(pairs);
}

template <const EncodeRow* Kernels::*rows, class... Conversions>
EncodeTable encodeTable(Pairs<Conversions...> pairs)
{
    return conversionTable<EncodeEntries<rows>>(pairs);
}

}
