#pragma once

#include "MediaConversion/MediaPipeline/Formats.h"
#include "MediaConversion/MediaPipeline/Frames.h"

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

// The pictures of arrays and of frames.
namespace ZeqPython {

// The samples of a picture, wherever they lie, in the words of numpy: strides are bytes and may be
// negative.
struct Samples
{
    const std::byte* data = nullptr;  // the first channel of the upper left pixel
    std::ptrdiff_t rows = 0;
    std::ptrdiff_t columns = 0;
    std::ptrdiff_t rowStride = 0;
    std::ptrdiff_t columnStride = 0;
    std::ptrdiff_t channelStride = 0;
    Velmora::ChannelType type = Velmora::ChannelType::F32;  // U8, U16 or F32
    std::string channels;                                   // what each channel stands for: "BGRA"
};

// A frame's samples and the frame that they belong to.
struct FrameSamples
{
    std::unique_ptr<Velmora::IImageFrame> frame;
    Samples samples;
};

// Throws a std::invalid_argument unless the text names some of red, green, blue and alpha, each
// once at most.
void checkChannels(std::string_view channels);

// Whether equal steps lead from each wanted channel to the next in pixels of this order.
bool haveEqualSteps(std::string_view channels, std::string_view order);

// The wanted channels of a full frame of 8 or 16 bits or floats, whose channels lie in this order,
// whatever its format says. Nothing is copied: channels without equal steps are put in order where
// they are.
FrameSamples select(std::unique_ptr<Velmora::IImageFrame> frame, const std::string& order,
                    const std::string& channels);

// A frame with these samples, in a format that converts to `destination`: over the samples
// themselves where they lie as a frame's do, else over a copy. Floats that no integer can hold are
// limited to 0 and 1. Throws a std::runtime_error for a picture without pixels or with more than a
// media file holds.
std::unique_ptr<Velmora::ImageFrame> frameFor(const Samples& samples,
                                              const Velmora::FrameFormat& destination);

}
