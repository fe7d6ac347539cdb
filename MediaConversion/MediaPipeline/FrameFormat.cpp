#include "MediaConversion/MediaPipeline/FrameFormat.h"

#include <array>
#include <string_view>

namespace Velmora {

namespace {

constexpr std::array<std::string_view, 6> channelTypeNames{"U8",       "U10", "U12",
                                                           "U15plus1", "U16", "F32"};

constexpr std::array<std::string_view, 6> colourspaceNames{
    "RGB", "RGBA", "YCbCr_ITU_T871", "YCbCrA_ITU_T871", "YCoCg", "YCoCgA"};

template <class Enumeration>
std::string nameOf(Enumeration value, const std::array<std::string_view, 6>& names,
                   std::string_view enumeration)
{
    const auto index = static_cast<std::uint32_t>(value);
    if (index < names.size())
        return std::string(names[index]);
    return "(Unknown " + std::string(enumeration) + " " + std::to_string(index) + ")";
}

}

std::string toString(ChannelType channelType)
{
    return nameOf(channelType, channelTypeNames, "ChannelType");
}

std::string toString(Colourspace colourspace)
{
    return nameOf(colourspace, colourspaceNames, "Colourspace");
}

bool hasAlpha(Colourspace colourspace)
{
    using enum Colourspace;
    return colourspace == RGBA || colourspace == YCbCrA_ITU_T871 || colourspace == YCoCgA;
}

int bitsOf(ChannelType channelType)
{
    constexpr std::array bits{8, 10, 12, 16, 16, 32};
    return bits.at(static_cast<std::size_t>(channelType));
}

std::string toString(const FrameFormat& format)
{
    return toString(format.colourspace) + "_" + toString(format.channelType) + "_" +
           format.pixelFormat;
}

}
