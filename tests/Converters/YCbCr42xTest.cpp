#include "tests/Converters/ConvertedFrames.h"

#include <cstdint>
#include <vector>

namespace MediaConversion {
namespace {

using namespace Velmora::Formats;

TEST(YCbCr42x, isDecodedByTheMatrix)
{
    const auto tenBits = [](unsigned cb, unsigned cr, unsigned luma) {
        return groupOf(ZEQ_422(), {cb, cr, luma, luma});
    };
    const auto hybrid = [](const std::vector<unsigned>& samples) {
        return groupOf(ZEQ_4224_HYBRID(), samples);
    };
    // Some greens lie so close to the middle of two values that another order of the additions, or
    // luma times a reciprocal, gives the other one.
    // clang-format off
    expectCases<ImageYCbCr42xToRGB>({
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
        {"hybridLuma",     ZEQ_4224_HYBRID(), hybrid({0, 0, 4095, 0, 0, 1023}),  BGRA_F32(), {0.114, 1, 0.299, 0,  0, 0.52914, 0, 1}},
        {"hybridAlpha",    ZEQ_4224_HYBRID(), hybrid({0, 0, 0, 4095, 1023, 1}),  BGRA_F32(), {0, 0.52914, 0, 1,  0.114, 1, 0.299, 1 / 1023.0}},
        {"hybridBlue",     ZEQ_4224_HYBRID(), hybrid({1023, 0, 0, 0, 512, 511}), BGRA_F32(), {0.886, 0.185, 0, 512 / 1023.0,  0.886, 0.185, 0, 511 / 1023.0}},
    });
    // clang-format on
}

// All 2^24 triples of 8-bit samples: one Cb after the other, a row for each Cr.
TEST(YCbCr42x, isDecodedForAllEightBitTriples)
{
    for (unsigned cb = 0; cb < 256 && !HasFailure(); ++cb) {
        const auto yuyv = groupsOf(YUYV_422(), 256, 128, [&](unsigned cr, unsigned x) {
            return std::vector{cb, cr, 2 * x, 2 * x + 1};
        });
        expectAsReference<ImageYCbCr42xToRGB>(YUYV_422(), yuyv, {RGB_U8(), BGRA_F32()});
        const auto zeq = groupsOf(ZEQ_420(), 256, 64, [&](unsigned cr, unsigned x) {
            return std::vector{cb, cr, 4 * x, 4 * x + 1, 4 * x + 2, 4 * x + 3};
        });
        expectAsReference<ImageYCbCr42xToRGB>(ZEQ_420(), zeq, {RGB_U8(), BGRA_F32()});
    }
}

TEST(YCbCr42x, isDecodedForAllTenBitLumaAndChroma)
{
    // The ends, the middle, what lies between, and chroma by which greens fall between two values.
    const std::vector<unsigned> chosen{0,   1,   2,   3,   4,    6,    35,   229,  238, 256,
                                       332, 511, 512, 513, 558,  576,  697,  723,  767, 768,
                                       769, 877, 903, 954, 1019, 1020, 1021, 1022, 1023};
    for (const unsigned cb : chosen) {
        const int rows = int(chosen.size());
        const auto tenBits = groupsOf(ZEQ_422(), rows, 512, [&](unsigned row, unsigned x) {
            return std::vector{cb, chosen[row], 2 * x, 2 * x + 1};
        });
        expectAsReference<ImageYCbCr42xToRGB>(ZEQ_422(), tenBits);
        const auto hybrid = groupsOf(ZEQ_4224_HYBRID(), rows, 2048, [&](unsigned row, unsigned x) {
            return std::vector{cb, chosen[row], 2 * x, 2 * x + 1, x / 2, ~x & 1023};
        });
        expectAsReference<ImageYCbCr42xToRGB>(ZEQ_4224_HYBRID(), hybrid);
    }
    const auto allChroma = groupsOf(ZEQ_422(), 1024, 1024, [](unsigned cb, unsigned cr) {
        return std::vector{cb, cr, (cb * 7 + cr * 5) & 1023, (cb + cr * 3) & 1023};
    });
    expectAsReference<ImageYCbCr42xToRGB>(ZEQ_422(), allChroma);
}

TEST(YCbCr42x, isEncodedByItsRule)
{
    // clang-format off
    expectCases<ImageRGBtoYCbCr42x>({
        {"red",        RGB_U8(),       {255, 0, 0},                      YUYV_422(), {76, 84, 76, 255}},
        {"almostGrey", BGR_U8(),       {200, 200, 200},                  YUYV_422(), {200, 127, 200, 128}},
        {"mean",       BGR_U8(),       {0, 0, 255, 255, 0, 0},           YUYV_422(), {76, 170, 29, 181}},
        {"meanOfFour", RGB_U8(),       {255, 0, 0, 0, 0, 255, 255, 255, 255, 0, 0, 0}, ZEQ_420(), {149, 154, 76, 29, 255, 0}},
        {"lowBits",    BGRA_U8(),      {255, 0, 0, 0},                   ZEQ_422(),  {255, 29, 107, 29, 0xD1}},  // 1023 117 428 117
        {"masked",     RGB_U15plus1(), {65535, 0, 0},                    ZEQ_422(),  {41, 153, 127, 153, 0x88}},  // 166 612 1534 612
        {"negative",   RGB_U15plus1(), {65535, 65535, 0},                ZEQ_422(),  {128, 197, 169, 197, 0x99}},  // -510 1813 678 1813
        {"specials",   BGR_F32(),      {-1, notANumber, infinity, 2, -infinity, 0}, YUYV_422(), {76, 170, 29, 181}},
        {"hybrid",     BGRA_F32(),     {0, 0, 1, 0.25, 1, 0, 0, 5},      ZEQ_4224_HYBRID(),
         {0xFF, 0x4F, 0xC7, 0xFF, 0x53, 0x21, 0x13, 0x40}},  // 1023 467 1023, 339 1224 256
        {"noAlpha",    BGRA_F32(),     {0, 0, 0, notANumber, 1, 0, 0, -1}, ZEQ_4224_HYBRID(),
         {0x00, 0x4C, 0x07, 0x80, 0x00, 0x02, 0x00, 0x00}},  // 0 467 512, 512 0 0
    });
    // clang-format on
}

TEST(YCbCr42x, isEncodedFromAllTriplesAndRandomPixels)
{
    cv::Mat triples(4096, 4096, CV_8UC3);
    for (unsigned triple = 0; triple < 1u << 24; ++triple)
        for (unsigned channel = 0; channel < 3; ++channel)
            triples.data[3 * triple + channel] = static_cast<std::uint8_t>(triple >> 8 * channel);
    expectAsReference<ImageRGBtoYCbCr42x>(RGB_U8(), triples);
    for (const auto& source :
         {RGB_U15plus1(), BGR_U16(), BGRA_U8(), BGRA_U16(), ARGB_U8(), ARGB_U15plus1(), BGR_F32()})
        expectAsReference<ImageRGBtoYCbCr42x>(source, randomMatrix(source, 512, 1024));
    cv::Mat floats(512, 1024, CV_32FC4);
    for (int seed = 0; seed < 2; ++seed) {
        cv::RNG(seed).fill(floats, cv::RNG::UNIFORM, -0.1 * seed, 1 + 0.1 * seed);
        expectAsReference<ImageRGBtoYCbCr42x>(BGRA_F32(), floats);
    }
}

}
}
