#include "MediaConversion/MediaFile/MediaFormatCodes.h"

#include "MediaConversion/MediaPipeline/Formats.h"

namespace MediaConversion {

const std::map<std::uint32_t, Velmora::FrameFormat>& mediaFormatCodes()
{
    static const auto& codes = []() -> const auto&
    {
        auto& map = *new std::map<std::uint32_t, Velmora::FrameFormat>;
        const auto add = [&](const auto& formats) {
            for (const Velmora::NamedFormat& format : formats)
                if (format.mediaCode != Velmora::NamedFormat::noCode)
                    map.emplace(format.mediaCode, format());
        };
        add(Velmora::Formats::full);
        add(Velmora::Formats::packed);
        return map;
    }
    ();
    return codes;
}

namespace {

// The table is complete once the library is loaded.
[[maybe_unused]] const auto& codesAtStartUp = mediaFormatCodes();

}

}
