#include "MediaConversion/Converters/ImageColourspace.h"
#include "MediaConversion/MediaPipeline/Formats.h"
#include "tests/Converters/ConvertedFrames.h"
#include "tests/support/ExpectError.h"

#include <cstring>
#include <string>

namespace MediaConversion {
namespace {

using namespace Velmora::Formats;
using Velmora::FrameFormat;

// For each channel of the destination, the channel of the source that it comes from; an added
// alpha comes from none.
constexpr int opaque = -1;

struct Conversion
{
    FrameFormat source;
    FrameFormat destination;
    std::vector<int> channels;
};

// clang-format off
const Conversion conversions[] = {
    {RGB_U8(),  BGR_U8(),   {2, 1, 0}},
    {RGB_U8(),  RGBA_U8(),  {0, 1, 2, opaque}},
    {RGB_U8(),  BGRA_U8(),  {2, 1, 0, opaque}},
    {BGR_U8(),  RGB_U8(),   {2, 1, 0}},
    {BGR_U8(),  BGRA_U8(),  {0, 1, 2, opaque}},
    {BGR_U8(),  RGBA_U8(),  {2, 1, 0, opaque}},
    {RGBA_U8(), BGR_U8(),   {2, 1, 0}},
    {RGBA_U8(), RGB_U8(),   {0, 1, 2}},
    {RGBA_U8(), BGRA_U8(),  {2, 1, 0, 3}},
    {BGRA_U8(), RGB_U8(),   {2, 1, 0}},
    {BGRA_U8(), BGR_U8(),   {0, 1, 2}},
    {BGRA_U8(), RGBA_U8(),  {2, 1, 0, 3}},
    {BGR_F32(), BGRA_F32(), {0, 1, 2, opaque}},
};
// clang-format on

cv::Mat convertedPixels(const FrameFormat& source, const cv::Mat& pixels,
                        const FrameFormat& destination)
{
    return converted<ImageColourspace>(std::make_shared<Velmora::FullFrame>(source, pixels),
                                       destination);
}

template <class Element>
cv::Mat reordered(const Conversion& conversion, const cv::Mat& pixels, Element opaqueValue)
{
    cv::Mat result(pixels.size(), openCvType(conversion.destination, Velmora::FullFormatCvTypes()));
    for (int row = 0; row < pixels.rows; ++row) {
        auto* to = result.ptr<Element>(row);
        for (int column = 0; column < pixels.cols; ++column)
            for (const int channel : conversion.channels)
                if (channel == opaque)
                    *to++ = opaqueValue;
                else
                    std::memcpy(to++,
                                pixels.ptr<Element>(row) + column * pixels.channels() + channel,
                                sizeof(Element));
    }
    return result;
}

TEST(Colourspace, hasItsTableOfPairs)
{
    const auto& table = ImageColourspace::conversions();
    expectPairs(table, {{RGB_U8(), {BGR_U8(), RGBA_U8(), BGRA_U8()}},
                        {BGR_U8(), {RGB_U8(), RGBA_U8(), BGRA_U8()}},
                        {RGBA_U8(), {RGB_U8(), BGR_U8(), BGRA_U8()}},
                        {BGRA_U8(), {RGB_U8(), BGR_U8(), RGBA_U8()}},
                        {BGR_F32(), {BGRA_F32()}}});
    EXPECT_EQ(table.size(), 13u);
}

TEST(Colourspace, refusesPairsOutsideItsTable)
{
    // clang-format off
    const RefusedPair refusedPairs[] = {
        {RGB_U8(),    RGB_U8(),    "RGB_U8_RGB to RGB_U8_RGB"},
        {RGB_U8(),    ARGB_U8(),   "RGB_U8_RGB to RGBA_U8_ARGB"},
        {ARGB_U8(),   BGRA_U8(),   "RGBA_U8_ARGB to RGBA_U8_BGRA"},
        {RGB_U8(),    BGRA_F32(),  "RGB_U8_RGB to RGBA_F32_BGRA"},
        {RGB_F32(),   BGRA_F32(),  "RGB_F32_RGB to RGBA_F32_BGRA"},
        {BGRA_F32(),  BGR_F32(),   "RGBA_F32_BGRA to RGB_F32_BGR"},
        {BGR_U16(),   BGRA_U16(),  "RGB_U16_BGR to RGBA_U16_BGRA"},
        {CoCgAY_U8(), RGB_U8(),    "YCoCgA_U8_CoCgAY to RGB_U8_RGB"},
        {RGB_U8(),    YUYV_422(),  "RGB_U8_RGB to YCbCr_ITU_T871_U8_YUYV-422"},
    };
    // clang-format on
    for (const auto& refused : refusedPairs)
        expectError<std::runtime_error>(
            std::string("Colourspace conversion is not supported from ") + refused.text, [&] {
                convertedPixels(refused.source, randomMatrix(refused.source, 2, 2),
                                refused.destination);
            });
}

TEST(Colourspace, takesFullFramesOnly)
{
    for (const auto& destination : {BGR_U8(), ARGB_U8()}) {
        expectError<std::runtime_error>("Can only convert FullFrame images", [&] {
            converted<ImageColourspace>(
                std::make_shared<ForeignImageFrame>(RGB_U8(), randomMatrix(RGB_U8(), 2, 2)),
                destination);
        });
        expectError<std::runtime_error>("Can only convert FullFrame images", [&] {
            converted<ImageColourspace>(RGB_DXT1(), randomMatrix(RGB_DXT1(), 2, 2), destination);
        });
    }
}

TEST(Colourspace, movesChannelsAndAddsOpaqueAlpha)
{
    for (const auto& conversion : conversions) {
        // Random bytes make floats of all kinds, which have to come through bit by bit.
        const auto whole = randomMatrix(conversion.source, 70, 140);
        for (const int rows : {1, 2, 64})
            for (const int columns : {1, 2, 3, 4, 5, 7, 8, 16, 33, 127})
                for (const auto& pixels :
                     {whole({3, 2, columns, rows}), whole({3, 2, columns, rows}).clone()}) {
                    const cv::Mat before = pixels.clone();
                    const auto expected = pixels.depth() == CV_32F
                                              ? reordered(conversion, pixels, 1.0f)
                                              : reordered(conversion, pixels, std::uint8_t{255});
                    const auto result =
                        convertedPixels(conversion.source, pixels, conversion.destination);
                    EXPECT_TRUE(sameBytes(expected, result))
                        << toString(conversion.source) << " to "
                        << toString(conversion.destination);
                    EXPECT_TRUE(sameBytes(before, pixels)) << "the source";
                }
    }
}

}
}
