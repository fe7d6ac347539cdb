#include "tests/Converters/ConvertedFrames.h"

#include <cmath>
#include <cstdint>
#include <vector>

namespace MediaConversion {
namespace {

using namespace Velmora::Formats;

TEST(RgbPackings, unpackSamplesByTheirRule)
{
    const std::vector<double> lowBits{0x01, 0x20, 0, 0, 0, 0, 0, 0, 0};
    const auto word = groupOf(RGB_DPX_FILLED(), {1020, 1019, 512});
    const auto six = groupOf(RGB_SMPTE_2110(), {4095, 2048, 0xFEF, 0xFF0, 1, 0});
    // clang-format off
    expectCases<ImageToFullFrame>({
        {"firstSampleIsRed",  RGB_DPX_FILLED(), {0, 0, 0xC0, 0xFF}, BGRA_U8(), {0, 0, 255, 255}},
        {"firstSampleIsBlue", BGR_DPX_FILLED(), {3, 0, 0xC0, 0xFF}, BGRA_U8(), {255, 0, 0, 255}},
        {"cut10",             RGB_DPX_FILLED(), word,    RGB_U8(),        {255, 254, 128}},
        {"scaled10U16",       RGB_DPX_FILLED(), word,    RGB_U16(),       {65343, 65279, 32800}},
        {"scaled10U15plus1",  RGB_DPX_FILLED(), word,    ARGB_U15plus1(), {32768, 32672, 32640, 16400}},
        {"scaled10F32",       RGB_DPX_FILLED(), word,    BGRA_F32(),      {512 / 1023.0, 1019 / 1023.0, 1020 / 1023.0, 1}},
        {"lowBitsFirst",      RGB_DPX_PACKED(), lowBits, RGB_U12(),       {1, 2, 0, 0, 0, 0}},
        {"highBitsFirst",     RGB_SMPTE_2110(), lowBits, RGB_U12(),       {0x12, 0, 0, 0, 0, 0}},
        {"cut12",             RGB_SMPTE_2110(), six,     RGB_U8(),        {255, 128, 254, 255, 0, 0}},
        {"scaled12U16",       BGR_SMPTE_2110(), six,     RGB_U16(),       {65279, 32776, 65535, 0, 16, 65295}},
    });
    // clang-format on
}

// Odd multipliers run through all values of a sample, in each position in another order.
TEST(RgbPackings, unpackEverySampleInEveryPosition)
{
    for (const auto& packing : {RGB_DPX_FILLED(), BGR_DPX_FILLED(), RGB_DPX_PACKED(),
                                BGR_DPX_PACKED(), RGB_SMPTE_2110(), BGR_SMPTE_2110()}) {
        const unsigned count = packing.pixelPacking.channelsPerGroup;
        const unsigned maximum = count == 3 ? 1023 : 4095;
        const auto groups = groupsOf(packing, 1, int(maximum) + 1, [&](unsigned, unsigned value) {
            std::vector<unsigned> samples;
            for (unsigned k = 0; k < count; ++k)
                samples.push_back((value * (2 * k + 1) + 211 * k) & maximum);
            return samples;
        });
        expectAsReference<ImageToFullFrame>(packing, groups);
    }
}

TEST(RgbPackings, packChannelsByTheirRule)
{
    // clang-format off
    expectCases<ImageToPackedFrame>({
        {"firstOnTop",     RGB_U10(),       {1, 2, 4},             RGB_DPX_FILLED(), {0x10, 0x20, 0x40, 0x00}},
        {"redFirst",       BGRA_U8(),       {0, 0, 255, 255},      RGB_DPX_FILLED(), {0x00, 0x00, 0xC0, 0xFF}},
        {"rounded8To10",   RGB_U8(),        {128, 1, 254},         RGB_DPX_FILLED(), {0xEC, 0x4F, 0x80, 0x80}},  // 514 4 1019
        {"beyond10",       RGB_U10(),       {1024, 65535, 1022},   RGB_DPX_FILLED(), {0xF8, 0xFF, 0xFF, 0xFF}},
        {"plus1",          ARGB_U15plus1(), {0, 16384, 32769, 17}, RGB_DPX_FILLED(), {0x04, 0xF0, 0x3F, 0x80}},  // 512 1023 1
        {"specials",       BGR_F32(),       {notANumber, infinity, -infinity}, BGR_DPX_FILLED(), {0x00, 0xF0, 0x3F, 0x00}},
    });
    // clang-format on
}

// Odd multipliers run through all values that 16 bits can store, in each channel in another order.
// Floats are every tie between two codes of either depth and its two neighbours, then random bits.
TEST(RgbPackings, packEveryValueOfEveryChannel)
{
    for (const auto& [source, destination] : pairsOf<ImageToPackedFrame>()) {
        cv::Mat pixels = randomMatrix(source, 256, 256);
        for (int index = 0; index < 65536 * pixels.channels(); ++index) {
            const int channel = index % pixels.channels();
            const int value = index / pixels.channels() * (2 * channel + 1) & 0xFFFF;
            const float tie = (float(value / 6) + 0.5f) / (value / 3 % 2 ? 1023.0f : 4095.0f);
            if (pixels.depth() == CV_8U)
                pixels.data[index] = static_cast<std::uint8_t>(value);
            else if (pixels.depth() == CV_16U)
                pixels.ptr<std::uint16_t>()[index] = static_cast<std::uint16_t>(value);
            else if (value < 6 * 4096)
                pixels.ptr<float>()[index] = std::nextafter(tie, tie + float(value % 3 - 1));
        }
        expectAsReference<ImageToPackedFrame>(source, pixels, {destination});
    }
}

}
}
