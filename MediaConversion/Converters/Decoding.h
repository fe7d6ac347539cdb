#pragma once

#include "MediaConversion/Converters/ConversionTable.h"
#include "MediaConversion/MediaPipeline/Frames.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace MediaConversion {

// Decodes one row of packing groups into whole pixels, every byte of which it writes once. `pixels`
// is the first pixel that the row covers; its further pixel rows, if any, follow at `pixelRowStep`
// bytes.
using DecodeRow = void (*)(const std::uint8_t* groups, int groupCount, std::uint8_t* pixels,
                           std::size_t pixelRowStep);

// A new full frame of the destination format with the pixels of the packed one.
using DecodeFunction = std::unique_ptr<Velmora::FullFrame> (*)(
    const Velmora::PackedFrame& source, const Velmora::FrameFormat& destination);

using DecodeTable = ConversionTable<DecodeFunction>;

std::unique_ptr<Velmora::FullFrame> decodeRows(const Velmora::PackedFrame& source,
                                               const Velmora::FrameFormat& destination,
                                               DecodeRow decodeRow);

// What the decoders to RGB share: checks the frame, looks the pair up, checks the data and decodes,
// in this order.
std::unique_ptr<Velmora::FullFrame> decodeToRgb(const Velmora::IImageFrame* frame,
                                                const Velmora::FrameFormat& destination,
                                                const DecodeTable& conversions);

}
