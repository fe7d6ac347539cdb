#include "tests/Converters/ConvertedFrames.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cstdint>
#include <tuple>
#include <utility>
#include <vector>

namespace MediaConversion {
namespace {

using namespace Velmora::Formats;
using Velmora::FrameFormat;
using Bytes = std::vector<double>;

constexpr unsigned colour565(unsigned red, unsigned green, unsigned blue)
{
    return red << 11 | green << 5 | blue;
}

Bytes littleEndian(std::uint64_t value)
{
    Bytes bytes;
    for (int byte = 0; byte < 8; ++byte)
        bytes.push_back(double(value >> 8 * byte & 0xFF));
    return bytes;
}

Bytes append(Bytes left, const Bytes& right)
{
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

Bytes dxt1(unsigned colour0, unsigned colour1, std::uint32_t indices)
{
    return littleEndian(std::uint64_t(indices) << 32 | colour1 << 16 | colour0);
}

Bytes dxt5(unsigned alpha0, unsigned alpha1, std::uint64_t alphaIndices, const Bytes& colours)
{
    return append(littleEndian(alphaIndices << 16 | alpha1 << 8 | alpha0), colours);
}

// The indices of 16 texels that are all 1.
constexpr std::uint32_t allTexels = 0x55555555;

// A third of the way between these endpoints, index 2, Co and Cg are exactly 128.
Bytes neutral(unsigned blue)
{
    return dxt1(colour565(15, 31, blue), colour565(17, 33, blue), 2 * allTexels);
}

// The 3-bit indices 0 to 7, twice.
constexpr std::uint64_t eightIndicesTwice = 0xFAC688FAC688;

// Rows of blocks.
cv::Mat blocksOf(const FrameFormat& format, int rows, const Bytes& bytes)
{
    const cv::Mat flat(cv::Mat(bytes).reshape(1, rows));
    cv::Mat blocks(rows, flat.cols / int(format.pixelPacking.bytesPerGroup),
                   openCvType(format, Velmora::PackedFormatCvTypes()));
    flat.convertTo(cv::Mat(rows, flat.cols, CV_8U, blocks.data), CV_8U);
    return blocks;
}

TEST(YCoCgDXT5, isDecodedByTheRulesOfItsBlocks)
{
    const unsigned grey = colour565(16, 32, 16);
    Bytes lastTexelWhite(48, 0.0);
    std::fill(lastTexelWhite.end() - 3, lastTexelWhite.end(), 255.0);
    // Endpoints alike in red and blue give these codes exactly; Cg is neutral at index 2.
    const auto coded = [](unsigned red, unsigned blue) {
        return dxt5(100, 100, 0,
                    dxt1(colour565(red, 31, blue), colour565(red, 33, blue), 2 * allTexels));
    };
    const auto uniform = [](unsigned colour) { return dxt5(100, 100, 0, dxt1(colour, colour, 0)); };
    // clang-format off
    expectCases<ImageYCoCgDXT5toRGB>({
        {"transparentIsBlack", RGB_DXT1(),   dxt1(0xFFFF, 0xFFFF, 3 * allTexels), BGRA_U8(), {0, 0, 0, 255}},
        {"blackBelow",         RGB_DXT1(),   dxt1(0x0000, 0xFFFF, 3 * allTexels), RGB_U8(),  {0, 0, 0}},
        {"rounded",            RGB_DXT1(),   dxt1(colour565(3, 11, 28), 0, 0),   RGB_U8(),  {25, 45, 230}},
        {"redAlone",           RGB_DXT1(),   dxt1(colour565(31, 0, 0), 0, 0),    RGB_U8(),  {255, 0, 0}},
        {"blueAlone",          RGB_DXT1(),   dxt1(colour565(0, 0, 31), 0, 0),    BGR_U8(),  {255, 0, 0}},
        {"twoThirds",          RGB_DXT1(),   dxt1(0xFFFF, grey, 2 * allTexels),   RGB_U8(),  {214, 213, 214}},
        {"oneThird",           RGB_DXT1(),   dxt1(0xFFFF, grey, 3 * allTexels),   RGB_U8(),  {173, 171, 173}},
        {"meanTruncates",      RGB_DXT1(),   dxt1(grey, 0xFFFF, 2 * allTexels),   RGB_U8(),  {193, 192, 193}},
        {"lastTexel",          RGB_DXT1(),   dxt1(0xFFFF, 0, allTexels & ~(1u << 30)), BGR_U8(), lastTexelWhite},
        {"coZero",             YCoCg_DXT5(), coded(0, 0),                        RGB_U8(),  {0, 100, 228}},
        {"coZeroBlueFirst",    YCoCg_DXT5(), coded(0, 0),                        BGRA_U8(), {228, 100, 0, 255}},
        {"coZeroFullScale",    YCoCg_DXT5(), coded(0, 31),                       RGB_U8(),  {96, 100, 104}},
        {"coFull",             YCoCg_DXT5(), coded(31, 0),                       RGB_U8(),  {227, 100, 0}},
        {"towardZero",         YCoCg_DXT5(), coded(15, 31),                      RGB_U8(),  {100, 100, 100}},
        {"cgZero",             YCoCg_DXT5(), uniform(colour565(16, 0, 0)),       RGB_U8(),  {232, 0, 224}},
        {"cgFull",             YCoCg_DXT5(), uniform(colour565(16, 63, 31)),     RGB_U8(),  {97, 103, 97}},
    });
    // clang-format on
}

// With Co and Cg neutral, the decoded alpha is red, green and blue alike at any scale.
TEST(YCoCgDXT5, hasAlphaDecodedByTheOrderOfItsEndpoints)
{
    // clang-format off
    const std::tuple<unsigned, unsigned, Bytes> cases[] = {
        {255, 0,   {255, 0, 218, 182, 145, 109, 72, 36}},
        {8,   1,   {8, 1, 7, 6, 5, 4, 3, 2}},
        {0,   255, {0, 255, 51, 102, 153, 204, 0, 255}},
        {77,  77,  {77, 77, 77, 77, 77, 77, 0, 255}},
        {100, 101, {100, 101, 100, 100, 100, 100, 0, 255}},
    };
    // clang-format on
    for (const auto& [alpha0, alpha1, levels] : cases)
        for (const unsigned blue : {0u, 31u}) {
            const auto block = dxt5(alpha0, alpha1, eightIndicesTwice, neutral(blue));
            Bytes channels;
            for (int texel = 0; texel < 16; ++texel)
                channels.insert(channels.end(), 3, levels[texel % 8]);
            expectCases<ImageYCoCgDXT5toRGB>({{"levels", YCoCg_DXT5(), block, RGB_U8(), channels}});
        }
}

TEST(YCoCgDXT5, isDecodedForAllAlphaEndpoints)
{
    Bytes bytes;
    for (unsigned alphas = 0; alphas < 65536; ++alphas)
        bytes = append(std::move(bytes),
                       dxt5(alphas >> 8, alphas & 0xFF, eightIndicesTwice, neutral(0)));
    expectAsReference<ImageYCoCgDXT5toRGB>(YCoCg_DXT5(), blocksOf(YCoCg_DXT5(), 256, bytes));
}

// Each colour as the first endpoint: with itself, its neighbours, the ends, and others.
TEST(YCoCgDXT5, isDecodedForAllColoursAndScales)
{
    for (const auto& format : {RGB_DXT1(), YCoCg_DXT5()}) {
        Bytes bytes;
        for (unsigned colour = 0; colour < 65536; ++colour)
            for (const unsigned other :
                 {colour, colour + 1, colour - 1, 0u, 65535u, colour * 40503u,
                  colour * 25173u + 13849u, ~colour * 31u}) {
                const auto block = dxt1(colour, other & 0xFFFF, 0xE4B1C627u * (other | 1u));
                const unsigned y = colour * 7 + other * 13;
                const auto alphas = y * 0x9E3779B97F4Aull;
                bytes = append(
                    std::move(bytes),
                    format == RGB_DXT1() ? block : dxt5(y >> 8 & 0xFF, y & 0xFF, alphas, block));
            }
        expectAsReference<ImageYCoCgDXT5toRGB>(format, blocksOf(format, 512, bytes));
        expectAsReference<ImageYCoCgDXT5toRGB>(format, randomMatrix(format, 300, 300));
    }
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

TEST(YCoCgDXT5, hasItsDiagonalTurnedForMoreThanEightPixels)
{
    // Co and Cg apart from each other, low and high, high and low; then both high, both low.
    const cv::Vec3b colours[]{{96, 160, 160}, {160, 96, 96}, {160, 160, 96}, {96, 96, 160}};
    for (const int apart : {1, 8, 9, 15}) {
        cv::Mat pixels(4, 4, CV_8UC3);
        for (int pixel = 0; pixel < 16; ++pixel)
            pixels.at<cv::Vec3b>(pixel) = colours[pixel % 2 + (pixel < apart ? 0 : 2)];
        const auto block = converted<ImageRGBtoYCoCgDXT5>(RGB_U8(), pixels, YCoCg_DXT5());
        // The ends of Cg are 39 and 24 when cut to 6 bits.
        const int first = block.data[8] >> 5 | (block.data[9] & 7) << 3;
        const int second = block.data[10] >> 5 | (block.data[11] & 7) << 3;
        EXPECT_EQ(std::pair(first, second), apart > 8 ? std::pair(24, 39) : std::pair(39, 24));
    }
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
