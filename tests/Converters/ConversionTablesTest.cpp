#include "tests/Converters/ConvertedFrames.h"

#include <algorithm>
#include <cstddef>
#include <typeinfo>
#include <utility>
#include <vector>

namespace MediaConversion {
namespace {

using namespace Velmora::Formats;
using Formats = std::vector<Velmora::FrameFormat>;

// Expects the converter to have the pairs of all rows and no others.
template <class Processor>
void expectPairs(std::size_t count, const std::vector<std::pair<Formats, Formats>>& rows)
{
    FormatPairs expected;
    for (const auto& [sources, destinations] : rows)
        for (const auto& source : sources)
            for (const auto& destination : destinations)
                expected.emplace_back(source, destination);
    std::ranges::sort(expected);
    EXPECT_EQ(expected.size(), count);
    EXPECT_TRUE(pairsOf<Processor>() == expected) << typeid(Processor).name();
}

TEST(ConversionTables, holdExactlyThesePairs)
{
    // clang-format off
    expectPairs<ImageToFullFrame>(62, {
        {{RGB_DPX_FILLED(), BGR_DPX_FILLED(), RGB_DPX_PACKED(), BGR_DPX_PACKED(), RGB_SMPTE_2110(), BGR_SMPTE_2110()},
         {RGB_U8(), BGR_U8(), BGRA_U8(), BGRA_U16(), BGRA_F32(), ARGB_U8(), ARGB_U15plus1()}},
        {{RGB_DPX_FILLED(), BGR_DPX_FILLED()}, {RGB_U10(), BGR_U10(), RGB_U16(), RGBA_U8()}},
        {{RGB_DPX_PACKED(), BGR_DPX_PACKED()}, {RGB_U12(), BGR_U12(), RGBA_U8()}},
        {{RGB_SMPTE_2110(), BGR_SMPTE_2110()}, {RGB_U12(), BGR_U12(), RGB_U16()}},
    });
    expectPairs<ImageToPackedFrame>(40, {
        {{RGB_U8(), BGR_U8(), BGR_U16(), BGR_F32(), BGRA_U8(), BGRA_U16(), BGRA_F32(), ARGB_U8(), ARGB_U15plus1()},
         {RGB_DPX_FILLED(), BGR_DPX_FILLED(), RGB_SMPTE_2110(), BGR_SMPTE_2110()}},
        {{RGB_U10()}, {RGB_DPX_FILLED()}},
        {{RGB_U12()}, {RGB_SMPTE_2110()}},
        {{BGR_U12()}, {RGB_SMPTE_2110(), BGR_SMPTE_2110()}},
    });
    expectPairs<ImageYCbCr42xToRGB>(22, {
        {{YUYV_422()}, {RGB_U8(), BGR_U8(), BGRA_U8(), BGRA_U16(), ARGB_U8(), ARGB_U15plus1(), BGRA_F32()}},
        {{ZEQ_422()}, {RGB_U8(), BGR_U8(), BGRA_U8(), BGRA_U16(), ARGB_U8(), ARGB_U15plus1(), BGRA_F32(), RGB_U16(), RGB_U15plus1()}},
        {{ZEQ_4224_HYBRID()}, {BGRA_F32()}},
        {{ZEQ_420()}, {RGB_U8(), BGR_U8(), BGRA_U8(), BGRA_U16(), BGRA_F32()}},
    });
    expectPairs<ImageRGBtoYCbCr42x>(25, {
        {{RGB_U8(), BGR_U8()}, {YUYV_422(), ZEQ_420()}},
        {{RGB_U15plus1()}, {ZEQ_422()}},
        {{BGR_U16(), BGR_F32(), BGRA_U8(), BGRA_U16(), BGRA_F32()}, {YUYV_422(), ZEQ_422(), ZEQ_420()}},
        {{BGRA_F32()}, {ZEQ_4224_HYBRID()}},
        {{ARGB_U8(), ARGB_U15plus1()}, {YUYV_422(), ZEQ_422()}},
    });
    expectPairs<ImageYCoCgDXT5toRGB>(6, {
        {{YCoCg_DXT5(), RGB_DXT1()}, {RGB_U8(), BGR_U8(), BGRA_U8()}},
    });
    expectPairs<ImageRGBtoYCoCgDXT5>(5, {
        {{RGB_U8(), BGR_U8(), RGBA_U8(), BGRA_U8()}, {YCoCg_DXT5()}},
        {{RGBA_U8()}, {RGB_DXT1()}},
    });
    expectPairs<ImageColourspace>(13, {
        {{RGB_U8(), BGR_U8()}, {RGBA_U8(), BGRA_U8()}},
        {{RGBA_U8(), BGRA_U8()}, {RGB_U8(), BGR_U8()}},
        {{RGB_U8()}, {BGR_U8()}},
        {{BGR_U8()}, {RGB_U8()}},
        {{RGBA_U8()}, {BGRA_U8()}},
        {{BGRA_U8()}, {RGBA_U8()}},
        {{BGR_F32()}, {BGRA_F32()}},
    });
    // clang-format on
}

TEST(ConversionTables, holdExactlyTheseChannelTypes)
{
    using enum Velmora::ChannelType;
    std::vector<std::pair<Velmora::ChannelType, Velmora::ChannelType>> pairs;
    for (const auto& [types, scaling] : ImageBitDepth::conversions())
        pairs.push_back(types);
    // clang-format off
    EXPECT_TRUE(pairs == decltype(pairs)({
        {U8, U8}, {U8, U12}, {U8, U15plus1}, {U8, F32}, {U12, U8}, {U12, U15plus1}, {U12, F32},
        {U15plus1, U12}, {U16, U8}, {F32, U8}, {F32, U10}, {F32, U12}}));
    // clang-format on
}

}
}
