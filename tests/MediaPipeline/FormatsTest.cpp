#include "MediaConversion/MediaPipeline/Formats.h"

#include <gtest/gtest.h>

#include <array>
#include <map>
#include <utility>

namespace Velmora {
namespace {

struct Case
{
    FrameFormat (*format)();
    std::uint32_t colourspace;
    std::uint32_t channelType;
    std::array<std::uint32_t, 4> packing;
    const char* pixelFormat;
    const char* text;
};

// clang-format off
const Case cases[] = {
    //                        space type  packing         pixel format
    {Formats::RGB_U8,          0,   0,  { 3,  3, 1, 1}, "RGB",             "RGB_U8_RGB"},
    {Formats::RGB_U10,         0,   1,  { 6,  3, 1, 1}, "RGB",             "RGB_U10_RGB"},
    {Formats::RGB_U12,         0,   2,  { 6,  3, 1, 1}, "RGB",             "RGB_U12_RGB"},
    {Formats::RGB_U15plus1,    0,   3,  { 6,  3, 1, 1}, "RGB",             "RGB_U15plus1_RGB"},
    {Formats::RGB_U16,         0,   4,  { 6,  3, 1, 1}, "RGB",             "RGB_U16_RGB"},
    {Formats::RGB_F32,         0,   5,  {12,  3, 1, 1}, "RGB",             "RGB_F32_RGB"},
    {Formats::BGR_U8,          0,   0,  { 3,  3, 1, 1}, "BGR",             "RGB_U8_BGR"},
    {Formats::BGR_U10,         0,   1,  { 6,  3, 1, 1}, "BGR",             "RGB_U10_BGR"},
    {Formats::BGR_U12,         0,   2,  { 6,  3, 1, 1}, "BGR",             "RGB_U12_BGR"},
    {Formats::BGR_U16,         0,   4,  { 6,  3, 1, 1}, "BGR",             "RGB_U16_BGR"},
    {Formats::BGR_F32,         0,   5,  {12,  3, 1, 1}, "BGR",             "RGB_F32_BGR"},
    {Formats::RGBA_U8,         1,   0,  { 4,  4, 1, 1}, "RGBA",            "RGBA_U8_RGBA"},
    {Formats::BGRA_U8,         1,   0,  { 4,  4, 1, 1}, "BGRA",            "RGBA_U8_BGRA"},
    {Formats::BGRA_U16,        1,   4,  { 8,  4, 1, 1}, "BGRA",            "RGBA_U16_BGRA"},
    {Formats::BGRA_F32,        1,   5,  {16,  4, 1, 1}, "BGRA",            "RGBA_F32_BGRA"},
    {Formats::ARGB_U8,         1,   0,  { 4,  4, 1, 1}, "ARGB",            "RGBA_U8_ARGB"},
    {Formats::ARGB_U15plus1,   1,   3,  { 8,  4, 1, 1}, "ARGB",            "RGBA_U15plus1_ARGB"},
    {Formats::CoCgAY_U8,       5,   0,  { 4,  4, 1, 1}, "CoCgAY",          "YCoCgA_U8_CoCgAY"},
    {Formats::RGB_DPX_FILLED,  0,   1,  { 4,  3, 1, 1}, "RGB-DPX-FILLED",  "RGB_U10_RGB-DPX-FILLED"},
    {Formats::BGR_DPX_FILLED,  0,   1,  { 4,  3, 1, 1}, "BGR-DPX-FILLED",  "RGB_U10_BGR-DPX-FILLED"},
    {Formats::RGB_DPX_PACKED,  0,   2,  { 9,  6, 1, 2}, "RGB-DPX-PACKED",  "RGB_U12_RGB-DPX-PACKED"},
    {Formats::BGR_DPX_PACKED,  0,   2,  { 9,  6, 1, 2}, "BGR-DPX-PACKED",  "RGB_U12_BGR-DPX-PACKED"},
    {Formats::RGB_SMPTE_2110,  0,   2,  { 9,  6, 1, 2}, "RGB-SMPTE-2110",  "RGB_U12_RGB-SMPTE-2110"},
    {Formats::BGR_SMPTE_2110,  0,   2,  { 9,  6, 1, 2}, "BGR-SMPTE-2110",  "RGB_U12_BGR-SMPTE-2110"},
    {Formats::YUYV_422,        2,   0,  { 4,  4, 1, 2}, "YUYV-422",        "YCbCr_ITU_T871_U8_YUYV-422"},
    {Formats::ZEQ_422,         2,   1,  { 5,  4, 1, 2}, "ZEQ-422",         "YCbCr_ITU_T871_U10_ZEQ-422"},
    {Formats::ZEQ_4224_HYBRID, 3,   2,  { 8,  6, 1, 2}, "ZEQ-4224-HYBRID", "YCbCrA_ITU_T871_U12_ZEQ-4224-HYBRID"},
    {Formats::ZEQ_420,         2,   0,  { 6,  6, 2, 2}, "ZEQ-420",         "YCbCr_ITU_T871_U8_ZEQ-420"},
    {Formats::YCoCg_DXT5,      4,   0,  {16, 48, 4, 4}, "YCoCg-DXT5",      "YCoCg_U8_YCoCg-DXT5"},
    {Formats::RGB_DXT1,        0,   0,  { 8, 48, 4, 4}, "RGB-DXT1",        "RGB_U8_RGB-DXT1"},
};
// clang-format on

TEST(Formats, holdWhatTheirNamesSay)
{
    for (const auto& [function, colourspace, channelType, packing, pixelFormat, text] : cases) {
        SCOPED_TRACE(text);
        const FrameFormat format = function();
        EXPECT_EQ(static_cast<std::uint32_t>(format.colourspace), colourspace);
        EXPECT_EQ(static_cast<std::uint32_t>(format.channelType), channelType);
        const auto& [bytes, channels, rows, columns] = format.pixelPacking;
        EXPECT_EQ((std::array{bytes, channels, rows, columns}), packing);
        EXPECT_EQ(format.pixelFormat, pixelFormat);
        EXPECT_EQ(toString(format), text);
    }
}

TEST(Formats, areKeysAloneAndInPairs)
{
    std::map<FrameFormat, int> single;
    std::map<std::pair<FrameFormat, FrameFormat>, int> pairs;
    int number = 0;
    for (const auto& first : cases) {
        single.emplace(first.format(), ++number);
        for (const auto& second : cases)
            pairs.emplace(std::pair(first.format(), second.format()), ++number);
    }
    EXPECT_EQ(single.size(), 30u);
    EXPECT_EQ(pairs.size(), 900u);
    EXPECT_NE(pairs.at({Formats::BGR_U8(), Formats::RGB_U8()}),
              pairs.at({Formats::RGB_U8(), Formats::BGR_U8()}));
    EXPECT_LT(Formats::BGR_U8(), Formats::RGB_U8());
}

}
}
