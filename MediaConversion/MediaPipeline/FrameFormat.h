#pragma once

#include <compare>
#include <cstdint>
#include <string>

namespace Velmora {

// Which colours the channels of a frame stand for. The YCbCr colourspaces are those of ITU-T T.871
// (full-range, as in JPEG files). The channel order is not part of the colourspace.
enum class Colourspace : std::uint32_t
{
    RGB = 0,
    RGBA = 1,
    YCbCr_ITU_T871 = 2,
    YCbCrA_ITU_T871 = 3,
    YCoCg = 4,
    YCoCgA = 5,
};

// How one channel sample is stored. U10, U12 and U15plus1 samples of full frames take 16 bits each;
// the full scale of U15plus1 is 32768, a power of two and one more than 15 bits can hold.
enum class ChannelType : std::uint32_t
{
    U8 = 0,
    U10 = 1,
    U12 = 2,
    U15plus1 = 3,
    U16 = 4,
    F32 = 5,
};

// The smallest piece of a frame that can be addressed: a pixel of a full format, a group of samples
// of a packed one. The fields stand in the order in which packings compare.
struct PixelPacking
{
    std::uint32_t bytesPerGroup;
    std::uint32_t channelsPerGroup;  // samples of all pixels of the group together
    std::uint32_t rowsPerGroup;
    std::uint32_t columnsPerGroup;

    auto operator<=>(const PixelPacking&) const = default;
};

// How the pixels of a frame lie in memory; width and height travel beside it. The fields stand in
// the order in which formats compare; texts compare by unsigned bytes. Any combination of fields
// can be expressed: the tables of OpenCV types and of conversions say which ones are of use.
struct FrameFormat
{
    Colourspace colourspace;
    ChannelType channelType;
    PixelPacking pixelPacking;
    std::string pixelFormat;  // the channels in memory order ("BGRA") or the name of the packing

    auto operator<=>(const FrameFormat&) const = default;
};

// The name of a channel type or colourspace; a value without one gives "(Unknown ChannelType 6)".
std::string toString(ChannelType channelType);
std::string toString(Colourspace colourspace);

// Whether pixels say how opaque they are.
bool hasAlpha(Colourspace colourspace);

// The bits of an integer sample of full precision, 16 for U15plus1; 32 for F32.
int bitsOf(ChannelType channelType);

// Colourspace, channel type and pixel format joined by underscores: "RGBA_U15plus1_ARGB". This is
// the text by which messages name a format.
std::string toString(const FrameFormat& format);

}
