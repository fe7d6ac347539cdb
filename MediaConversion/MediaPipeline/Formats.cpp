#include "MediaConversion/MediaPipeline/Formats.h"

#include "MediaConversion/Errors.h"

#include <opencv2/core/mat.hpp>

#include <initializer_list>
#include <string>
#include <vector>

namespace Velmora::Formats {

using enum Colourspace;
using enum ChannelType;

// clang-format off

//                                             colourspace      channel type  bytes, channels, rows, columns of a group
FrameFormat RGB_U8()          { return {RGB,             U8,       { 3,  3, 1, 1}, "RGB"};             }
FrameFormat RGB_U10()         { return {RGB,             U10,      { 6,  3, 1, 1}, "RGB"};             }
FrameFormat RGB_U12()         { return {RGB,             U12,      { 6,  3, 1, 1}, "RGB"};             }
FrameFormat RGB_U15plus1()    { return {RGB,             U15plus1, { 6,  3, 1, 1}, "RGB"};             }
FrameFormat RGB_U16()         { return {RGB,             U16,      { 6,  3, 1, 1}, "RGB"};             }
FrameFormat RGB_F32()         { return {RGB,             F32,      {12,  3, 1, 1}, "RGB"};             }
FrameFormat BGR_U8()          { return {RGB,             U8,       { 3,  3, 1, 1}, "BGR"};             }
FrameFormat BGR_U10()         { return {RGB,             U10,      { 6,  3, 1, 1}, "BGR"};             }
FrameFormat BGR_U12()         { return {RGB,             U12,      { 6,  3, 1, 1}, "BGR"};             }
FrameFormat BGR_U16()         { return {RGB,             U16,      { 6,  3, 1, 1}, "BGR"};             }
FrameFormat BGR_F32()         { return {RGB,             F32,      {12,  3, 1, 1}, "BGR"};             }
FrameFormat RGBA_U8()         { return {RGBA,            U8,       { 4,  4, 1, 1}, "RGBA"};            }
FrameFormat BGRA_U8()         { return {RGBA,            U8,       { 4,  4, 1, 1}, "BGRA"};            }
FrameFormat BGRA_U16()        { return {RGBA,            U16,      { 8,  4, 1, 1}, "BGRA"};            }
FrameFormat BGRA_F32()        { return {RGBA,            F32,      {16,  4, 1, 1}, "BGRA"};            }
FrameFormat ARGB_U8()         { return {RGBA,            U8,       { 4,  4, 1, 1}, "ARGB"};            }
FrameFormat ARGB_U15plus1()   { return {RGBA,            U15plus1, { 8,  4, 1, 1}, "ARGB"};            }
FrameFormat CoCgAY_U8()       { return {YCoCgA,          U8,       { 4,  4, 1, 1}, "CoCgAY"};          }

FrameFormat RGB_DPX_FILLED()  { return {RGB,             U10,      { 4,  3, 1, 1}, "RGB-DPX-FILLED"};  }
FrameFormat BGR_DPX_FILLED()  { return {RGB,             U10,      { 4,  3, 1, 1}, "BGR-DPX-FILLED"};  }
FrameFormat RGB_DPX_PACKED()  { return {RGB,             U12,      { 9,  6, 1, 2}, "RGB-DPX-PACKED"};  }
FrameFormat BGR_DPX_PACKED()  { return {RGB,             U12,      { 9,  6, 1, 2}, "BGR-DPX-PACKED"};  }
FrameFormat RGB_SMPTE_2110()  { return {RGB,             U12,      { 9,  6, 1, 2}, "RGB-SMPTE-2110"};  }
FrameFormat BGR_SMPTE_2110()  { return {RGB,             U12,      { 9,  6, 1, 2}, "BGR-SMPTE-2110"};  }
FrameFormat YUYV_422()        { return {YCbCr_ITU_T871,  U8,       { 4,  4, 1, 2}, "YUYV-422"};        }
FrameFormat ZEQ_422()         { return {YCbCr_ITU_T871,  U10,      { 5,  4, 1, 2}, "ZEQ-422"};         }
FrameFormat ZEQ_4224_HYBRID() { return {YCbCrA_ITU_T871, U12,      { 8,  6, 1, 2}, "ZEQ-4224-HYBRID"}; }
FrameFormat ZEQ_420()         { return {YCbCr_ITU_T871,  U8,       { 6,  6, 2, 2}, "ZEQ-420"};         }
FrameFormat YCoCg_DXT5()      { return {YCoCg,           U8,       {16, 48, 4, 4}, "YCoCg-DXT5"};      }
FrameFormat RGB_DXT1()        { return {RGB,             U8,       { 8, 48, 4, 4}, "RGB-DXT1"};        }

// clang-format on

}

namespace Velmora {

namespace {

// A rule stands for one entry per combination of its pixel formats and channel types.
struct Rule
{
    std::vector<std::string> pixelFormats;
    Colourspace colourspace;
    std::vector<ChannelType> channelTypes;
    PixelPacking pixelPacking;
    int cvType;
};

CvTypes expand(std::initializer_list<Rule> rules)
{
    CvTypes types;
    for (const auto& rule : rules)
        for (const auto& pixelFormat : rule.pixelFormats)
            for (const auto channelType : rule.channelTypes)
                types.emplace(
                    FrameFormat{rule.colourspace, channelType, rule.pixelPacking, pixelFormat},
                    rule.cvType);
    return types;
}

}

// No entry for RGBA and ARGB at U16, RGBA and BGRA at U15plus1, ARGB at U10, U12 and F32, and YCbCr
// between U8 and F32: no conversion makes such frames.
const CvTypes& FullFormatCvTypes()
{
    using enum Colourspace;
    using enum ChannelType;
    // clang-format off
    static const CvTypes& types = *new CvTypes(expand({
        // pixel formats            colourspace     channel types              packing          OpenCV type
        {{"RGB", "BGR"},            RGB,            {U8},                      { 3, 3, 1, 1},   CV_8UC3 },
        {{"RGB", "BGR"},            RGB,            {U10, U12, U15plus1, U16}, { 6, 3, 1, 1},   CV_16UC3},
        {{"RGB", "BGR"},            RGB,            {F32},                     {12, 3, 1, 1},   CV_32FC3},
        {{"RGBA", "BGRA", "ARGB"},  RGBA,           {U8},                      { 4, 4, 1, 1},   CV_8UC4 },
        {{"RGBA", "BGRA"},          RGBA,           {U10, U12},                { 8, 4, 1, 1},   CV_16UC4},
        {{"ARGB"},                  RGBA,           {U15plus1},                { 8, 4, 1, 1},   CV_16UC4},
        {{"BGRA"},                  RGBA,           {U16},                     { 8, 4, 1, 1},   CV_16UC4},
        {{"RGBA", "BGRA"},          RGBA,           {F32},                     {16, 4, 1, 1},   CV_32FC4},
        {{"YCbCr"},                 YCbCr_ITU_T871, {U8},                      { 3, 3, 1, 1},   CV_8UC3 },
        {{"YCbCr"},                 YCbCr_ITU_T871, {F32},                     {12, 3, 1, 1},   CV_32FC3},
        {{"YCrCb"},                 YCbCr_ITU_T871, {U8},                      { 3, 3, 1, 1},   CV_8UC3 },
        {{"CoCgAY"},                YCoCgA,         {U8},                      { 4, 4, 1, 1},   CV_8UC4 },
    }));
    // clang-format on
    return types;
}

const CvTypes& PackedFormatCvTypes()
{
    using namespace Formats;
    // clang-format off
    static const CvTypes& types = *new CvTypes{
        {RGB_DPX_FILLED(),  CV_32SC1   },
        {BGR_DPX_FILLED(),  CV_32SC1   },
        {RGB_DPX_PACKED(),  CV_8UC(9)  },
        {BGR_DPX_PACKED(),  CV_8UC(9)  },
        {RGB_SMPTE_2110(),  CV_8UC(9)  },
        {BGR_SMPTE_2110(),  CV_8UC(9)  },
        {RGB_DXT1(),        CV_8UC(8)  },
        {YUYV_422(),        CV_8UC4    },
        {ZEQ_422(),         CV_8UC(5)  },
        {ZEQ_4224_HYBRID(), CV_32SC2   },
        {ZEQ_420(),         CV_8UC(6)  },
        {YCoCg_DXT5(),      CV_8UC(16) },
    };
    // clang-format on
    return types;
}

int openCvType(const FrameFormat& format, const CvTypes& table)
{
    const auto entry = table.find(format);
    if (entry == table.end())
        MediaConversion::fail("OpenCV type not defined for frame format ", format);
    return entry->second;
}

namespace {

// Both tables are complete once the library is loaded.
[[maybe_unused]] const auto& fullTypesAtStartUp = FullFormatCvTypes();
[[maybe_unused]] const auto& packedTypesAtStartUp = PackedFormatCvTypes();

}

}
