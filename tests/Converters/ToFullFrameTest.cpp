#include "MediaConversion/Converters/ImageToFullFrame.h"
#include "MediaConversion/MediaPipeline/Formats.h"
#include "tests/Converters/ConvertedFrames.h"
#include "tests/support/ExpectError.h"
#include "tests/support/PlainDecoding.h"

#include <array>
#include <string>

namespace MediaConversion {
namespace {

using namespace Velmora::Formats;
using Velmora::FrameFormat;

const std::vector<FrameFormat> packings{RGB_DPX_FILLED(), BGR_DPX_FILLED(), RGB_DPX_PACKED(),
                                        BGR_DPX_PACKED(), RGB_SMPTE_2110(), BGR_SMPTE_2110()};

bool isTenBit(const FrameFormat& packing)
{
    return packing.channelType == Velmora::ChannelType::U10;
}

std::vector<std::uint8_t> littleEndian(std::uint32_t word)
{
    return {static_cast<std::uint8_t>(word), static_cast<std::uint8_t>(word >> 8),
            static_cast<std::uint8_t>(word >> 16), static_cast<std::uint8_t>(word >> 24)};
}

// The bytes of one group that holds the samples (three for a 32-bit word, else six).
std::vector<std::uint8_t> packedGroup(const FrameFormat& packing, const std::array<unsigned, 6>& s)
{
    if (isTenBit(packing))
        return littleEndian(s[0] << 22 | s[1] << 12 | s[2] << 2);
    std::vector<std::uint8_t> bytes;
    const bool lowBitsFirst = packing.pixelFormat.ends_with("-DPX-PACKED");
    for (int k = 0; k < 6; k += 2) {
        const unsigned even = s[k];
        const unsigned odd = s[k + 1];
        if (lowBitsFirst)
            for (const unsigned byte : {even & 0xFF, even >> 8 | (odd & 0xF) << 4, odd >> 4})
                bytes.push_back(static_cast<std::uint8_t>(byte));
        else
            for (const unsigned byte : {even >> 4, (even & 0xF) << 4 | odd >> 8, odd & 0xFF})
                bytes.push_back(static_cast<std::uint8_t>(byte));
    }
    return bytes;
}

TEST(ToFullFrame, hasItsTableOfPairs)
{
    const std::vector filled{RGB_U8(),   BGR_U8(),  RGB_U10(),      BGR_U10(),
                             RGB_U16(),  RGBA_U8(), BGRA_U8(),      BGRA_U16(),
                             BGRA_F32(), ARGB_U8(), ARGB_U15plus1()};
    const std::vector packed{RGB_U8(),  BGR_U8(),   RGB_U12(),  BGR_U12(), RGBA_U8(),
                             BGRA_U8(), BGRA_U16(), BGRA_F32(), ARGB_U8(), ARGB_U15plus1()};
    const std::vector smpte{RGB_U8(),  BGR_U8(),   RGB_U12(),  BGR_U12(), RGB_U16(),
                            BGRA_U8(), BGRA_U16(), BGRA_F32(), ARGB_U8(), ARGB_U15plus1()};
    const auto& table = ImageToFullFrame::conversions();
    expectPairs(table, {{RGB_DPX_FILLED(), filled},
                        {BGR_DPX_FILLED(), filled},
                        {RGB_DPX_PACKED(), packed},
                        {BGR_DPX_PACKED(), packed},
                        {RGB_SMPTE_2110(), smpte},
                        {BGR_SMPTE_2110(), smpte}});
    EXPECT_EQ(table.size(), 62u);
}

TEST(ToFullFrame, refusesPairsOutsideItsTable)
{
    // clang-format off
    const RefusedPair refusedPairs[] = {
        {RGB_SMPTE_2110(), RGBA_U8(),      "RGB_U12_RGB-SMPTE-2110 to RGBA_U8_RGBA"},
        {BGR_SMPTE_2110(), RGBA_U8(),      "RGB_U12_BGR-SMPTE-2110 to RGBA_U8_RGBA"},
        {RGB_DPX_PACKED(), RGB_U16(),      "RGB_U12_RGB-DPX-PACKED to RGB_U16_RGB"},
        {BGR_DPX_PACKED(), RGB_U16(),      "RGB_U12_BGR-DPX-PACKED to RGB_U16_RGB"},
        {RGB_DPX_FILLED(), RGB_U12(),      "RGB_U10_RGB-DPX-FILLED to RGB_U12_RGB"},
        {RGB_DPX_FILLED(), BGR_U16(),      "RGB_U10_RGB-DPX-FILLED to RGB_U16_BGR"},
        {BGR_DPX_PACKED(), BGR_U10(),      "RGB_U12_BGR-DPX-PACKED to RGB_U10_BGR"},
        {RGB_SMPTE_2110(), RGB_U15plus1(), "RGB_U12_RGB-SMPTE-2110 to RGB_U15plus1_RGB"},
        {RGB_SMPTE_2110(), RGB_F32(),      "RGB_U12_RGB-SMPTE-2110 to RGB_F32_RGB"},
        {YUYV_422(),       BGRA_U8(),      "YCbCr_ITU_T871_U8_YUYV-422 to RGBA_U8_BGRA"},
        {YCoCg_DXT5(),     BGRA_F32(),     "YCoCg_U8_YCoCg-DXT5 to RGBA_F32_BGRA"},
        {RGB_DPX_FILLED(), RGB_SMPTE_2110(), "RGB_U10_RGB-DPX-FILLED to RGB_U12_RGB-SMPTE-2110"},
    };
    // clang-format on
    for (const auto& refused : refusedPairs)
        expectError<std::runtime_error>(
            std::string("Unpacking is not supported from ") + refused.text, [&] {
                converted<ImageToFullFrame>(refused.source, randomMatrix(refused.source, 2, 2),
                                            refused.destination);
            });
}

TEST(ToFullFrame, takesPackedFramesOnly)
{
    const auto groups = randomMatrix(RGB_DPX_FILLED(), 2, 2);
    // Neither destination may be looked at before the kind of the frame is.
    for (const auto& destination : {BGRA_U8(), YCoCg_DXT5()}) {
        expectError<std::runtime_error>("Can only convert packed images", [&] {
            converted<ImageToFullFrame>(
                std::make_shared<ForeignImageFrame>(RGB_DPX_FILLED(), groups), destination);
        });
        expectError<std::runtime_error>("Can only convert packed images", [&] {
            converted<ImageToFullFrame>(
                std::make_shared<Velmora::FullFrame>(RGB_U8(), randomMatrix(RGB_U8(), 2, 2)),
                destination);
        });
    }
}

TEST(ToFullFrame, convertsSamplesByTheirRule)
{
    const auto allOnes = littleEndian(0xFFFFFFFFu);
    const auto firstSample = littleEndian(0xFFC00000u);
    const auto padding = littleEndian(0x00000003u);
    const auto word = littleEndian(1020u << 22 | 1019u << 12 | 512u << 2 | 2u);
    const std::vector<std::uint8_t> lowBits{0x01, 0x20, 0, 0, 0, 0, 0, 0, 0};
    const auto six = [](const FrameFormat& packing) {
        return packedGroup(packing, {4095, 2048, 0xFEF, 0xFF0, 1, 0});
    };
    // clang-format off
    const DecodingCase cases[] = {
        {"allOnesU8",         RGB_DPX_FILLED(), allOnes,     RGB_U8(),        {255, 255, 255}},
        {"allOnesU10",        RGB_DPX_FILLED(), allOnes,     RGB_U10(),       {1023, 1023, 1023}},
        {"allOnesU16",        RGB_DPX_FILLED(), allOnes,     RGB_U16(),       {65535, 65535, 65535}},
        {"allOnesU15plus1",   RGB_DPX_FILLED(), allOnes,     ARGB_U15plus1(), {32768, 32768, 32768, 32768}},
        {"allOnesF32",        RGB_DPX_FILLED(), allOnes,     BGRA_F32(),      {1, 1, 1, 1}},
        {"firstSampleIsRed",  RGB_DPX_FILLED(), firstSample, BGRA_U8(),       {0, 0, 255, 255}},
        {"firstSampleIsBlue", BGR_DPX_FILLED(), firstSample, BGRA_U8(),       {255, 0, 0, 255}},
        {"paddingRGB",        RGB_DPX_FILLED(), padding,     RGB_U10(),       {0, 0, 0}},
        {"paddingARGB",       BGR_DPX_FILLED(), padding,     ARGB_U15plus1(), {32768, 0, 0, 0}},
        {"cut10",             RGB_DPX_FILLED(), word,        RGB_U8(),        {255, 254, 128}},
        {"cut10RGBA",         BGR_DPX_FILLED(), word,        RGBA_U8(),       {128, 254, 255, 255}},
        {"copied10",          RGB_DPX_FILLED(), word,        BGR_U10(),       {512, 1019, 1020}},
        {"scaled10U16",       RGB_DPX_FILLED(), word,        RGB_U16(),       {65343, 65279, 32800}},
        {"scaled10U15plus1",  RGB_DPX_FILLED(), word,        ARGB_U15plus1(), {32768, 32672, 32640, 16400}},
        {"scaled10F32",       RGB_DPX_FILLED(), word,        BGRA_F32(),      {512 / 1023.0, 1019 / 1023.0, 1020 / 1023.0, 1}},
        {"lowBitsFirst",      RGB_DPX_PACKED(), lowBits,     RGB_U12(),       {1, 2, 0, 0, 0, 0}},
        {"highBitsFirst",     RGB_SMPTE_2110(), lowBits,     RGB_U12(),       {0x12, 0, 0, 0, 0, 0}},
        {"cut12",             RGB_SMPTE_2110(), six(RGB_SMPTE_2110()), RGB_U8(),        {255, 128, 254, 255, 0, 0}},
        {"cut12RGBA",         BGR_DPX_PACKED(), six(BGR_DPX_PACKED()), RGBA_U8(),       {254, 128, 255, 255, 0, 0, 255, 255}},
        {"copied12",          RGB_DPX_PACKED(), six(RGB_DPX_PACKED()), BGR_U12(),       {4079, 2048, 4095, 0, 1, 4080}},
        {"scaled12U16",       BGR_SMPTE_2110(), six(BGR_SMPTE_2110()), RGB_U16(),       {65279, 32776, 65535, 0, 16, 65295}},
        {"scaled12U15plus1",  RGB_DPX_PACKED(), six(RGB_DPX_PACKED()), ARGB_U15plus1(), {32768, 32768, 16388, 32640, 32768, 32648, 8, 0}},
        {"scaled12F32",       RGB_SMPTE_2110(), six(RGB_SMPTE_2110()), BGRA_F32(),
         {4079 / 4095.0, 2048 / 4095.0, 1, 1, 0, 1 / 4095.0, 4080 / 4095.0, 1}},
    };
    // clang-format on
    for (const auto& row : cases)
        expectChannels(row, converted<ImageToFullFrame>(row.source, groupsOf(row.source, row.group),
                                                        row.destination));
}

TEST(ToFullFrame, leadsEachSampleToItsChannelAlone)
{
    for (const auto& packing : packings) {
        const unsigned maximum = isTenBit(packing) ? 1023 : 4095;
        for (int sample = 0; sample < (isTenBit(packing) ? 3 : 6); ++sample) {
            std::array<unsigned, 6> samples{};
            samples[sample] = maximum;
            std::vector<double> expected(isTenBit(packing) ? 4 : 8, 0.0);
            const auto channel = std::string("BGRA").find(packing.pixelFormat[sample % 3]);
            for (std::size_t alpha = 3; alpha < expected.size(); alpha += 4)
                expected[alpha] = 1;
            expected[sample / 3 * 4 + channel] = 1;
            const auto pixels = converted<ImageToFullFrame>(
                packing, groupsOf(packing, packedGroup(packing, samples)), BGRA_F32());
            EXPECT_EQ(channelValues(pixels), expected)
                << packing.pixelFormat << ", sample " << sample;
        }
    }
}

// Odd multipliers run through all values of a sample, in each position in another order.
TEST(ToFullFrame, convertsEverySampleInEveryPosition)
{
    for (const auto& packing : packings) {
        const unsigned maximum = isTenBit(packing) ? 1023 : 4095;
        std::vector<std::uint8_t> bytes;
        for (unsigned value = 0; value <= maximum; ++value) {
            std::array<unsigned, 6> samples{};
            for (unsigned sample = 0; sample < 6; ++sample)
                samples[sample] = (value * (2 * sample + 1) + 211 * sample) & maximum;
            const auto group = packedGroup(packing, samples);
            bytes.insert(bytes.end(), group.begin(), group.end());
        }
        const auto frame =
            std::make_shared<Velmora::PackedFrame>(packing, groupsOf(packing, bytes));
        for (const auto& entry : ImageToFullFrame::conversions()) {
            const auto& [source, destination] = entry.first;
            if (source != packing)
                continue;
            EXPECT_TRUE(sameBytes(plainDecode(*frame, destination),
                                  converted<ImageToFullFrame>(frame, destination)))
                << toString(packing) << " to " << toString(destination);
        }
    }
}

}
}
