#include "MediaConversion/MediaPipeline/Formats.h"

#include "MediaConversion/Errors.h"

#include <opencv2/core/cvdef.h>

#include <array>
#include <string_view>

namespace Velmora {

namespace {

constexpr std::array<std::string_view, 6> channelTypeNames{"U8",       "U10", "U12",
                                                           "U15plus1", "U16", "F32"};

constexpr std::array<std::string_view, 6> colourspaceNames{
    "RGB", "RGBA", "YCbCr_ITU_T871", "YCbCrA_ITU_T871", "YCoCg", "YCoCgA"};

template <class Enumeration>
std::string textOf(Enumeration value, const std::array<std::string_view, 6>& names,
                   std::string_view enumeration)
{
    const auto index = static_cast<std::uint32_t>(value);
    if (index < names.size())
        return std::string(names[index]);
    return "(Unknown " + std::string(enumeration) + " " + std::to_string(index) + ")";
}

// An element of the matrix holds a group, and a pixel of a full format has a channel's type.
constexpr bool isConsistent(const NamedFormat& format, bool isFull)
{
    const auto& packing = format.pixelPacking;
    if (static_cast<std::uint32_t>(CV_ELEM_SIZE(format.cvType)) != packing.bytesPerGroup)
        return false;
    if (!isFull)
        return true;
    const int depth = format.channelType == ChannelType::U8    ? CV_8U
                      : format.channelType == ChannelType::F32 ? CV_32F
                                                               : CV_16U;
    return packing.rowsPerGroup == 1 && packing.columnsPerGroup == 1 &&
           format.cvType == CV_MAKETYPE(depth, static_cast<int>(packing.channelsPerGroup));
}

template <const auto& formats, bool isFull>
const CvTypes& cvTypesOf()
{
    static const CvTypes& types = [&]() -> const CvTypes& {
        auto& map = *new CvTypes;
        for (const NamedFormat& format : formats)
            map.emplace(format(), format.cvType);
        return map;
    }();
    static_assert([] {
        for (const NamedFormat& format : formats)
            if (!isConsistent(format, isFull))
                return false;
        return true;
    }());
    return types;
}

// Both tables are complete once the library is loaded.
[[maybe_unused]] const auto& fullTypesAtStartUp = FullFormatCvTypes();
[[maybe_unused]] const auto& packedTypesAtStartUp = PackedFormatCvTypes();

}

std::string toString(ChannelType channelType)
{
    return textOf(channelType, channelTypeNames, "ChannelType");
}

std::string toString(Colourspace colourspace)
{
    return textOf(colourspace, colourspaceNames, "Colourspace");
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

const CvTypes& FullFormatCvTypes()
{
    return cvTypesOf<Formats::full, true>();
}

const CvTypes& PackedFormatCvTypes()
{
    return cvTypesOf<Formats::packed, false>();
}

std::string shortName(const FrameFormat& format)
{
    return PackedFormatCvTypes().contains(format)
               ? format.pixelFormat
               : format.pixelFormat + "-" + toString(format.channelType);
}

int openCvType(const FrameFormat& format, const CvTypes& table)
{
    const auto entry = table.find(format);
    if (entry == table.end())
        MediaConversion::fail("OpenCV type not defined for frame format ", format);
    return entry->second;
}

}
