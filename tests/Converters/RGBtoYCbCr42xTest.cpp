#include "MediaConversion/Converters/ImageRGBtoYCbCr42x.h"
#include "MediaConversion/MediaPipeline/Formats.h"
#include "tests/Converters/EncodedFrames.h"

#include <limits>
#include <set>

namespace MediaConversion {
namespace {

using namespace Velmora::Formats;

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

TEST(RGBtoYCbCr42x, hasItsTableOfPairs)
{
    expectPairs(ImageRGBtoYCbCr42x::conversions(),
                {{RGB_U8(), {YUYV_422(), ZEQ_420()}},
                 {RGB_U15plus1(), {ZEQ_422()}},
                 {BGR_U8(), {YUYV_422(), ZEQ_420()}},
                 {BGR_U16(), {YUYV_422(), ZEQ_422(), ZEQ_420()}},
                 {BGR_F32(), {YUYV_422(), ZEQ_422(), ZEQ_420()}},
                 {BGRA_U8(), {YUYV_422(), ZEQ_422(), ZEQ_420()}},
                 {BGRA_U16(), {YUYV_422(), ZEQ_422(), ZEQ_420()}},
                 {BGRA_F32(), {YUYV_422(), ZEQ_422(), ZEQ_4224_HYBRID(), ZEQ_420()}},
                 {ARGB_U8(), {YUYV_422(), ZEQ_422()}},
                 {ARGB_U15plus1(), {YUYV_422(), ZEQ_422()}}});
    EXPECT_EQ(ImageRGBtoYCbCr42x::conversions().size(), 25u);
}

TEST(RGBtoYCbCr42x, refusesWhatItCannotEncode)
{
    const std::string pair = "YCbCr 4:2:2 conversion is not supported from ";
    const std::string kind = "Can only convert FullFrame images";
    const std::string odd = "is incompatible with supplied image ";
    // clang-format off
    expectRefused<ImageRGBtoYCbCr42x>({
        {std::make_shared<ForeignImageFrame>(RGB_U8(), cv::Mat()), YUYV_422(), kind},
        {std::make_shared<ForeignImageFrame>(RGB_U8(), cv::Mat()), ZEQ_422(),  kind},
        {randomFrame(RGB_U8(), 3, 3),   ZEQ_422(),         pair + "RGB_U8_RGB to YCbCr_ITU_T871_U10_ZEQ-422"},
        {randomFrame(ARGB_U8(), 0, 0),  ZEQ_420(),         pair + "RGBA_U8_ARGB to YCbCr_ITU_T871_U8_ZEQ-420"},
        {randomFrame(BGR_F32(), 3, 3),  ZEQ_4224_HYBRID(), pair + "RGB_F32_BGR to YCbCrA_ITU_T871_U12_ZEQ-4224-HYBRID"},
        {randomFrame(YUYV_422(), 3, 3), YUYV_422(),        pair + "YCbCr_ITU_T871_U8_YUYV-422 to YCbCr_ITU_T871_U8_YUYV-422"},
        {randomFrame(RGB_U8(), 0, 3),   YUYV_422(),        "no image data in frame"},
        {randomFrame(BGRA_F32(), 3, 0), ZEQ_4224_HYBRID(), "no image data in frame"},
        {randomFrame(RGB_U8(), 3, 3),   ZEQ_420(),         "Frame format column pixel packing of 2 pixels " + odd + "columns of 3"},
        {randomFrame(RGB_U8(), 4, 3),   ZEQ_420(),         "Frame format row pixel packing of 2 pixels " + odd + "rows of 3"},
    });
    // clang-format on
}

TEST(RGBtoYCbCr42x, encodesPixelsByTheirRule)
{
    // clang-format off
    expectEncoded<ImageRGBtoYCbCr42x>({
        {"red",        RGB_U8(),       {255, 0, 0},                      YUYV_422(), {76, 84, 76, 255}},
        {"mean",       BGR_U8(),       {0, 0, 255, 255, 0, 0},           YUYV_422(), {76, 170, 29, 181}},
        {"redByName",  ARGB_U8(),      {0, 255, 0, 0},                   YUYV_422(), {76, 84, 76, 255}},
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

// The chroma of grey lies on the edge between two codes.
TEST(RGBtoYCbCr42x, encodesGreys)
{
    const std::set<unsigned> below{200, 210, 212, 219, 222, 231, 241, 250, 253};
    std::vector<EncodingCase> cases;
    for (unsigned grey = 0; grey < 256; ++grey)
        for (const auto& source : {RGB_U8(), BGR_U8()})
            cases.push_back({"grey",
                             source,
                             {1.0 * grey, 1.0 * grey, 1.0 * grey},
                             YUYV_422(),
                             {grey, below.contains(grey) ? 127u : 128u, grey, 128}});
    expectEncoded<ImageRGBtoYCbCr42x>(cases);
}

TEST(RGBtoYCbCr42x, encodesAllTriples)
{
    cv::Mat pixels(4096, 4096, CV_8UC3);
    for (unsigned triple = 0; triple < 1u << 24; ++triple)
        for (unsigned channel = 0; channel < 3; ++channel)
            pixels.data[3 * triple + channel] = static_cast<std::uint8_t>(triple >> 8 * channel);
    expectEncodedAsPlain<ImageRGBtoYCbCr42x>(RGB_U8(), pixels);
}

TEST(RGBtoYCbCr42x, encodesRandomPixels)
{
    for (const auto& source :
         {RGB_U15plus1(), BGR_U16(), BGRA_U8(), BGRA_U16(), ARGB_U8(), ARGB_U15plus1(), BGR_F32()})
        expectEncodedAsPlain<ImageRGBtoYCbCr42x>(source, randomMatrix(source, 512, 1024));
    cv::Mat pixels(512, 1024, CV_32FC4);
    for (int seed = 0; seed < 2; ++seed) {
        cv::RNG(seed).fill(pixels, cv::RNG::UNIFORM, -0.1 * seed, 1 + 0.1 * seed);
        expectEncodedAsPlain<ImageRGBtoYCbCr42x>(BGRA_F32(), pixels);
    }
}

TEST(RGBtoYCbCr42x, encodesFramesOfAllShapes)
{
    expectAllShapesEncodedAsPlain<ImageRGBtoYCbCr42x>();
}

}
}
