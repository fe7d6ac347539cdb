#include "MediaConversion/Converters/ImageYCbCr42xToRGB.h"
#include "MediaConversion/MediaPipeline/Formats.h"
#include "tests/Converters/ConvertedFrames.h"
#include "tests/support/ExpectError.h"
#include "tests/support/PlainDecoding.h"

#include <array>
#include <functional>
#include <string>

namespace MediaConversion {
namespace {

using namespace Velmora::Formats;
using Velmora::FrameFormat;

std::vector<std::uint8_t> tenBitGroup(unsigned cb, unsigned y0, unsigned cr, unsigned y1)
{
    const unsigned low = (cb & 3) << 6 | (y0 & 3) << 4 | (cr & 3) << 2 | (y1 & 3);
    return {static_cast<std::uint8_t>(cb >> 2), static_cast<std::uint8_t>(y0 >> 2),
            static_cast<std::uint8_t>(cr >> 2), static_cast<std::uint8_t>(y1 >> 2),
            static_cast<std::uint8_t>(low)};
}

struct HybridPixel
{
    unsigned luma;
    unsigned alpha;
};

std::vector<std::uint8_t> hybridGroup(unsigned cb, unsigned cr, HybridPixel pixel0,
                                      HybridPixel pixel1)
{
    const std::array words{cr << 22 | pixel1.luma << 10 | pixel1.alpha,
                           pixel0.alpha << 22 | pixel0.luma << 10 | cb};
    std::vector<std::uint8_t> bytes;
    for (const auto word : words)
        for (int shift = 0; shift < 32; shift += 8)
            bytes.push_back(static_cast<std::uint8_t>(word >> shift));
    return bytes;
}

void expectDecodedAsPlain(const FrameFormat& source, const cv::Mat& groups,
                          const FrameFormat& destination)
{
    const auto frame = std::make_shared<Velmora::PackedFrame>(source, groups);
    EXPECT_TRUE(sameBytes(plainDecode(*frame, destination),
                          converted<ImageYCbCr42xToRGB>(frame, destination)))
        << toString(source) << " to " << toString(destination);
}

void expectDecodedAsPlain(const FrameFormat& source, const cv::Mat& groups)
{
    for (const auto& entry : ImageYCbCr42xToRGB::conversions())
        if (entry.first.first == source)
            expectDecodedAsPlain(source, groups, entry.first.second);
}

TEST(YCbCr42xToRGB, hasItsTableOfPairs)
{
    const auto& table = ImageYCbCr42xToRGB::conversions();
    expectPairs(
        table,
        {{YUYV_422(),
          {RGB_U8(), BGR_U8(), BGRA_U8(), BGRA_U16(), ARGB_U8(), ARGB_U15plus1(), BGRA_F32()}},
         {ZEQ_422(),
          {RGB_U8(), BGR_U8(), RGB_U16(), RGB_U15plus1(), ARGB_U8(), ARGB_U15plus1(), BGRA_U16(),
           BGRA_U8(), BGRA_F32()}},
         {ZEQ_4224_HYBRID(), {BGRA_F32()}},
         {ZEQ_420(), {RGB_U8(), BGR_U8(), BGRA_U8(), BGRA_U16(), BGRA_F32()}}});
    EXPECT_EQ(table.size(), 22u);
}

TEST(YCbCr42xToRGB, refusesPairsOutsideItsTable)
{
    // clang-format off
    const RefusedPair refusedPairs[] = {
        {YUYV_422(),        RGBA_U8(),       "YCbCr_ITU_T871_U8_YUYV-422 to RGBA_U8_RGBA"},
        {YUYV_422(),        RGB_U16(),       "YCbCr_ITU_T871_U8_YUYV-422 to RGB_U16_RGB"},
        {ZEQ_422(),         RGBA_U8(),       "YCbCr_ITU_T871_U10_ZEQ-422 to RGBA_U8_RGBA"},
        {ZEQ_4224_HYBRID(), BGRA_U8(),       "YCbCrA_ITU_T871_U12_ZEQ-4224-HYBRID to RGBA_U8_BGRA"},
        {ZEQ_4224_HYBRID(), BGRA_U16(),      "YCbCrA_ITU_T871_U12_ZEQ-4224-HYBRID to RGBA_U16_BGRA"},
        {ZEQ_420(),         ARGB_U8(),       "YCbCr_ITU_T871_U8_ZEQ-420 to RGBA_U8_ARGB"},
        {ZEQ_420(),         ARGB_U15plus1(), "YCbCr_ITU_T871_U8_ZEQ-420 to RGBA_U15plus1_ARGB"},
        {RGB_DPX_FILLED(),  BGRA_F32(),      "RGB_U10_RGB-DPX-FILLED to RGBA_F32_BGRA"},
        {RGB_DXT1(),        RGB_U8(),        "RGB_U8_RGB-DXT1 to RGB_U8_RGB"},
    };
    // clang-format on
    for (const auto& refused : refusedPairs)
        // A frame without data has the same message: the pair is looked up first.
        for (const auto& groups :
             {randomMatrix(refused.source, 2, 2), randomMatrix(refused.source, 0, 0)})
            expectError<std::runtime_error>(
                std::string("RGB conversion is not supported from ") + refused.text, [&] {
                    converted<ImageYCbCr42xToRGB>(refused.source, groups, refused.destination);
                });
}

TEST(YCbCr42xToRGB, takesPackedFramesOnly)
{
    for (const auto& destination : {RGB_U8(), RGBA_U8()}) {
        expectError<std::runtime_error>("Can only convert PackedFrame images", [&] {
            converted<ImageYCbCr42xToRGB>(
                std::make_shared<ForeignImageFrame>(YUYV_422(), randomMatrix(YUYV_422(), 2, 2)),
                destination);
        });
        expectError<std::runtime_error>("Can only convert PackedFrame images", [&] {
            converted<ImageYCbCr42xToRGB>(
                std::make_shared<Velmora::FullFrame>(BGR_U8(), randomMatrix(BGR_U8(), 0, 0)),
                destination);
        });
    }
}

TEST(YCbCr42xToRGB, refusesFramesWithoutData)
{
    for (const auto& entry : ImageYCbCr42xToRGB::conversions())
        for (const auto& size : {cv::Size(0, 0), cv::Size(3, 0), cv::Size(0, 3)})
            expectError<std::runtime_error>("no image data in frame", [&] {
                const auto& source = entry.first.first;
                converted<ImageYCbCr42xToRGB>(source, randomMatrix(source, size.height, size.width),
                                              entry.first.second);
            });
}

TEST(YCbCr42xToRGB, decodesByTheMatrix)
{
    const auto alphas = hybridGroup(0, 0, {0, 0}, {0, 0});
    // clang-format off
    const DecodingCase cases[] = {
        {"midValues",      YUYV_422(), {128, 128, 128, 128}, RGB_U8(),  {129, 127, 129}},
        {"clampedAbove",   YUYV_422(), {255, 128, 255, 255}, RGB_U8(),  {255, 164, 255}},
        {"firstLuma",      YUYV_422(), {255, 0, 0, 0},       RGB_U8(),  {76, 255, 29,  0, 135, 0}},
        {"secondLuma",     YUYV_422(), {0, 0, 255, 0},       BGR_U8(),  {0, 135, 0,  29, 255, 76}},
        {"blueChroma",     YUYV_422(), {0, 255, 0, 0},       ARGB_U8(), {255, 0, 47, 226}},
        {"redChroma",      YUYV_422(), {0, 0, 0, 255},       BGRA_U8(), {0, 0, 179, 255}},
        {"aboveFullScale", ZEQ_422(), tenBitGroup(512, 1023, 512, 1023), ARGB_U15plus1(), {32768, 32768, 32751, 32768}},
        {"tenBitLuma0",    ZEQ_422(), tenBitGroup(0, 1023, 0, 0),  BGRA_F32(), {0.114, 1, 0.299, 1,  0, 0.52914, 0, 1}},
        {"tenBitLuma1",    ZEQ_422(), tenBitGroup(0, 0, 0, 1023),  BGRA_F32(), {0, 0.52914, 0, 1,  0.114, 1, 0.299, 1}},
        {"tenBitBlue",     ZEQ_422(), tenBitGroup(1023, 0, 0, 0),  RGB_U16(),  {0, 12124, 58064}},
        {"tenBitRed",      ZEQ_422(), tenBitGroup(0, 0, 1023, 0),  RGB_U15plus1(), {22970, 0, 0}},
        {"hybridZero",     ZEQ_4224_HYBRID(), alphas,                                     BGRA_F32(), {0, 0.52914, 0, 0}},
        {"hybridLuma0",    ZEQ_4224_HYBRID(), hybridGroup(0, 0, {4095, 0}, {0, 0}),       BGRA_F32(), {0.114, 1, 0.299, 0,  0, 0.52914, 0, 0}},
        {"hybridLuma1",    ZEQ_4224_HYBRID(), hybridGroup(0, 0, {0, 0}, {4095, 0}),       BGRA_F32(), {0, 0.52914, 0, 0,  0.114, 1, 0.299, 0}},
        {"hybridAlpha0",   ZEQ_4224_HYBRID(), hybridGroup(0, 0, {0, 1023}, {0, 0}),       BGRA_F32(), {0, 0.52914, 0, 1,  0, 0.52914, 0, 0}},
        {"hybridAlpha1",   ZEQ_4224_HYBRID(), hybridGroup(0, 0, {0, 1}, {0, 1023}),       BGRA_F32(), {0, 0.52914, 0, 1 / 1023.0,  0, 0.52914, 0, 1}},
        {"hybridBlue",     ZEQ_4224_HYBRID(), hybridGroup(1023, 0, {0, 512}, {0, 511}),   BGRA_F32(), {0.886, 0.185, 0, 512 / 1023.0,  0.886, 0.185, 0, 511 / 1023.0}},
        {"hybridRed",      ZEQ_4224_HYBRID(), hybridGroup(0, 1023, {0, 0}, {0, 0}),       BGRA_F32(), {0, 0, 0.701, 0}},
        {"sharedChroma",   ZEQ_420(), {0, 0, 0, 64, 128, 255},     RGB_U8(),  {0, 135, 0,  0, 199, 0,  0, 255, 0,  76, 255, 29}},
        {"blueFirst",      ZEQ_420(), {255, 0, 0, 0, 0, 0},        BGRA_U8(), {226, 47, 0, 255}},
        {"redSecond",      ZEQ_420(), {0, 255, 0, 0, 0, 0},        BGR_U8(),  {0, 0, 179}},
    };
    // clang-format on
    for (const auto& row : cases)
        expectChannels(row, converted<ImageYCbCr42xToRGB>(
                                row.source, groupsOf(row.source, row.group), row.destination));
}

// Groups whose green lies so close to the middle of two values that another order of the additions,
// or luma times a reciprocal, gives the other one.
TEST(YCbCr42xToRGB, computesGreenInTheOrderWritten)
{
    struct Case
    {
        FrameFormat source;
        std::vector<std::uint8_t> group;
        FrameFormat destination;
        double green;
    };
    // clang-format off
    const Case cases[] = {
        {ZEQ_422(), tenBitGroup(6, 520, 767, 0),   BGRA_U8(),  127},
        {ZEQ_422(), tenBitGroup(6, 861, 767, 0),   BGRA_U8(),  213},
        {ZEQ_422(), tenBitGroup(35, 84, 238, 0),   BGRA_U8(),  111},
        {ZEQ_422(), tenBitGroup(697, 144, 576, 0), BGRA_U8(),  8},
        {ZEQ_422(), tenBitGroup(6, 520, 767, 0),   BGRA_U16(), 32767},
        {ZEQ_422(), tenBitGroup(6, 861, 767, 0),   BGRA_U16(), 54613},
        {ZEQ_422(), tenBitGroup(35, 425, 238, 0),  BGRA_U16(), 50244},
        {ZEQ_4224_HYBRID(), hybridGroup(229, 903, {730, 0}, {0, 0}),  BGRA_F32(), 3.94587474e-08},
        {ZEQ_4224_HYBRID(), hybridGroup(332, 558, {3625, 0}, {0, 0}), BGRA_F32(), 0.913149297},
    };
    // clang-format on
    for (const auto& [source, group, destination, green] : cases) {
        const auto pixels =
            converted<ImageYCbCr42xToRGB>(source, groupsOf(source, group), destination);
        const double expected = destination == BGRA_F32() ? double(float(green)) : green;
        EXPECT_EQ(channelValues(pixels)[1], expected) << toString(source);
        expectDecodedAsPlain(source, groupsOf(source, group));
    }
}

// Calls `check` with matrices of groups that hold all 2^24 triples of 8-bit samples between them:
// one Cb each, a row for each Cr.
void forAllTriples(const FrameFormat& source, const std::function<void(const cv::Mat&)>& check)
{
    const bool isFourTwoZero = source == ZEQ_420();
    cv::Mat groups(256, isFourTwoZero ? 64 : 128,
                   openCvType(source, Velmora::PackedFormatCvTypes()));
    for (int cb = 0; cb < 256 && !testing::Test::HasFailure(); ++cb) {
        auto* byte = groups.ptr<std::uint8_t>();
        const auto put = [&](int value) { *byte++ = static_cast<std::uint8_t>(value); };
        for (int cr = 0; cr < 256; ++cr)
            for (int luma = 0; luma < 256; luma += isFourTwoZero ? 4 : 2) {
                if (isFourTwoZero)
                    for (const int value : {cb, cr, luma, luma + 1, luma + 2, luma + 3})
                        put(value);
                else
                    for (const int value : {luma, cb, luma + 1, cr})
                        put(value);
            }
        check(groups);
    }
}

TEST(YCbCr42xToRGB, decodesAllTriplesOfYuyv422)
{
    forAllTriples(YUYV_422(), [](const cv::Mat& groups) {
        for (const auto& destination : {RGB_U8(), BGRA_F32(), BGRA_U16(), ARGB_U15plus1()})
            expectDecodedAsPlain(YUYV_422(), groups, destination);
    });
}

TEST(YCbCr42xToRGB, decodesAllTriplesOfZeq420)
{
    forAllTriples(ZEQ_420(), [](const cv::Mat& groups) {
        for (const auto& destination : {BGRA_U8(), BGRA_F32()})
            expectDecodedAsPlain(ZEQ_420(), groups, destination);
    });
}

// The ends, the middle, and what lies between.
const std::vector<unsigned> chosenChroma{0,   1,   2,   3,   4,    101,  255,  256,  257, 367,
                                         509, 510, 511, 512, 513,  514,  515,  600,  723, 767,
                                         768, 769, 877, 954, 1019, 1020, 1021, 1022, 1023};

TEST(YCbCr42xToRGB, decodesAllTenBitLuma)
{
    std::vector<std::uint8_t> bytes;
    for (const unsigned cb : chosenChroma)
        for (const unsigned cr : chosenChroma)
            for (unsigned luma = 0; luma < 1024; luma += 2) {
                const auto group = tenBitGroup(cb, luma, cr, luma + 1);
                bytes.insert(bytes.end(), group.begin(), group.end());
            }
    expectDecodedAsPlain(ZEQ_422(),
                         groupsOf(ZEQ_422(), bytes).reshape(0, int(chosenChroma.size())));
}

TEST(YCbCr42xToRGB, decodesAllTenBitChroma)
{
    std::vector<std::uint8_t> bytes;
    for (unsigned cb = 0; cb < 1024; ++cb)
        for (unsigned cr = 0; cr < 1024; ++cr) {
            const auto group = tenBitGroup(cb, (cb * 7 + cr * 5) & 1023, cr, (cb + cr * 3) & 1023);
            bytes.insert(bytes.end(), group.begin(), group.end());
        }
    expectDecodedAsPlain(ZEQ_422(), groupsOf(ZEQ_422(), bytes).reshape(0, 1024));
}

TEST(YCbCr42xToRGB, decodesAllHybridLumaAndAlpha)
{
    std::vector<std::uint8_t> bytes;
    for (const unsigned cb : chosenChroma)
        for (const unsigned cr : chosenChroma)
            for (unsigned luma = 0; luma < 4096; luma += 2) {
                const auto group = hybridGroup(cb, cr, {luma, luma / 4}, {luma + 1, ~luma & 1023});
                bytes.insert(bytes.end(), group.begin(), group.end());
            }
    expectDecodedAsPlain(ZEQ_4224_HYBRID(),
                         groupsOf(ZEQ_4224_HYBRID(), bytes).reshape(0, int(chosenChroma.size())));
}

TEST(YCbCr42xToRGB, decodesRandomGroups)
{
    for (const auto& source : {YUYV_422(), ZEQ_422(), ZEQ_4224_HYBRID(), ZEQ_420()})
        expectDecodedAsPlain(source, randomMatrix(source, 256, 512));
}

}
}
