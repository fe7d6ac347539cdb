#include "MediaConversion/MediaFile/MediaFormatCodes.h"

#include "MediaConversion/MediaPipeline/Formats.h"

namespace MediaConversion {

const std::map<std::uint32_t, Velmora::FrameFormat>& mediaFormatCodes()
{
    using namespace Velmora::Formats;
    // clang-format off
    static const auto& codes = *new std::map<std::uint32_t, Velmora::FrameFormat>{
        {0x00000008, YUYV_422()},
        {0x00000040, ZEQ_420()},
        {0x00000200, RGB_U8()},
        {0x00000202, BGR_U8()},
        {0x00000204, RGBA_U8()},
        {0x00000206, BGRA_U8()},
        {0x00001108, ZEQ_422()},
        {0x00001200, RGB_DPX_FILLED()},
        {0x00001202, BGR_DPX_FILLED()},
        {0x0001100C, ZEQ_4224_HYBRID()},
        {0x00010200, RGB_SMPTE_2110()},
        {0x00010202, BGR_SMPTE_2110()},
        {0x20000000, YCoCg_DXT5()},
    };
    // clang-format on
    return codes;
}

namespace {

// The table is complete once the library is loaded.
[[maybe_unused]] const auto& codesAtStartUp = mediaFormatCodes();

}

}
