#include "MediaConversion/Converters/ImageYCoCgDXT5toRGB.h"
#include "MediaConversion/MediaPipeline/Formats.h"
#include "tests/Converters/ConvertedFrames.h"
#include "tests/support/ExpectError.h"
#include "tests/support/PlainDecoding.h"

#include <algorithm>
#include <string>

namespace MediaConversion {
namespace {

using namespace Velmora::Formats;
using Velmora::FrameFormat;
using Bytes = std::vector<std::uint8_t>;

constexpr unsigned colour565(unsigned red, unsigned green, unsigned blue)
{
    return red << 11 | green << 5 | blue;
}

void append(Bytes& bytes, std::uint64_t value, int byteCount)
{
    for (int byte = 0; byte < byteCount; ++byte)
        bytes.push_back(static_cast<std::uint8_t>(value >> 8 * byte));
}

Bytes dxt1(unsigned colour0, unsigned colour1, std::uint32_t indices)
{
    Bytes block;
    append(block, colour0, 2);
    append(block, colour1, 2);
    append(block, indices, 4);
    return block;
}

Bytes dxt5(unsigned alpha0, unsigned alpha1, std::uint64_t alphaIndices, const Bytes& colours)
{
    Bytes block;
    append(block, alpha0, 1);
    append(block, alpha1, 1);
    append(block, alphaIndices, 6);
    block.insert(block.end(), colours.begin(), colours.end());
    return block;
}

// All 16 texels with one colour and one Y.
Bytes uniform(unsigned y, unsigned colour)
{
    return dxt5(y, y, 0, dxt1(colour, colour, 0));
}

// The indices of 16 texels that are all the same.
constexpr std::uint32_t allTexels(unsigned index)
{
    return index * 0x55555555u;
}

// A third of the way between these endpoints, index 2, Co and Cg are exactly 128.
Bytes neutral(unsigned alpha0, unsigned alpha1, std::uint64_t alphaIndices, unsigned blue)
{
    return dxt5(alpha0, alpha1, alphaIndices,
                dxt1(colour565(15, 31, blue), colour565(17, 33, blue), allTexels(2)));
}

// The 3-bit indices 0 to 7 twice, starting with `first`.
constexpr std::uint64_t eightIndicesTwice(unsigned first)
{
    std::uint64_t indices = 0;
    for (unsigned texel = 0; texel < 16; ++texel)
        indices |= std::uint64_t((first + texel) % 8) << 3 * texel;
    return indices;
}

void expectDecodedAsPlain(const FrameFormat& source, const cv::Mat& blocks)
{
    const auto frame = std::make_shared<Velmora::PackedFrame>(source, blocks);
    for (const auto& destination : {RGB_U8(), BGR_U8(), BGRA_U8()})
        EXPECT_TRUE(sameBytes(plainDecode(*frame, destination),
                              converted<ImageYCoCgDXT5toRGB>(frame, destination)))
            << toString(source) << " to " << toString(destination);
}

TEST(YCoCgDXT5toRGB, hasItsTableOfPairs)
{
    const auto& table = ImageYCoCgDXT5toRGB::conversions();
    expectPairs(table, {{YCoCg_DXT5(), {RGB_U8(), BGR_U8(), BGRA_U8()}},
                        {RGB_DXT1(), {RGB_U8(), BGR_U8(), BGRA_U8()}}});
    EXPECT_EQ(table.size(), 6u);
}

TEST(YCoCgDXT5toRGB, refusesPairsOutsideItsTable)
{
    // clang-format off
    const RefusedPair refusedPairs[] = {
        {YCoCg_DXT5(), RGBA_U8(),   "YCoCg_U8_YCoCg-DXT5 to RGBA_U8_RGBA"},
        {YCoCg_DXT5(), BGRA_F32(),  "YCoCg_U8_YCoCg-DXT5 to RGBA_F32_BGRA"},
        {YCoCg_DXT5(), CoCgAY_U8(), "YCoCg_U8_YCoCg-DXT5 to YCoCgA_U8_CoCgAY"},
        {RGB_DXT1(),   ARGB_U8(),   "RGB_U8_RGB-DXT1 to RGBA_U8_ARGB"},
        {RGB_DXT1(),   BGR_U16(),   "RGB_U8_RGB-DXT1 to RGB_U16_BGR"},
        {YUYV_422(),   RGB_U8(),    "YCbCr_ITU_T871_U8_YUYV-422 to RGB_U8_RGB"},
    };
    // clang-format on
    for (const auto& refused : refusedPairs)
        // A frame without data has the same message: the pair is looked up first.
        for (const auto& blocks :
             {randomMatrix(refused.source, 2, 2), randomMatrix(refused.source, 0, 0)})
            expectError<std::runtime_error>(
                std::string("RGB conversion is not supported from ") + refused.text, [&] {
                    converted<ImageYCoCgDXT5toRGB>(refused.source, blocks, refused.destination);
                });
}

TEST(YCoCgDXT5toRGB, takesPackedFramesOnly)
{
    for (const auto& destination : {RGB_U8(), RGBA_U8()}) {
        expectError<std::runtime_error>("Can only convert PackedFrame images", [&] {
            converted<ImageYCoCgDXT5toRGB>(
                std::make_shared<ForeignImageFrame>(RGB_DXT1(), randomMatrix(RGB_DXT1(), 2, 2)),
                destination);
        });
        expectError<std::runtime_error>("Can only convert PackedFrame images", [&] {
            converted<ImageYCoCgDXT5toRGB>(
                std::make_shared<Velmora::FullFrame>(CoCgAY_U8(), randomMatrix(CoCgAY_U8(), 0, 0)),
                destination);
        });
    }
}

TEST(YCoCgDXT5toRGB, refusesFramesWithoutData)
{
    for (const auto& source : {YCoCg_DXT5(), RGB_DXT1()})
        for (const auto& size : {cv::Size(0, 0), cv::Size(3, 0), cv::Size(0, 3)})
            expectError<std::runtime_error>("no image data in frame", [&] {
                converted<ImageYCoCgDXT5toRGB>(
                    source, randomMatrix(source, size.height, size.width), BGRA_U8());
            });
}

TEST(YCoCgDXT5toRGB, decodesBlocksByTheirRules)
{
    const unsigned grey = colour565(16, 32, 16);
    const auto lastTexel = dxt1(0xFFFF, 0, allTexels(1) & ~(1u << 30));
    std::vector<double> lastTexelWhite(48, 0.0);
    std::fill(lastTexelWhite.end() - 3, lastTexelWhite.end(), 255.0);
    // Both endpoints alike in red and blue give these codes exactly; Cg is neutral at index 2.
    const auto coded = [](unsigned y, unsigned red, unsigned blue) {
        return dxt5(y, y, 0,
                    dxt1(colour565(red, 31, blue), colour565(red, 33, blue), allTexels(2)));
    };
    // clang-format off
    const DecodingCase cases[] = {
        {"transparentIsBlack", RGB_DXT1(),   dxt1(0xFFFF, 0xFFFF, allTexels(3)), BGRA_U8(), {0, 0, 0, 255}},
        {"blackBelow",         RGB_DXT1(),   dxt1(0x0000, 0xFFFF, allTexels(3)), RGB_U8(),  {0, 0, 0}},
        {"meanOfEqual",        RGB_DXT1(),   dxt1(grey, grey, allTexels(2)),     RGB_U8(),  {132, 130, 132}},
        {"white",              RGB_DXT1(),   dxt1(0xFFFF, 0xFFFF, allTexels(0)), RGB_U8(),  {255, 255, 255}},
        {"black",              RGB_DXT1(),   dxt1(0x0000, 0x0000, allTexels(0)), RGB_U8(),  {0, 0, 0}},
        {"halfUp",             RGB_DXT1(),   dxt1(grey, 0, allTexels(0)),        BGRA_U8(), {132, 130, 132, 255}},
        {"rounded",            RGB_DXT1(),   dxt1(colour565(3, 11, 28), 0, allTexels(0)), RGB_U8(), {25, 45, 230}},
        {"redAlone",           RGB_DXT1(),   dxt1(colour565(31, 0, 0), 0, allTexels(0)), RGB_U8(),  {255, 0, 0}},
        {"blueAlone",          RGB_DXT1(),   dxt1(colour565(0, 0, 31), 0, allTexels(0)), BGR_U8(),  {255, 0, 0}},
        {"twoThirds",          RGB_DXT1(),   dxt1(0xFFFF, grey, allTexels(2)),   RGB_U8(),  {214, 213, 214}},
        {"oneThird",           RGB_DXT1(),   dxt1(0xFFFF, grey, allTexels(3)),   RGB_U8(),  {173, 171, 173}},
        {"meanTruncates",      RGB_DXT1(),   dxt1(grey, 0xFFFF, allTexels(2)),   RGB_U8(),  {193, 192, 193}},
        {"lastTexel",          RGB_DXT1(),   lastTexel,                          BGR_U8(),  lastTexelWhite},
        {"coZero",             YCoCg_DXT5(), coded(100, 0, 0),                   RGB_U8(),  {0, 100, 228}},
        {"coZeroBlueFirst",    YCoCg_DXT5(), coded(100, 0, 0),                   BGRA_U8(), {228, 100, 0, 255}},
        {"coZeroFullScale",    YCoCg_DXT5(), coded(100, 0, 31),                  RGB_U8(),  {96, 100, 104}},
        {"coFull",             YCoCg_DXT5(), coded(100, 31, 0),                  RGB_U8(),  {227, 100, 0}},
        {"towardZero",         YCoCg_DXT5(), coded(100, 15, 31),                 RGB_U8(),  {100, 100, 100}},
        {"cgZero",             YCoCg_DXT5(), uniform(100, colour565(16, 0, 0)),  RGB_U8(),  {232, 0, 224}},
        {"cgFull",             YCoCg_DXT5(), uniform(100, colour565(16, 63, 31)), RGB_U8(), {97, 103, 97}},
    };
    // clang-format on
    for (const auto& row : cases)
        expectChannels(row, converted<ImageYCoCgDXT5toRGB>(
                                row.source, groupsOf(row.source, row.group), row.destination));
}

// With Co and Cg neutral, the decoded alpha is red, green and blue alike at any scale.
TEST(YCoCgDXT5toRGB, decodesAlphaByTheOrderOfItsEndpoints)
{
    struct Case
    {
        const char* name;
        unsigned alpha0;
        unsigned alpha1;
        std::vector<double> levels;
    };
    // clang-format off
    const Case cases[] = {
        {"eightLevels",  255, 0,   {255, 0, 218, 182, 145, 109, 72, 36}},
        {"closeLevels",  8,   1,   {8, 1, 7, 6, 5, 4, 3, 2}},
        {"sixLevels",    0,   255, {0, 255, 51, 102, 153, 204, 0, 255}},
        {"equal",        77,  77,  {77, 77, 77, 77, 77, 77, 0, 255}},
        {"equalZero",    0,   0,   {0, 0, 0, 0, 0, 0, 0, 255}},
        {"oneApart",     100, 101, {100, 101, 100, 100, 100, 100, 0, 255}},
    };
    // clang-format on
    for (const auto& [name, alpha0, alpha1, levels] : cases)
        for (unsigned blue = 0; blue < 32; ++blue) {
            DecodingCase row{name,
                             YCoCg_DXT5(),
                             neutral(alpha0, alpha1, eightIndicesTwice(3), blue),
                             RGB_U8(),
                             {}};
            for (unsigned texel = 0; texel < 16; ++texel)
                row.channels.insert(row.channels.end(), 3, levels[(3 + texel) % 8]);
            expectChannels(row, converted<ImageYCoCgDXT5toRGB>(
                                    row.source, groupsOf(row.source, row.group), row.destination));
        }
}

TEST(YCoCgDXT5toRGB, decodesAllAlphaEndpoints)
{
    Bytes bytes;
    for (unsigned alpha0 = 0; alpha0 < 256; ++alpha0)
        for (unsigned alpha1 = 0; alpha1 < 256; ++alpha1) {
            const auto block = neutral(alpha0, alpha1, eightIndicesTwice(alpha0 + alpha1), 0);
            bytes.insert(bytes.end(), block.begin(), block.end());
        }
    expectDecodedAsPlain(YCoCg_DXT5(), groupsOf(YCoCg_DXT5(), bytes).reshape(0, 256));
}

// Each colour as the first endpoint: with itself, its neighbours, the ends, and others.
Bytes blocksOfAllColours(bool withAlpha)
{
    Bytes bytes;
    for (unsigned colour = 0; colour < 65536; ++colour)
        for (const unsigned other : {colour, colour + 1, colour - 1, 0u, 65535u, colour * 40503u,
                                     colour * 25173u + 13849u, ~colour * 31u}) {
            const auto colours = dxt1(colour, other & 0xFFFF, 0xE4B1C627u * (other | 1u));
            const unsigned y = colour * 7 + other * 13;
            const auto block =
                withAlpha ? dxt5(y >> 8 & 0xFF, y & 0xFF, eightIndicesTwice(y), colours) : colours;
            bytes.insert(bytes.end(), block.begin(), block.end());
        }
    return bytes;
}

TEST(YCoCgDXT5toRGB, decodesAllDxt1Colours)
{
    expectDecodedAsPlain(RGB_DXT1(),
                         groupsOf(RGB_DXT1(), blocksOfAllColours(false)).reshape(0, 512));
}

TEST(YCoCgDXT5toRGB, decodesAllCodesOfCoCgAndScale)
{
    expectDecodedAsPlain(YCoCg_DXT5(),
                         groupsOf(YCoCg_DXT5(), blocksOfAllColours(true)).reshape(0, 512));
}

TEST(YCoCgDXT5toRGB, decodesRandomBlocks)
{
    for (const auto& source : {YCoCg_DXT5(), RGB_DXT1()})
        expectDecodedAsPlain(source, randomMatrix(source, 300, 300));
}

}
}
