#include "tests/Converters/ConvertedFrames.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cstdint>
#include <tuple>
#include <vector>

namespace MediaConversion {
namespace {

using namespace Velmora::Formats;
using Velmora::FrameFormat;
using Bytes = std::vector<double>;
using Words = std::vector<std::uint64_t>;

constexpr unsigned colour565(unsigned red, unsigned green, unsigned blue)
{
    return red << 11 | green << 5 | blue;
}

Words dxt1(unsigned colour0, unsigned colour1, std::uint32_t indices)
{
    return {std::uint64_t(indices) << 32 | colour1 << 16 | colour0};
}

Words dxt5(unsigned alpha0, unsigned alpha1, std::uint64_t alphaIndices, const Words& colours)
{
    return {alphaIndices << 16 | alpha1 << 8 | alpha0, colours[0]};
}

// Rows of blocks.
cv::Mat blocksOf(const FrameFormat& format, int rows, Words& words)
{
    const int type = openCvType(format, Velmora::PackedFormatCvTypes());
    return {rows, int(words.size() * 8 / CV_ELEM_SIZE(type)) / rows, type, words.data()};
}

Bytes bytesOf(const Words& words)
{
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(words.data());
    return {bytes, bytes + 8 * words.size()};
}

// The indices of 16 texels that are all 1.
constexpr std::uint32_t allTexels = 0x55555555;

// A third of the way between these endpoints, index 2, Co and Cg are exactly 128.
const auto neutral = dxt1(colour565(15, 31, 0), colour565(17, 33, 0), 2 * allTexels);

// The 3-bit indices 0 to 7, twice.
constexpr std::uint64_t eightIndicesTwice = 0xFAC688FAC688;

TEST(YCoCgDXT5, isDecodedByTheRulesOfItsBlocks)
{
    const unsigned grey = colour565(16, 32, 16);
    const auto one = [](unsigned colour0, unsigned colour1, unsigned index) {
        return bytesOf(dxt1(colour0, colour1, index * allTexels));
    };
    // Endpoints alike in red and blue give these codes exactly; Cg is neutral at index 2.
    const auto coded = [](unsigned red, unsigned blue) {
        return bytesOf(dxt5(
            100, 100, 0, dxt1(colour565(red, 31, blue), colour565(red, 33, blue), 2 * allTexels)));
    };
    // clang-format off
    expectCases<ImageYCoCgDXT5toRGB>({
        {"transparentIsBlack", RGB_DXT1(),   one(0xFFFF, 0xFFFF, 3),           BGRA_U8(), {0, 0, 0, 255}},
        {"rounded",            RGB_DXT1(),   one(colour565(3, 11, 28), 0, 0),  RGB_U8(),  {25, 45, 230}},
        {"redAlone",           RGB_DXT1(),   one(colour565(31, 0, 0), 0, 0),   RGB_U8(),  {255, 0, 0}},
        {"twoThirds",          RGB_DXT1(),   one(0xFFFF, grey, 2),             RGB_U8(),  {214, 213, 214}},
        {"oneThird",           RGB_DXT1(),   one(0xFFFF, grey, 3),             RGB_U8(),  {173, 171, 173}},
        {"meanTruncates",      RGB_DXT1(),   one(grey, 0xFFFF, 2),             RGB_U8(),  {193, 192, 193}},
        {"coZeroBlueFirst",    YCoCg_DXT5(), coded(0, 0),                      BGRA_U8(), {228, 100, 0, 255}},
        {"coZeroFullScale",    YCoCg_DXT5(), coded(0, 31),                     RGB_U8(),  {96, 100, 104}},
        {"coFull",             YCoCg_DXT5(), coded(31, 0),                     RGB_U8(),  {227, 100, 0}},
        {"towardZero",         YCoCg_DXT5(), coded(15, 31),                    RGB_U8(),  {100, 100, 100}},
        {"cgZero",             YCoCg_DXT5(), bytesOf(dxt5(100, 100, 0, dxt1(colour565(16, 0, 0), 0, 0))), RGB_U8(), {232, 0, 224}},
    });
    // clang-format on
}

// With Co and Cg neutral, the decoded alpha is red, green and blue alike.
TEST(YCoCgDXT5, hasAlphaDecodedByTheOrderOfItsEndpoints)
{
    // clang-format off
    const std::tuple<unsigned, unsigned, Bytes> cases[] = {
        {255, 0,   {255, 0, 218, 182, 145, 109, 72, 36}},
        {0,   255, {0, 255, 51, 102, 153, 204, 0, 255}},
        {77,  77,  {77, 77, 77, 77, 77, 77, 0, 255}},
    };
    // clang-format on
    for (const auto& [alpha0, alpha1, levels] : cases) {
        Bytes channels;
        for (int texel = 0; texel < 16; ++texel)
            channels.insert(channels.end(), 3, levels[texel % 8]);
        const auto block = bytesOf(dxt5(alpha0, alpha1, eightIndicesTwice, neutral));
        expectCases<ImageYCoCgDXT5toRGB>({{"levels", YCoCg_DXT5(), block, RGB_U8(), channels}});
    }
}

// All pairs of alpha endpoints; then each colour as the first endpoint: with itself, its
// neighbours, the ends, and others.
TEST(YCoCgDXT5, isDecodedForAllEndpointsAndScales)
{
    Words ofAlphas, dxt1Blocks, dxt5Blocks;
    const auto append = [](Words& all, const Words& block) {
        all.insert(all.end(), block.begin(), block.end());
    };
    for (unsigned colour = 0; colour < 65536; ++colour) {
        append(ofAlphas, dxt5(colour >> 8, colour & 0xFF, eightIndicesTwice, neutral));
        for (const unsigned other : {colour, colour + 1, colour - 1, 0u, 65535u, colour * 40503u,
                                     colour * 25173u + 13849u, ~colour * 31u}) {
            const auto block = dxt1(colour, other & 0xFFFF, 0xE4B1C627u * (other | 1u));
            const unsigned y = colour * 7 + other * 13;
            append(dxt1Blocks, block);
            append(dxt5Blocks, dxt5(y >> 8 & 0xFF, y & 0xFF, y * 0x9E3779B97F4Aull, block));
        }
    }
    const auto expect = [](const FrameFormat& format, const cv::Mat& blocks) {
        expectAsReference<ImageYCoCgDXT5toRGB>(format, blocks);
    };
    expect(YCoCg_DXT5(), blocksOf(YCoCg_DXT5(), 256, ofAlphas));
    expect(YCoCg_DXT5(), blocksOf(YCoCg_DXT5(), 512, dxt5Blocks));
    expect(RGB_DXT1(), blocksOf(RGB_DXT1(), 512, dxt1Blocks));
}

TEST(YCoCgDXT5, isEncodedByItsSteps)
{
    Bytes whiteAboveBlack(64, 0.0);
    std::fill_n(whiteAboveBlack.begin(), 32, 255.0);
    // clang-format off
    expectCases<ImageRGBtoYCoCgDXT5>({
        {"grey",      RGB_U8(),  {128, 128, 128},  YCoCg_DXT5(), {0x80, 0x7F, 0, 0, 0, 0, 0, 0, 0x03, 0x84, 0xE3, 0x7B, 0xAA, 0xAA, 0xAA, 0xAA}},
        {"black",     BGRA_U8(), {0, 0, 0, 255},   YCoCg_DXT5(), {0, 0, 0x49, 0x92, 0x24, 0x49, 0x92, 0x24, 0x03, 0x84, 0xE3, 0x7B, 0xAA, 0xAA, 0xAA, 0xAA}},
        {"red",       RGBA_U8(), {255, 0, 0, 7},   YCoCg_DXT5(), {0x40, 0x3F, 0, 0, 0, 0, 0, 0, 0x00, 0xFA, 0xE0, 0xF9, 0, 0, 0, 0}},
        {"redLast",   BGR_U8(),  {0, 0, 255},      YCoCg_DXT5(), {0x40, 0x3F, 0, 0, 0, 0, 0, 0, 0x00, 0xFA, 0xE0, 0xF9, 0, 0, 0, 0}},
        {"flatDxt1",  RGBA_U8(), {255, 128, 0, 9}, RGB_DXT1(),   {0x00, 0xFC, 0x00, 0xFC, 0, 0, 0, 0}},
        {"insetDxt1", RGBA_U8(), whiteAboveBlack,  RGB_DXT1(),   {0x9E, 0xF7, 0x61, 0x08, 0x00, 0x00, 0x55, 0x55}},
    });
    // clang-format on
}

// Noise, ramps, one colour, two colours, ends of the scale, almost grey, a little of everything,
// and every flat grey.
std::vector<cv::Mat> blocksOfManyKinds(const FrameFormat& format)
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
    cv::Mat greys(4, 4 * 256, noise.type());
    for (int column = 0; column < greys.cols; ++column)
        greys.col(column).setTo(cv::Scalar::all(column / 4));
    return {noise, ramps, flat, twoColours, noise > 127, grey + noise / 32, ramps / 2 + noise / 16,
            greys};
}

TEST(YCoCgDXT5, isEncodedFromBlocksOfManyKinds)
{
    for (const auto& source : {RGB_U8(), BGR_U8(), RGBA_U8(), BGRA_U8()})
        for (const auto& pixels : blocksOfManyKinds(source))
            expectAsReference<ImageRGBtoYCoCgDXT5>(source, pixels);
}

}
}
