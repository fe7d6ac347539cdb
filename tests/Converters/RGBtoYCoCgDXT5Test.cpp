#include "MediaConversion/Converters/ImageRGBtoYCoCgDXT5.h"
#include "MediaConversion/MediaPipeline/Formats.h"
#include "tests/Converters/EncodedFrames.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <utility>

namespace MediaConversion {
namespace {

using namespace Velmora::Formats;

TEST(RGBtoYCoCgDXT5, hasItsTableOfPairs)
{
    expectPairs(ImageRGBtoYCoCgDXT5::conversions(), {{RGB_U8(), {YCoCg_DXT5()}},
                                                     {BGR_U8(), {YCoCg_DXT5()}},
                                                     {RGBA_U8(), {YCoCg_DXT5(), RGB_DXT1()}},
                                                     {BGRA_U8(), {YCoCg_DXT5()}}});
    EXPECT_EQ(ImageRGBtoYCoCgDXT5::conversions().size(), 5u);
}

TEST(RGBtoYCoCgDXT5, refusesWhatItCannotEncode)
{
    const std::string pair = "DXT conversion is not supported from ";
    const std::string kind = "Can only convert FullFrame images";
    const std::string odd = " pixel packing of 4 pixels is incompatible with supplied image ";
    // clang-format off
    expectRefused<ImageRGBtoYCoCgDXT5>({
        {std::make_shared<ForeignImageFrame>(RGB_U8(), cv::Mat()), YCoCg_DXT5(), kind},
        {std::make_shared<ForeignImageFrame>(RGB_U8(), cv::Mat()), RGB_DXT1(),   kind},
        {randomFrame(BGRA_U8(), 4, 4),  RGB_DXT1(),   pair + "RGBA_U8_BGRA to RGB_U8_RGB-DXT1"},
        {randomFrame(RGB_U8(), 0, 0),   RGB_DXT1(),   pair + "RGB_U8_RGB to RGB_U8_RGB-DXT1"},
        {randomFrame(ARGB_U8(), 3, 3),  YCoCg_DXT5(), pair + "RGBA_U8_ARGB to YCoCg_U8_YCoCg-DXT5"},
        {randomFrame(RGB_DXT1(), 1, 1), YCoCg_DXT5(), pair + "RGB_U8_RGB-DXT1 to YCoCg_U8_YCoCg-DXT5"},
        {randomFrame(RGBA_U8(), 0, 3),  RGB_DXT1(),   "no image data in frame"},
        {randomFrame(BGR_U8(), 3, 0),   YCoCg_DXT5(), "no image data in frame"},
        {randomFrame(RGBA_U8(), 6, 6),  RGB_DXT1(),   "Frame format column" + odd + "columns of 6"},
        {randomFrame(BGRA_U8(), 8, 7),  YCoCg_DXT5(), "Frame format row" + odd + "rows of 7"},
    });
    // clang-format on
}

TEST(RGBtoYCoCgDXT5, refusesInEachConversionAnyDestinationButItsOwn)
{
    const std::string dxt1 = "RGB_U8_RGB-DXT1";
    const std::string dxt5 = "YCoCg_U8_YCoCg-DXT5";
    const std::string only = " conversion destination format only supports ";
    for (const auto& entry : ImageRGBtoYCoCgDXT5::conversions()) {
        const bool isDxt1 = entry.first.second == RGB_DXT1();
        const auto& source = entry.first.first;
        // Before the frame's size is looked at.
        const Velmora::FullFrame frame(source, randomMatrix(source, 3, 3));
        expectError<std::runtime_error>(
            isDxt1 ? "DXT1" + only + dxt1 + ", no support for  " + dxt5
                   : "DXT5" + only + dxt5 + ", no support for  " + dxt1,
            [&] { entry.second(frame, isDxt1 ? YCoCg_DXT5() : RGB_DXT1()); });
    }
}

TEST(RGBtoYCoCgDXT5, encodesBlocksByTheirSteps)
{
    std::vector<double> whiteAboveBlack(64, 0.0);
    std::fill_n(whiteAboveBlack.begin(), 32, 255.0);
    // clang-format off
    expectEncoded<ImageRGBtoYCoCgDXT5>({
        {"grey",        RGB_U8(),  {128, 128, 128},    YCoCg_DXT5(), {0x80, 0x7F, 0, 0, 0, 0, 0, 0, 0x03, 0x84, 0xE3, 0x7B, 0xAA, 0xAA, 0xAA, 0xAA}},
        {"black",       BGRA_U8(), {0, 0, 0, 255},     YCoCg_DXT5(), {0, 0, 0x49, 0x92, 0x24, 0x49, 0x92, 0x24, 0x03, 0x84, 0xE3, 0x7B, 0xAA, 0xAA, 0xAA, 0xAA}},
        {"red",         RGBA_U8(), {255, 0, 0, 7},     YCoCg_DXT5(), {0x40, 0x3F, 0, 0, 0, 0, 0, 0, 0x00, 0xFA, 0xE0, 0xF9, 0, 0, 0, 0}},
        {"redLast",     BGR_U8(),  {0, 0, 255},        YCoCg_DXT5(), {0x40, 0x3F, 0, 0, 0, 0, 0, 0, 0x00, 0xFA, 0xE0, 0xF9, 0, 0, 0, 0}},
        {"flatDxt1",    RGBA_U8(), {255, 128, 0, 9},   RGB_DXT1(),   {0x00, 0xFC, 0x00, 0xFC, 0, 0, 0, 0}},
        {"insetDxt1",   RGBA_U8(), whiteAboveBlack,    RGB_DXT1(),   {0x9E, 0xF7, 0x61, 0x08, 0x00, 0x00, 0x55, 0x55}},
    });
    // clang-format on
}

TEST(RGBtoYCoCgDXT5, turnsTheDiagonalForMoreThanEightPixels)
{
    // Co and Cg apart from each other, low and high, high and low; then both high, both low.
    const cv::Vec3b colours[]{{96, 160, 160}, {160, 96, 96}, {160, 160, 96}, {96, 96, 160}};
    for (const int apart : {1, 8, 9, 15}) {
        cv::Mat pixels(4, 4, CV_8UC3);
        for (int pixel = 0; pixel < 16; ++pixel)
            pixels.at<cv::Vec3b>(pixel) = colours[pixel % 2 + (pixel < apart ? 0 : 2)];
        const auto block = encoded<ImageRGBtoYCoCgDXT5>(RGB_U8(), pixels, YCoCg_DXT5());
        // The ends of Cg are 39 and 24 when cut to 6 bits.
        const int first = block.data[8] >> 5 | (block.data[9] & 7) << 3;
        const int second = block.data[10] >> 5 | (block.data[11] & 7) << 3;
        EXPECT_EQ(std::pair(first, second), apart > 8 ? std::pair(24, 39) : std::pair(39, 24));
    }
}

// Noise, ramps, one colour, two colours, ends of the scale, almost grey, a little of everything.
std::vector<cv::Mat> blocksOfManyKinds(const Velmora::FrameFormat& format)
{
    const cv::Mat noise = randomMatrix(format, 1024, 1024);
    cv::Mat ramps, flat, grey, otherFlat, mask;
    cv::resize(noise({0, 0, 128, 128}), ramps, noise.size());
    cv::resize(noise({0, 0, 256, 256}), flat, noise.size(), 0, 0, cv::INTER_NEAREST);
    cv::extractChannel(ramps, grey, 0);
    cv::merge(std::vector(noise.channels(), grey), grey);
    cv::flip(flat, otherFlat, 0);
    cv::extractChannel(noise > 127, mask, 1);
    cv::Mat twoColours = flat.clone();
    otherFlat.copyTo(twoColours, mask);
    return {noise, ramps, flat, twoColours, noise > 127, grey + noise / 32, ramps / 2 + noise / 16};
}

TEST(RGBtoYCoCgDXT5, encodesBlocksOfManyKinds)
{
    for (const auto& source : {RGB_U8(), BGR_U8(), RGBA_U8(), BGRA_U8()})
        for (const auto& pixels : blocksOfManyKinds(source))
            expectEncodedAsPlain<ImageRGBtoYCoCgDXT5>(source, pixels);
}

TEST(RGBtoYCoCgDXT5, encodesFlatGreys)
{
    cv::Mat pixels(4, 4 * 256, CV_8UC4);
    for (int column = 0; column < pixels.cols; ++column)
        pixels.col(column).setTo(cv::Scalar::all(column / 4));
    expectEncodedAsPlain<ImageRGBtoYCoCgDXT5>(RGBA_U8(), pixels);
}

TEST(RGBtoYCoCgDXT5, encodesFramesOfAllShapes)
{
    expectAllShapesEncodedAsPlain<ImageRGBtoYCoCgDXT5>();
}

}
}
