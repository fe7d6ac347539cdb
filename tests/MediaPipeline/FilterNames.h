#pragma once

#include "MediaConversion/MediaPipeline/Filters.h"

#include <string>

template <class Filter>
bool isFilter(const MediaConversion::IFrameFilter& filter)
{
    return dynamic_cast<const Filter*>(&filter) != nullptr;
}

// The name of a filter's class, so that tests can write chains as plain text.
inline std::string nameOf(const MediaConversion::IFrameFilter& filter)
{
    using namespace MediaConversion;
    struct NamedFilter
    {
        const char* name;
        bool (*holds)(const IFrameFilter&);
    };
    for (const auto& [name, holds] : {
             NamedFilter{"ConvertBitDepth", isFilter<ConvertBitDepth>},
             NamedFilter{"ConvertColourspace", isFilter<ConvertColourspace>},
             NamedFilter{"ConvertNoOperation", isFilter<ConvertNoOperation>},
             NamedFilter{"ConvertRGBtoYCbCr42x", isFilter<ConvertRGBtoYCbCr42x>},
             NamedFilter{"ConvertRGBtoYCoCgDXT5", isFilter<ConvertRGBtoYCoCgDXT5>},
             NamedFilter{"ConvertToFullFrame", isFilter<ConvertToFullFrame>},
             NamedFilter{"ConvertToPackedFrame", isFilter<ConvertToPackedFrame>},
             NamedFilter{"ConvertYCbCr42xToRGB", isFilter<ConvertYCbCr42xToRGB>},
             NamedFilter{"ConvertYCoCgDXT5toRGB", isFilter<ConvertYCoCgDXT5toRGB>},
         })
        if (holds(filter))
            return name;
    return "no known filter";
}
