#include "tests/Converters/ConvertedFrames.h"
#include "tests/support/ReferencePackings.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <vector>

// What becomes of chosen pixels and groups, by the converters and by the reference arithmetic.
namespace MediaConversion {
namespace {

using namespace Velmora::Formats;
using Velmora::FrameFormat;
using Values = std::vector<double>;

// What becomes of one group or pixel: bytes of groups, channels of pixels row by row. If only one
// pixel is given, all pixels of the group are like it.
struct ConversionCase
{
    const char* name;
    FrameFormat source;
    Values given;
    FrameFormat destination;
    Values expected;
};

cv::Mat matrixOf(const FrameFormat& format, const Values& values,
                 const Velmora::PixelPacking& packing)
{
    if (isPacked(format)) {
        cv::Mat group(1, 1, matrixType(format));
        EXPECT_EQ(values.size(), group.elemSize()) << toString(format);
        std::ranges::transform(values, group.data, [](double byte) { return std::uint8_t(byte); });
        return group;
    }
    const auto channels = int(format.pixelPacking.channelsPerGroup);
    const int rows = int(packing.rowsPerGroup);
    const int columns = int(packing.columnsPerGroup);
    cv::Mat pixels =
        cv::Mat(values, true).reshape(channels, std::ssize(values) == channels ? 1 : rows);
    pixels = cv::repeat(pixels, rows / pixels.rows, columns / pixels.cols);
    pixels.convertTo(pixels, matrixType(format));
    return pixels;
}

// Expects the cases of both the processor and the reference arithmetic.
void expectCases(const std::vector<ConversionCase>& cases)
{
    for (const auto& [name, from, given, to, expected] : cases) {
        const auto& packing = (isPacked(from) ? from : to).pixelPacking;
        const auto matrix = matrixOf(from, given, packing);
        const auto result = matrixOf(to, expected, packing);
        EXPECT_TRUE(sameBytes(result, converted(from, matrix, to))) << name;
        EXPECT_TRUE(sameBytes(result, reference(*frameOver(from, matrix), to)))
            << name << " by the reference arithmetic";
    }
}

// The bytes of a group with these samples.
Values groupOf(const FrameFormat& format, const Reference::Packing::Samples& samples)
{
    std::array<std::uint8_t, 16> group{};
    const auto& packing = Reference::packingOf(format.pixelFormat);
    packing.write(samples, group.data());
    return {group.begin(), group.begin() + packing.bytes};
}

TEST(Colourspace, movesChannelsAndAddsOpaqueAlpha)
{
    // clang-format off
    expectCases({
        {"swapped",       RGB_U8(),  {1, 2, 3},    BGR_U8(),   {3, 2, 1}},
        {"added",         RGB_U8(),  {1, 2, 3},    RGBA_U8(),  {1, 2, 3, 255}},
        {"swappedAdded",  RGB_U8(),  {1, 2, 3},    BGRA_U8(),  {3, 2, 1, 255}},
        {"swapped",       RGBA_U8(), {1, 2, 3, 4}, BGRA_U8(),  {3, 2, 1, 4}},
        {"addedToFloats", BGR_F32(), {-1, 0.5, 2}, BGRA_F32(), {-1, 0.5, 2, 1}},
    });
    // clang-format on
}

TEST(BitDepth, scalesRoundsAndSaturates)
{
    // Integers saturate at what their storage holds, not at full scale; ties go to the even number.
    // clang-format off
    expectCases({
        {"U8 to U12",        BGR_U8(),       {1, 128, 255},      BGR_U12(),      {16, 2056, 4095}},
        {"U8 to U15plus1",   ARGB_U8(),      {255, 0, 1, 2},     ARGB_U15plus1(), {32768, 0, 129, 257}},
        {"U12 to U8",        RGB_U12(),      {2048, 4095, 65535}, RGB_U8(),      {128, 255, 255}},
        {"U12 to U15plus1",  RGB_U12(),      {4095, 8190, 65535}, RGB_U15plus1(), {32768, 65535, 65535}},
        {"U15plus1 to U12",  RGB_U15plus1(), {32768, 4, 5},      RGB_U12(),      {4095, 0, 1}},
        {"U16 to U8",        BGRA_U16(),     {65535, 257, 128, 129}, BGRA_U8(),  {255, 1, 0, 1}},
        {"F32 to U8",        BGRA_F32(),     {1.5, -0.2, 0.5, 1}, BGRA_U8(),     {255, 0, 128, 255}},
        {"F32 to U10",       BGR_F32(),      {1, 0.5, 1.5},      BGR_U10(),      {1023, 512, 1534}},
        {"far beyond",       BGR_F32(),      {100, -1, 0},       BGR_U10(),      {65535, 0, 0}},
    });
    // clang-format on
}

TEST(RgbPackings, unpackSamplesByTheirRule)
{
    const Values lowBits{0x01, 0x20, 0, 0, 0, 0, 0, 0, 0};
    const auto word = groupOf(RGB_DPX_FILLED(), {1020, 1019, 512});
    const auto six = groupOf(RGB_SMPTE_2110(), {4095, 2048, 0xFEF, 0xFF0, 1, 0});
    // clang-format off
    expectCases({
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

TEST(RgbPackings, packChannelsByTheirRule)
{
    // clang-format off
    expectCases({
        {"firstOnTop",     RGB_U10(),       {1, 2, 4},             RGB_DPX_FILLED(), {0x10, 0x20, 0x40, 0x00}},
        {"redFirst",       BGRA_U8(),       {0, 0, 255, 255},      RGB_DPX_FILLED(), {0x00, 0x00, 0xC0, 0xFF}},
        {"rounded8To10",   RGB_U8(),        {128, 1, 254},         RGB_DPX_FILLED(), {0xEC, 0x4F, 0x80, 0x80}},  // 514 4 1019
        {"beyond10",       RGB_U10(),       {1024, 65535, 1022},   RGB_DPX_FILLED(), {0xF8, 0xFF, 0xFF, 0xFF}},
        {"plus1",          ARGB_U15plus1(), {0, 16384, 32769, 17}, RGB_DPX_FILLED(), {0x04, 0xF0, 0x3F, 0x80}},  // 512 1023 1
        {"specials",       BGR_F32(),       {NAN, INFINITY, -INFINITY}, BGR_DPX_FILLED(), {0x00, 0xF0, 0x3F, 0x00}},
    });
    // clang-format on
}

TEST(YCbCr42x, isDecodedByTheMatrix)
{
    const auto tenBits = [](unsigned cb, unsigned cr, unsigned luma) {
        return groupOf(ZEQ_422(), {cb, cr, luma, luma});
    };
    const auto hybrid = ZEQ_4224_HYBRID();
    // Some greens lie so close to the middle of two values that another order of the additions, or
    // luma times a reciprocal, gives the other one.
    // clang-format off
    expectCases({
        {"clampedAbove",   YUYV_422(), {255, 128, 255, 255},   RGB_U8(),       {255, 164, 255}},
        {"firstLuma",      YUYV_422(), {255, 0, 0, 0},         RGB_U8(),       {76, 255, 29,  0, 135, 0}},
        {"blueChroma",     YUYV_422(), {0, 255, 0, 0},         ARGB_U8(),      {255, 0, 47, 226}},
        {"redChroma",      YUYV_422(), {0, 0, 0, 255},         BGRA_U8(),      {0, 0, 179, 255}},
        {"sharedChroma",   ZEQ_420(),  {0, 0, 0, 64, 128, 255}, RGB_U8(),      {0, 135, 0,  0, 199, 0,  0, 255, 0,  76, 255, 29}},
        {"aboveFullScale", ZEQ_422(),  tenBits(512, 512, 1023), ARGB_U15plus1(), {32768, 32768, 32751, 32768}},
        {"blue",           ZEQ_422(),  tenBits(1023, 0, 0),    RGB_U16(),      {0, 12124, 58064}},
        {"red",            ZEQ_422(),  tenBits(0, 1023, 0),    RGB_U15plus1(), {22970, 0, 0}},
        {"greenInOrder",   ZEQ_422(),  tenBits(6, 767, 520),   BGRA_U8(),      {0, 127, 219, 255}},
        {"greenInOrder",   ZEQ_422(),  tenBits(35, 238, 425),  BGRA_U16(),     {0, 50244, 2662, 65535}},
        {"hybridLuma",     hybrid, groupOf(hybrid, {0, 0, 4095, 0, 0, 1023}),  BGRA_F32(), {0.114, 1, 0.299, 0,  0, 0.52914, 0, 1}},
        {"hybridAlpha",    hybrid, groupOf(hybrid, {0, 0, 0, 4095, 1023, 1}),  BGRA_F32(), {0, 0.52914, 0, 1,  0.114, 1, 0.299, 1 / 1023.0}},
        {"hybridBlue",     hybrid, groupOf(hybrid, {1023, 0, 0, 0, 512, 511}), BGRA_F32(), {0.886, 0.185, 0, 512 / 1023.0,  0.886, 0.185, 0, 511 / 1023.0}},
    });
    // clang-format on
}

TEST(YCbCr42x, isEncodedByItsRule)
{
    // clang-format off
    expectCases({
        {"red",        RGB_U8(),       {255, 0, 0},                      YUYV_422(), {76, 84, 76, 255}},
        {"almostGrey", BGR_U8(),       {200, 200, 200},                  YUYV_422(), {200, 127, 200, 128}},
        {"mean",       BGR_U8(),       {0, 0, 255, 255, 0, 0},           YUYV_422(), {76, 170, 29, 181}},
        {"meanOfFour", RGB_U8(),       {255, 0, 0, 0, 0, 255, 255, 255, 255, 0, 0, 0}, ZEQ_420(), {149, 154, 76, 29, 255, 0}},
        {"lowBits",    BGRA_U8(),      {255, 0, 0, 0},                   ZEQ_422(),  {255, 29, 107, 29, 0xD1}},  // 1023 117 428 117
        {"masked",     RGB_U15plus1(), {65535, 0, 0},                    ZEQ_422(),  {41, 153, 127, 153, 0x88}},  // 166 612 1534 612
        {"negative",   RGB_U15plus1(), {65535, 65535, 0},                ZEQ_422(),  {128, 197, 169, 197, 0x99}},  // -510 1813 678 1813
        {"specials",   BGR_F32(),      {-1, NAN, INFINITY, 2, -INFINITY, 0}, YUYV_422(), {76, 170, 29, 181}},
        {"hybrid",     BGRA_F32(),     {0, 0, 1, 0.25, 1, 0, 0, 5},      ZEQ_4224_HYBRID(),
         {0xFF, 0x4F, 0xC7, 0xFF, 0x53, 0x21, 0x13, 0x40}},  // 1023 467 1023, 339 1224 256
        {"noAlpha",    BGRA_F32(),     {0, 0, 0, NAN, 1, 0, 0, -1}, ZEQ_4224_HYBRID(),
         {0x00, 0x4C, 0x07, 0x80, 0x00, 0x02, 0x00, 0x00}},  // 0 467 512, 512 0 0
    });
    // clang-format on
}

constexpr unsigned colour565(unsigned red, unsigned green, unsigned blue)
{
    return red << 11 | green << 5 | blue;
}

Values bytesOf(std::uint64_t word)
{
    Values bytes;
    for (int byte = 0; byte < 8; ++byte)
        bytes.push_back(double(word >> 8 * byte & 0xFF));
    return bytes;
}

// All texels have the same index.
Values dxt1(unsigned colour0, unsigned colour1, std::uint64_t index)
{
    return bytesOf(index * 0x55555555 << 32 | colour1 << 16 | colour0);
}

Values dxt5(unsigned alpha0, unsigned alpha1, std::uint64_t alphaIndices, const Values& colours)
{
    auto block = bytesOf(alphaIndices << 16 | alpha1 << 8 | alpha0);
    block.insert(block.end(), colours.begin(), colours.end());
    return block;
}

TEST(YCoCgDXT5, isDecodedByTheRulesOfItsBlocks)
{
    const unsigned grey = colour565(16, 32, 16);
    // Endpoints alike in red and blue give these codes exactly; Cg is neutral at index 2.
    const auto coded = [](unsigned red, unsigned blue) {
        return dxt5(100, 100, 0, dxt1(colour565(red, 31, blue), colour565(red, 33, blue), 2));
    };
    // A third of the way between these endpoints, Co is neutral as well: red, green and blue are
    // alpha. The 3-bit indices 0 to 7, twice.
    const auto alphas = [](unsigned alpha0, unsigned alpha1) {
        return dxt5(alpha0, alpha1, 0xFAC688FAC688,
                    dxt1(colour565(15, 31, 0), colour565(17, 33, 0), 2));
    };
    const auto greys = [](const Values& levels) {
        Values channels;
        for (int channel = 0; channel < 48; ++channel)
            channels.push_back(levels[channel / 3 % 8]);
        return channels;
    };
    // clang-format off
    expectCases({
        {"transparentIsBlack", RGB_DXT1(),   dxt1(0xFFFF, 0xFFFF, 3),           BGRA_U8(), {0, 0, 0, 255}},
        {"rounded",            RGB_DXT1(),   dxt1(colour565(3, 11, 28), 0, 0),  RGB_U8(),  {25, 45, 230}},
        {"redAlone",           RGB_DXT1(),   dxt1(colour565(31, 0, 0), 0, 0),   RGB_U8(),  {255, 0, 0}},
        {"twoThirds",          RGB_DXT1(),   dxt1(0xFFFF, grey, 2),             RGB_U8(),  {214, 213, 214}},
        {"oneThird",           RGB_DXT1(),   dxt1(0xFFFF, grey, 3),             RGB_U8(),  {173, 171, 173}},
        {"meanTruncates",      RGB_DXT1(),   dxt1(grey, 0xFFFF, 2),             RGB_U8(),  {193, 192, 193}},
        {"coZeroBlueFirst",    YCoCg_DXT5(), coded(0, 0),                      BGRA_U8(), {228, 100, 0, 255}},
        {"coZeroFullScale",    YCoCg_DXT5(), coded(0, 31),                     RGB_U8(),  {96, 100, 104}},
        {"coFull",             YCoCg_DXT5(), coded(31, 0),                     RGB_U8(),  {227, 100, 0}},
        {"towardZero",         YCoCg_DXT5(), coded(15, 31),                    RGB_U8(),  {100, 100, 100}},
        {"cgZero",             YCoCg_DXT5(), dxt5(100, 100, 0, dxt1(colour565(16, 0, 0), 0, 0)), RGB_U8(), {232, 0, 224}},
        {"alphaDescending",    YCoCg_DXT5(), alphas(255, 0),                   RGB_U8(),  greys({255, 0, 218, 182, 145, 109, 72, 36})},
        {"alphaAscending",     YCoCg_DXT5(), alphas(0, 255),                   RGB_U8(),  greys({0, 255, 51, 102, 153, 204, 0, 255})},
        {"alphaOfOneLevel",    YCoCg_DXT5(), alphas(77, 77),                   RGB_U8(),  greys({77, 77, 77, 77, 77, 77, 0, 255})},
    });
    // clang-format on
}

TEST(YCoCgDXT5, isEncodedByItsSteps)
{
    Values whiteAboveBlack(64, 0.0);
    std::fill_n(whiteAboveBlack.begin(), 32, 255.0);
    // clang-format off
    expectCases({
        {"grey",      RGB_U8(),  {128, 128, 128},  YCoCg_DXT5(), {0x80, 0x7F, 0, 0, 0, 0, 0, 0, 0x03, 0x84, 0xE3, 0x7B, 0xAA, 0xAA, 0xAA, 0xAA}},
        {"black",     BGRA_U8(), {0, 0, 0, 255},   YCoCg_DXT5(), {0, 0, 0x49, 0x92, 0x24, 0x49, 0x92, 0x24, 0x03, 0x84, 0xE3, 0x7B, 0xAA, 0xAA, 0xAA, 0xAA}},
        {"red",       RGBA_U8(), {255, 0, 0, 7},   YCoCg_DXT5(), {0x40, 0x3F, 0, 0, 0, 0, 0, 0, 0x00, 0xFA, 0xE0, 0xF9, 0, 0, 0, 0}},
        {"redLast",   BGR_U8(),  {0, 0, 255},      YCoCg_DXT5(), {0x40, 0x3F, 0, 0, 0, 0, 0, 0, 0x00, 0xFA, 0xE0, 0xF9, 0, 0, 0, 0}},
        {"flatDxt1",  RGBA_U8(), {255, 128, 0, 9}, RGB_DXT1(),   {0x00, 0xFC, 0x00, 0xFC, 0, 0, 0, 0}},
        {"insetDxt1", RGBA_U8(), whiteAboveBlack,  RGB_DXT1(),   {0x9E, 0xF7, 0x61, 0x08, 0x00, 0x00, 0x55, 0x55}},
    });
    // clang-format on
}

}
}
