#include "MediaConversion/MediaPipeline/Formats.h"

#include "MediaConversion/Errors.h"

#include <opencv2/core/cvdef.h>

namespace Velmora {

namespace {

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
