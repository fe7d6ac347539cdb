#include "benchmarks/Conversions.h"

#include "MediaConversion/Encoder/ConversionRegistry.h"
#include "MediaConversion/MediaPipeline/Formats.h"

#include <algorithm>

namespace Benchmarks {

using namespace Velmora::Formats;

const std::vector<Conversion>& conversions()
{
    // clang-format off
    static const auto& table = *new std::vector<Conversion>{
        // from              to                   ours / limit on 1, 2 threads; plain / ours
        {RGB_DPX_FILLED(),   BGRA_F32(),         {{1.15, 1.15}, 5.0}},
        {BGR_DPX_FILLED(),   BGRA_F32(),         {{1.15, 1.15}, 5.0}},
        {RGB_SMPTE_2110(),   BGRA_F32(),         {{1.15, 1.15}, 5.0}},
        {BGR_SMPTE_2110(),   BGRA_F32(),         {{1.15, 1.15}, 5.0}},
        {YUYV_422(),         BGRA_F32(),         {{1.30, 1.20}, 5.0}},
        {ZEQ_420(),          BGRA_F32(),         {{1.30, 1.20}, 5.0}},
        {ZEQ_422(),          BGRA_F32(),         {{1.60, 1.40}, 4.0}},
        {ZEQ_4224_HYBRID(),  BGRA_F32(),         {{1.60, 1.40}, 2.5}},
        {RGB_U8(),           BGRA_F32(),         {{1.50, 1.70}, 0  }},
        {BGR_U8(),           BGRA_F32(),         {{1.50, 1.70}, 0  }},
        {RGBA_U8(),          BGRA_F32(),         {{1.50, 1.70}, 0  }},
        {BGRA_U8(),          BGRA_F32(),         {{1.50, 1.70}, 0  }},
        {YCoCg_DXT5(),       BGRA_F32(),         {{2.70, 2.70}, 3.0}},
        {BGRA_F32(),         RGB_DPX_FILLED(),   {{1.30, 1.30}, 2.5}},
        {BGRA_F32(),         BGR_DPX_FILLED(),   {{1.30, 1.30}, 2.5}},
        {BGRA_F32(),         RGB_SMPTE_2110(),   {{1.30, 1.30}, 2.5}},
        {BGRA_F32(),         BGR_SMPTE_2110(),   {{1.30, 1.30}, 2.5}},
        {BGRA_F32(),         YUYV_422(),         {{2.20, 2.20}, 2.0}},
        {BGRA_F32(),         ZEQ_420(),          {{2.20, 2.20}, 2.0}},
        {BGRA_F32(),         ZEQ_422(),          {{2.20, 2.20}, 2.0}},
        {BGRA_F32(),         ZEQ_4224_HYBRID(),  {{2.20, 2.20}, 2.0}},
        {BGRA_U8(),          YCoCg_DXT5(),       {{9.00, 9.00}, 5.0}},
        {RGBA_U8(),          RGB_DXT1(),         {{5.00, 5.00}, 5.0}},
    };
    // clang-format on
    return table;
}

std::vector<Conversion> furtherConversions()
{
    std::vector<Conversion> further;
    for (const auto& [formats, steps] : MediaConversion::conversionRegistry()) {
        const Conversion conversion{formats.second, formats.first, {}};
        const auto& source = conversion.source;
        const bool starts = source == BGRA_F32() || source == BGRA_U8() || source == RGB_U8() ||
                            source == RGBA_U8();
        const bool isDirect = steps.size() == 1 || source == BGRA_F32();
        const bool isKnown = std::ranges::any_of(conversions(), [&](const auto& known) {
            return known.source == source && known.destination == conversion.destination;
        });
        const bool packs = Velmora::PackedFormatCvTypes().contains(conversion.destination);
        if (starts && isDirect && packs && !isKnown)
            further.push_back(conversion);
    }
    return further;
}

std::string shortName(const Velmora::FrameFormat& format)
{
    if (Velmora::PackedFormatCvTypes().contains(format))
        return format.pixelFormat;
    return format.pixelFormat + ' ' + toString(format.channelType);
}

std::string shortName(const Conversion& conversion)
{
    return shortName(conversion.source) + " to " + shortName(conversion.destination);
}

}
