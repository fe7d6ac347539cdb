#include "tools/MediaFormats.h"

#include "MediaConversion/MediaFile/Headers.h"
#include "MediaConversion/MediaPipeline/Formats.h"

#include <algorithm>
#include <cctype>

namespace Zeq {

using Velmora::FrameFormat;

namespace {

bool isSameName(std::string_view first, std::string_view second)
{
    return std::ranges::equal(first, second, [](unsigned char left, unsigned char right) {
        return std::tolower(left) == std::tolower(right);
    });
}

template <class Condition>
const MediaFormat* findIf(const Condition& condition)
{
    const auto format = std::ranges::find_if(mediaFormats(), condition);
    return format == mediaFormats().end() ? nullptr : &*format;
}

}

const std::vector<MediaFormat>& mediaFormats()
{
    static const auto& formats = []() -> const std::vector<MediaFormat>& {
        auto& list = *new std::vector<MediaFormat>;
        for (const auto& [code, format] : MediaConversion::mediaFormatCodes())
            list.push_back({shortName(format), code, format});
        return list;
    }();
    return formats;
}

const MediaFormat* findMediaFormat(std::string_view name)
{
    return findIf([&](const MediaFormat& format) { return isSameName(format.name, name); });
}

const MediaFormat* findMediaFormat(std::uint32_t code)
{
    return findIf([&](const MediaFormat& format) { return format.code == code; });
}

SampleDepth depthOf(const FrameFormat& format)
{
    switch (bitsOf(format.channelType)) {
        case 8:
            return SampleDepth::U8;
        case 10:
            return SampleDepth::U10;
        case 12:
            return SampleDepth::U12;
        case 16:
            return SampleDepth::U16;
        default:
            return SampleDepth::F32;
    }
}

const MediaFormat& defaultMediaFormat(SampleDepth depth, bool hasAlpha)
{
    using namespace Velmora::Formats;
    const auto format = [&] {
        if (depth == SampleDepth::U8)
            return hasAlpha ? RGBA_U8() : RGB_U8();
        if (hasAlpha)
            return ZEQ_4224_HYBRID();
        return depth == SampleDepth::U10 ? RGB_DPX_FILLED() : RGB_SMPTE_2110();
    }();
    return *findIf([&](const MediaFormat& each) { return each.frameFormat == format; });
}

}
