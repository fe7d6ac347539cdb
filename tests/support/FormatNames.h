#pragma once

#include "MediaConversion/Encoder/Encoder.h"
#include "MediaConversion/MediaPipeline/Formats.h"

#include <cxxabi.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <typeinfo>
#include <vector>

// Names of the code, as tests and pages show them.
namespace MediaConversion {

// All formats in which frames can be built, in the order of the table.
inline std::vector<Velmora::NamedFormat> allFormats()
{
    std::vector formats(begin(Velmora::Formats::full), end(Velmora::Formats::full));
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
inline std::string className(const std::type_info& type)
{
    char* const name = abi::__cxa_demangle(type.name(), nullptr, nullptr, nullptr);
    const std::string text(name);
    std::free(name);
    return text.substr(text.rfind(':') + 1);
}

}
