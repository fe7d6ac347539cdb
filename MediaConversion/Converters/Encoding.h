#pragma once

#include "MediaConversion/Converters/ConversionTable.h"
#include "MediaConversion/MediaPipeline/Frames.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

namespace MediaConversion {

// Encodes whole pixels into one row of packing groups, every byte of which it writes once. `pixels`
// is the first pixel that the row covers; its further pixel rows, if any, follow at `pixelRowStep`
// bytes.
using EncodeRow = void (*)(const std::uint8_t* pixels, std::size_t pixelRowStep,
                           std::uint8_t* groups, int groupCount);

// A new packed frame of the destination format with the pixels of the full one. Throws a
// std::runtime_error when they do not fill whole groups.
using EncodeFunction = std::unique_ptr<Velmora::PackedFrame> (*)(
    const Velmora::ImageFrame& source, const Velmora::FrameFormat& destination);

using EncodeTable = ConversionTable<EncodeFunction>;

std::unique_ptr<Velmora::PackedFrame> encodeRows(const Velmora::ImageFrame& source,
                                                 const Velmora::FrameFormat& destination,
                                                 EncodeRow encodeRow);

// What the encoders from RGB share: checks the frame, looks the pair up, checks the data and
// encodes, in this order. `refusal` is the text for a pair that is not supported.
std::unique_ptr<Velmora::PackedFrame> encodeFromRgb(const Velmora::IImageFrame* frame,
                                                    const Velmora::FrameFormat& destination,
                                                    const EncodeTable& conversions,
                                                    std::string_view refusal);

}
