#pragma once

#include "MediaConversion/Encoder/Encoder.h"
#include "MediaConversion/MediaPipeline/Formats.h"

#include <algorithm>
#include <string>
#include <typeinfo>
#include <vector>

// Names of the code, as tests and pages show them.
namespace MediaConversion {

// All formats in which frames can be built, in the order of the table.
inline std::vector<Velmora::NamedFormat> allFormats()
{
    std::vector<Velmora::NamedFormat> formats(begin(Velmora::Formats::full),
                                              end(Velmora::Formats::full));
    formats.insert(formats.end(), begin(Velmora::Formats::packed), end(Velmora::Formats::packed));
    return formats;
}

// As its function is called: RGB_U8, ZEQ_422.
inline std::string functionOf(const Velmora::FrameFormat& format)
{
    auto name = shortName(format);
    std::ranges::replace(name, '-', '_');
    return name;
}

// Without what surrounds it: ConvertBitDepth.
std::string className(const std::type_info& type);

}
