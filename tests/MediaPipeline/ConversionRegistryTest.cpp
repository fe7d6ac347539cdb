#include "MediaConversion/MediaPipeline/ConversionRegistry.h"

#include "tests/MediaPipeline/FilterNames.h"
#include "tests/MediaPipeline/NamedFormats.h"

#include <gtest/gtest.h>

#include <sstream>

namespace MediaConversion {
namespace {

// One source, the destinations that it reaches through like chains, and the steps. The last step
// ends at the destination; the others name their format.
struct Chains
{
    const char* source;
    const char* destinations;
    const char* steps;
};

// clang-format off
const Chains expected[] = {
    {"RGB_U8",          "BGR_U8 RGBA_U8 BGRA_U8",  "ConvertColourspace"},
    {"RGB_U8",          "BGRA_F32",                "ConvertColourspace BGRA_U8, ConvertBitDepth"},
    {"RGB_U8",          "BGR_DPX_FILLED RGB_DPX_FILLED BGR_SMPTE_2110 RGB_SMPTE_2110", "ConvertToPackedFrame"},
    {"RGB_U8",          "YUYV_422 ZEQ_420",        "ConvertRGBtoYCbCr42x"},
    {"RGB_U8",          "YCoCg_DXT5",              "ConvertRGBtoYCoCgDXT5"},
    {"RGB_U8",          "RGB_DXT1",                "ConvertColourspace RGBA_U8, ConvertRGBtoYCoCgDXT5"},

    {"RGB_U10",         "RGB_DPX_FILLED",          "ConvertToPackedFrame"},

    {"RGB_U12",         "RGB_SMPTE_2110",          "ConvertToPackedFrame"},

    {"RGB_U15plus1",    "ZEQ_422",                 "ConvertRGBtoYCbCr42x"},

    {"BGR_U8",          "RGB_U8 BGRA_U8 RGBA_U8",  "ConvertColourspace"},
    {"BGR_U8",          "BGRA_F32",                "ConvertColourspace BGRA_U8, ConvertBitDepth"},
    {"BGR_U8",          "BGR_DPX_FILLED RGB_DPX_FILLED BGR_SMPTE_2110 RGB_SMPTE_2110", "ConvertToPackedFrame"},
    {"BGR_U8",          "YUYV_422 ZEQ_420",        "ConvertRGBtoYCbCr42x"},
    {"BGR_U8",          "YCoCg_DXT5",              "ConvertRGBtoYCoCgDXT5"},
    {"BGR_U8",          "RGB_DXT1",                "ConvertColourspace RGBA_U8, ConvertRGBtoYCoCgDXT5"},

    {"BGR_U16",         "YUYV_422 ZEQ_422 ZEQ_420", "ConvertRGBtoYCbCr42x"},
    {"BGR_U16",         "BGR_DPX_FILLED RGB_DPX_FILLED BGR_SMPTE_2110 RGB_SMPTE_2110", "ConvertToPackedFrame"},
    {"BGR_U16",         "YCoCg_DXT5",              "ConvertBitDepth BGR_U8, ConvertRGBtoYCoCgDXT5"},

    {"BGR_F32",         "BGRA_F32",                "ConvertColourspace"},
    {"BGR_F32",         "BGR_DPX_FILLED RGB_DPX_FILLED BGR_SMPTE_2110 RGB_SMPTE_2110", "ConvertToPackedFrame"},
    {"BGR_F32",         "YUYV_422 ZEQ_422 ZEQ_420", "ConvertRGBtoYCbCr42x"},
    {"BGR_F32",         "YCoCg_DXT5",              "ConvertBitDepth BGR_U8, ConvertRGBtoYCoCgDXT5"},

    {"RGBA_U8",         "BGR_U8 RGB_U8 BGRA_U8",   "ConvertColourspace"},
    {"RGBA_U8",         "BGRA_F32",                "ConvertColourspace BGRA_U8, ConvertBitDepth"},
    {"RGBA_U8",         "YCoCg_DXT5",              "ConvertRGBtoYCoCgDXT5"},

    {"BGRA_U8",         "RGB_U8 BGR_U8 RGBA_U8",   "ConvertColourspace"},
    {"BGRA_U8",         "BGRA_F32",                "ConvertBitDepth"},
    {"BGRA_U8",         "BGR_DPX_FILLED RGB_DPX_FILLED BGR_SMPTE_2110 RGB_SMPTE_2110", "ConvertToPackedFrame"},
    {"BGRA_U8",         "YUYV_422 ZEQ_422 ZEQ_420", "ConvertRGBtoYCbCr42x"},
    {"BGRA_U8",         "YCoCg_DXT5",              "ConvertRGBtoYCoCgDXT5"},

    {"BGRA_U16",        "BGR_DPX_FILLED RGB_DPX_FILLED BGR_SMPTE_2110 RGB_SMPTE_2110", "ConvertToPackedFrame"},
    {"BGRA_U16",        "YUYV_422 ZEQ_422 ZEQ_420", "ConvertRGBtoYCbCr42x"},
    {"BGRA_U16",        "YCoCg_DXT5",              "ConvertBitDepth BGRA_U8, ConvertRGBtoYCoCgDXT5"},

    {"BGRA_F32",        "BGR_U8 RGB_U8 RGBA_U8",   "ConvertBitDepth BGRA_U8, ConvertColourspace"},
    {"BGRA_F32",        "BGRA_U8",                 "ConvertBitDepth"},
    {"BGRA_F32",        "BGR_DPX_FILLED RGB_DPX_FILLED BGR_SMPTE_2110 RGB_SMPTE_2110", "ConvertToPackedFrame"},
    {"BGRA_F32",        "YUYV_422 ZEQ_422 ZEQ_4224_HYBRID ZEQ_420", "ConvertRGBtoYCbCr42x"},
    {"BGRA_F32",        "YCoCg_DXT5",              "ConvertBitDepth BGRA_U8, ConvertRGBtoYCoCgDXT5"},

    {"ARGB_U8",         "BGR_DPX_FILLED RGB_DPX_FILLED BGR_SMPTE_2110 RGB_SMPTE_2110", "ConvertToPackedFrame"},
    {"ARGB_U8",         "YUYV_422 ZEQ_422",        "ConvertRGBtoYCbCr42x"},

    {"ARGB_U15plus1",   "BGR_DPX_FILLED RGB_DPX_FILLED BGR_SMPTE_2110 RGB_SMPTE_2110", "ConvertToPackedFrame"},
    {"ARGB_U15plus1",   "YUYV_422 ZEQ_422",        "ConvertRGBtoYCbCr42x"},

    {"BGR_DPX_FILLED",  "BGR_U8 RGB_U16 BGRA_U8 BGRA_U16 BGRA_F32 ARGB_U8 ARGB_U15plus1", "ConvertToFullFrame"},

    {"RGB_DPX_FILLED",  "BGR_U8 RGB_U16 BGRA_U8 BGRA_U16 BGRA_F32 ARGB_U8 ARGB_U15plus1", "ConvertToFullFrame"},

    {"BGR_SMPTE_2110",  "RGB_U16 BGRA_U8 BGRA_U16 BGRA_F32 ARGB_U8 ARGB_U15plus1",        "ConvertToFullFrame"},
    {"BGR_SMPTE_2110",  "BGR_U8",                  "ConvertToFullFrame BGR_U12, ConvertBitDepth"},
    {"BGR_SMPTE_2110",  "RGB_SMPTE_2110",          "ConvertToFullFrame BGR_U12, ConvertToPackedFrame"},

    {"RGB_SMPTE_2110",  "RGB_U12 BGR_U12 RGB_U16 BGRA_U8 BGRA_U16 BGRA_F32 ARGB_U8 ARGB_U15plus1", "ConvertToFullFrame"},
    {"RGB_SMPTE_2110",  "RGB_U8",                  "ConvertToFullFrame RGB_U12, ConvertBitDepth"},
    {"RGB_SMPTE_2110",  "BGR_U8",                  "ConvertToFullFrame RGB_U12, ConvertBitDepth RGB_U8, ConvertColourspace"},
    {"RGB_SMPTE_2110",  "ZEQ_422",                 "ConvertToFullFrame RGB_U12, ConvertBitDepth RGB_U15plus1, ConvertRGBtoYCbCr42x"},

    {"YUYV_422",        "RGB_U8 BGR_U8 RGBA_U8 BGRA_U8 BGRA_U16 BGRA_F32 ARGB_U8 ARGB_U15plus1",   "ConvertYCbCr42xToRGB"},

    {"ZEQ_422",         "BGR_U8 RGB_U8 RGB_U16 BGRA_U8 RGBA_U8 BGRA_U16 BGRA_F32 ARGB_U8 ARGB_U15plus1", "ConvertYCbCr42xToRGB"},

    {"ZEQ_4224_HYBRID", "BGRA_F32",                "ConvertYCbCr42xToRGB"},

    {"ZEQ_420",         "RGB_U8 BGR_U8 BGRA_U8 BGRA_U16 BGRA_F32", "ConvertYCbCr42xToRGB"},

    {"YCoCg_DXT5",      "RGB_U8 BGR_U8 BGRA_U8",   "ConvertYCoCgDXT5toRGB"},
    {"YCoCg_DXT5",      "BGRA_F32",                "ConvertYCoCgDXT5toRGB BGRA_U8, ConvertBitDepth"},

    {"BGR_DPX_PACKED",  "BGRA_U8 RGBA_U8",         "ConvertToFullFrame"},
    {"BGR_DPX_PACKED",  "BGR_U8",                  "ConvertToFullFrame BGRA_U8, ConvertColourspace"},
    {"BGR_DPX_PACKED",  "RGB_U8",                  "ConvertToFullFrame RGBA_U8, ConvertColourspace"},
    {"BGR_DPX_PACKED",  "BGR_SMPTE_2110",          "ConvertToFullFrame BGR_U12, ConvertToPackedFrame"},

    {"RGB_DPX_PACKED",  "RGB_U12 BGR_U12 BGRA_U8 RGBA_U8", "ConvertToFullFrame"},
    {"RGB_DPX_PACKED",  "RGB_U8 BGR_U8",           "ConvertToFullFrame RGBA_U8, ConvertColourspace"},
    {"RGB_DPX_PACKED",  "RGB_SMPTE_2110",          "ConvertToFullFrame RGB_U12, ConvertToPackedFrame"},
};
// clang-format on

std::string textOf(const std::vector<ConversionStep>& chain)
{
    std::string text;
    for (const auto& [format, factory] : chain) {
        text += text.empty() ? "" : ", ";
        text += nameOf(*factory(format)) + " " + nameOf(format);
    }
    return text;
}

TEST(ConversionRegistry, holdsTheseChainsAndNoOthers)
{
    std::size_t count = 0;
    for (const auto& [source, destinations, steps] : expected) {
        std::istringstream names(destinations);
        for (std::string destination; names >> destination; ++count) {
            const std::string pair = std::string(source) + " to " + destination;
            const auto chain =
                conversionRegistry().find({formatNamed(destination), formatNamed(source)});
            ASSERT_NE(chain, conversionRegistry().end()) << pair;
            EXPECT_EQ(textOf(chain->second), std::string(steps) + " " + destination) << pair;
        }
    }
    EXPECT_EQ(conversionRegistry().size(), count);
    EXPECT_EQ(count, 166u);
}

}
}
