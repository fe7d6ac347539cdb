#include "MediaConversion/MediaFile/MediaFormatCodes.h"

#include "MediaConversion/MediaFile/FrameHeader.h"
#include "MediaConversion/MediaFile/Hexadecimal.h"
#include "MediaConversion/MediaFile/RawFrameCreator.h"
#include "MediaConversion/MediaPipeline/Formats.h"
#include "tests/support/ExpectError.h"

#include <gtest/gtest.h>

#include <stdexcept>

using namespace MediaConversion;
using namespace Velmora::Formats;

namespace {

TEST(MediaFormatCodes, areTheseThirteen)
{
    const std::map<std::uint32_t, Velmora::FrameFormat> expected{
        {0x20000000, YCoCg_DXT5()},     {0x00010202, BGR_SMPTE_2110()},
        {0x00010200, RGB_SMPTE_2110()}, {0x0001100C, ZEQ_4224_HYBRID()},
        {0x00001202, BGR_DPX_FILLED()}, {0x00001200, RGB_DPX_FILLED()},
        {0x00001108, ZEQ_422()},        {0x00000206, BGRA_U8()},
        {0x00000204, RGBA_U8()},        {0x00000202, BGR_U8()},
        {0x00000200, RGB_U8()},         {0x00000040, ZEQ_420()},
        {0x00000008, YUYV_422()},
    };
    EXPECT_EQ(mediaFormatCodes(), expected);
}

TEST(Hexadecimal, hasAtLeastFourLowerCaseDigits)
{
    const std::pair<std::uint32_t, const char*> cases[] = {
        {0, "0000"},
        {0x8, "0008"},
        {0x201, "0201"},
        {0xABCD, "abcd"},
        {0x1100C, "1100c"},
        {0x20000001, "20000001"},
        {0xFFFFFFFF, "ffffffff"},
    };
    for (const auto& [code, text] : cases)
        EXPECT_EQ(hexadecimal(code), text);
}

TEST(FrameDataSize, countsWholeGroupsInThirtyTwoBits)
{
    const struct
    {
        Velmora::FrameFormat format;
        std::uint32_t width, height, bytes;
    } cases[] = {
        {ZEQ_422(), 1920, 1080, 5'184'000}, {ZEQ_422(), 1921, 1, 960 * 5},
        {RGB_U8(), 1920, 1080, 6'220'800},  {YCoCg_DXT5(), 1920, 1080, 2'073'600},
        {YCoCg_DXT5(), 7, 7, 16},           {ZEQ_420(), 1920, 1081, 540 * 960 * 6},
        {BGRA_U8(), 0, 65535, 0},           {BGRA_U8(), 32768, 32768, 0},
        {BGRA_U8(), 32768, 32769, 131'072}, {RGB_U8(), 65535, 65535, 4'294'574'083},
    };
    for (const auto& [format, width, height, bytes] : cases)
        EXPECT_EQ(frameDataSize(format, width, height), bytes)
            << toString(format) << ' ' << width << 'x' << height;
}

TEST(RawFrameCreator, refusesFormatsThatAreNeitherFullNorPacked)
{
    const Velmora::FrameFormat format{
        Velmora::Colourspace::RGBA, Velmora::ChannelType::U16, {8, 4, 1, 1}, "RGBA"};
    expectError<std::runtime_error>(
        "Raw frame creator not available for frame format  RGBA_U16_RGBA",
        [&] { rawFrameCreator(format); });
}

}
