#include "MediaConversion/MediaPipeline/CvTypes.h"

#include "MediaConversion/MediaPipeline/Formats.h"
#include "tests/support/ExpectError.h"

#include <gtest/gtest.h>

#include <iterator>

namespace Velmora {
namespace {

using enum Colourspace;
using enum ChannelType;

struct Case
{
    FrameFormat format;
    int cvType;
};

// clang-format off
const Case fullFormats[] = {
    {{RGB,            U8,       { 3, 3, 1, 1}, "RGB"},    16},
    {{RGB,            U8,       { 3, 3, 1, 1}, "BGR"},    16},
    {{RGB,            U10,      { 6, 3, 1, 1}, "RGB"},    18},
    {{RGB,            U12,      { 6, 3, 1, 1}, "RGB"},    18},
    {{RGB,            U15plus1, { 6, 3, 1, 1}, "RGB"},    18},
    {{RGB,            U16,      { 6, 3, 1, 1}, "RGB"},    18},
    {{RGB,            U10,      { 6, 3, 1, 1}, "BGR"},    18},
    {{RGB,            U12,      { 6, 3, 1, 1}, "BGR"},    18},
    {{RGB,            U15plus1, { 6, 3, 1, 1}, "BGR"},    18},
    {{RGB,            U16,      { 6, 3, 1, 1}, "BGR"},    18},
    {{RGB,            F32,      {12, 3, 1, 1}, "RGB"},    21},
    {{RGB,            F32,      {12, 3, 1, 1}, "BGR"},    21},
    {{RGBA,           U8,       { 4, 4, 1, 1}, "RGBA"},   24},
    {{RGBA,           U8,       { 4, 4, 1, 1}, "BGRA"},   24},
    {{RGBA,           U8,       { 4, 4, 1, 1}, "ARGB"},   24},
    {{RGBA,           U10,      { 8, 4, 1, 1}, "RGBA"},   26},
    {{RGBA,           U12,      { 8, 4, 1, 1}, "RGBA"},   26},
    {{RGBA,           U10,      { 8, 4, 1, 1}, "BGRA"},   26},
    {{RGBA,           U12,      { 8, 4, 1, 1}, "BGRA"},   26},
    {{RGBA,           U15plus1, { 8, 4, 1, 1}, "ARGB"},   26},
    {{RGBA,           U16,      { 8, 4, 1, 1}, "BGRA"},   26},
    {{RGBA,           F32,      {16, 4, 1, 1}, "RGBA"},   29},
    {{RGBA,           F32,      {16, 4, 1, 1}, "BGRA"},   29},
    {{YCbCr_ITU_T871, U8,       { 3, 3, 1, 1}, "YCbCr"},  16},
    {{YCbCr_ITU_T871, F32,      {12, 3, 1, 1}, "YCbCr"},  21},
    {{YCbCr_ITU_T871, U8,       { 3, 3, 1, 1}, "YCrCb"},  16},
    {{YCoCgA,         U8,       { 4, 4, 1, 1}, "CoCgAY"}, 24},
};

const Case packedFormats[] = {
    {{RGB,             U10, { 4,  3, 1, 1}, "RGB-DPX-FILLED"},    4},
    {{RGB,             U10, { 4,  3, 1, 1}, "BGR-DPX-FILLED"},    4},
    {{RGB,             U12, { 9,  6, 1, 2}, "RGB-DPX-PACKED"},   64},
    {{RGB,             U12, { 9,  6, 1, 2}, "BGR-DPX-PACKED"},   64},
    {{RGB,             U12, { 9,  6, 1, 2}, "RGB-SMPTE-2110"},   64},
    {{RGB,             U12, { 9,  6, 1, 2}, "BGR-SMPTE-2110"},   64},
    {{RGB,             U8,  { 8, 48, 4, 4}, "RGB-DXT1"},         56},
    {{YCbCr_ITU_T871,  U8,  { 4,  4, 1, 2}, "YUYV-422"},         24},
    {{YCbCr_ITU_T871,  U10, { 5,  4, 1, 2}, "ZEQ-422"},          32},
    {{YCbCrA_ITU_T871, U12, { 8,  6, 1, 2}, "ZEQ-4224-HYBRID"},  12},
    {{YCbCr_ITU_T871,  U8,  { 6,  6, 2, 2}, "ZEQ-420"},          40},
    {{YCoCg,           U8,  {16, 48, 4, 4}, "YCoCg-DXT5"},      120},
};
// clang-format on

TEST(CvTypes, giveEveryFormatItsMatrixType)
{
    EXPECT_EQ(FullFormatCvTypes().size(), 27u);
    for (const auto& [format, cvType] : fullFormats)
        EXPECT_EQ(openCvType(format, FullFormatCvTypes()), cvType) << toString(format);
    EXPECT_EQ(PackedFormatCvTypes().size(), 12u);
    for (const auto& [format, cvType] : packedFormats)
        EXPECT_EQ(openCvType(format, PackedFormatCvTypes()), cvType) << toString(format);
}

TEST(CvTypes, makeAnElementOfEveryGroup)
{
    constexpr std::uint32_t bytesOfDepth[] = {1, 1, 2, 2, 4, 4, 8, 2};
    for (const CvTypes* table : {&FullFormatCvTypes(), &PackedFormatCvTypes()})
        for (const auto& [format, cvType] : *table)
            EXPECT_EQ(bytesOfDepth[cvType % 8] * static_cast<std::uint32_t>(cvType / 8 + 1),
                      format.pixelPacking.bytesPerGroup)
                << toString(format);
}

TEST(CvTypes, haveGaps)
{
    struct Gap
    {
        FrameFormat format;
        const CvTypes& table;
        const char* text;
    };
    const CvTypes& full = FullFormatCvTypes();
    const CvTypes& packed = PackedFormatCvTypes();
    // clang-format off
    const Gap gaps[] = {
        {{RGBA,           U16,      { 8, 4, 1, 1}, "RGBA"},  full,   "RGBA_U16_RGBA"},
        {{RGBA,           U16,      { 8, 4, 1, 1}, "ARGB"},  full,   "RGBA_U16_ARGB"},
        {{RGBA,           U15plus1, { 8, 4, 1, 1}, "RGBA"},  full,   "RGBA_U15plus1_RGBA"},
        {{RGBA,           U15plus1, { 8, 4, 1, 1}, "BGRA"},  full,   "RGBA_U15plus1_BGRA"},
        {{RGBA,           U10,      { 8, 4, 1, 1}, "ARGB"},  full,   "RGBA_U10_ARGB"},
        {{RGBA,           U12,      { 8, 4, 1, 1}, "ARGB"},  full,   "RGBA_U12_ARGB"},
        {{RGBA,           F32,      {16, 4, 1, 1}, "ARGB"},  full,   "RGBA_F32_ARGB"},
        {{YCbCr_ITU_T871, F32,      {12, 3, 1, 1}, "YCrCb"}, full,   "YCbCr_ITU_T871_F32_YCrCb"},
        {{YCbCr_ITU_T871, U10,      { 6, 3, 1, 1}, "YCbCr"}, full,   "YCbCr_ITU_T871_U10_YCbCr"},
        {{YCbCr_ITU_T871, U16,      { 6, 3, 1, 1}, "YCbCr"}, full,   "YCbCr_ITU_T871_U16_YCbCr"},
        {{RGB,            U8,       { 3, 3, 1, 2}, "RGB"},   full,   "RGB_U8_RGB"},
        {Formats::ZEQ_420(),                                 full,   "YCbCr_ITU_T871_U8_ZEQ-420"},
        {Formats::BGRA_F32(),                                packed, "RGBA_F32_BGRA"},
    };
    // clang-format on
    for (const auto& gap : gaps)
        expectError<std::runtime_error>(
            std::string("OpenCV type not defined for frame format ") + gap.text,
            [&] { openCvType(gap.format, gap.table); });
}

}
}
