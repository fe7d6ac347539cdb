#include "MediaConversion/Converters/ImageBitDepth.h"
#include "MediaConversion/MediaPipeline/Formats.h"
#include "tests/Converters/ConvertedFrames.h"
#include "tests/support/ExpectError.h"

#include <bit>
#include <cmath>
#include <limits>
#include <random>
#include <string>

namespace MediaConversion {
namespace {

using namespace Velmora::Formats;
using Velmora::ChannelType;
using Velmora::Colourspace;
using Velmora::FrameFormat;
using Velmora::FullFormatCvTypes;
using enum Velmora::ChannelType;

struct Conversion
{
    ChannelType from;
    ChannelType to;
    int depth;
    double scale;
};

// clang-format off
const Conversion conversions[] = {
    {U8,       U8,       CV_8U,  1.0           },
    {U8,       U12,      CV_16U, 4095.0 / 255  },
    {U8,       U15plus1, CV_16U, 32768.0 / 255 },
    {U8,       F32,      CV_32F, 1.0 / 255     },
    {U12,      U8,       CV_8U,  255.0 / 4095  },
    {U12,      U15plus1, CV_16U, 32768.0 / 4095},
    {U12,      F32,      CV_32F, 1.0 / 4095    },
    {U15plus1, U12,      CV_16U, 4095.0 / 32768},
    {U16,      U8,       CV_8U,  255.0 / 65535 },
    {F32,      U8,       CV_8U,  255.0         },
    {F32,      U10,      CV_16U, 1023.0        },
    {F32,      U12,      CV_16U, 4095.0        },
};
// clang-format on

FrameFormat fullFormat(const std::string& channels, ChannelType channelType)
{
    const auto count = static_cast<std::uint32_t>(channels.size());
    const std::uint32_t bytes = channelType == U8 ? 1 : channelType == F32 ? 4 : 2;
    return {count == 4 ? Colourspace::RGBA : Colourspace::RGB,
            channelType,
            {count * bytes, count, 1, 1},
            channels};
}

// Calls `body` with the row and the formats for each channel order that has both of its types.
template <class Body>
void forEachConversion(const Body& body)
{
    for (const auto& conversion : conversions) {
        int orders = 0;
        for (const char* order : {"RGB", "BGR", "RGBA", "BGRA", "ARGB"}) {
            const auto source = fullFormat(order, conversion.from);
            const auto destination = fullFormat(order, conversion.to);
            if (!FullFormatCvTypes().contains(source) || !FullFormatCvTypes().contains(destination))
                continue;
            SCOPED_TRACE(toString(source) + " to " + toString(destination));
            body(conversion, source, destination);
            ++orders;
        }
        EXPECT_GE(orders, 2);
    }
}

cv::Mat convertedPixels(const FrameFormat& source, const cv::Mat& pixels,
                        const FrameFormat& destination)
{
    return converted<ImageBitDepth>(std::make_shared<Velmora::FullFrame>(source, pixels),
                                    destination);
}

// Expects the bytes of OpenCV's conversion of the whole matrix, and the source as it was.
void expectConvertedAsByOpenCv(const Conversion& conversion, const FrameFormat& source,
                               const cv::Mat& pixels, const FrameFormat& destination)
{
    cv::Mat expected;
    pixels.convertTo(expected, conversion.depth, conversion.scale, 0);
    const cv::Mat before = pixels.clone();
    const auto result = convertedPixels(source, pixels, destination);
    EXPECT_TRUE(sameBytes(expected, result));
    EXPECT_TRUE(sameBytes(before, pixels)) << "the source";
    EXPECT_NE(result.data, pixels.data);
}

TEST(BitDepth, hasItsTableOfPairs)
{
    const auto& table = ImageBitDepth::conversions();
    for (const auto& conversion : conversions)
        EXPECT_TRUE(table.contains({conversion.from, conversion.to}))
            << toString(conversion.from) << " to " << toString(conversion.to);
    EXPECT_EQ(table.size(), 12u);
}

TEST(BitDepth, takesFullFramesOnly)
{
    for (const auto& destination : {RGB_U12(), BGRA_U16()}) {
        expectError<std::runtime_error>("Can only convert FullFrame images", [&] {
            converted<ImageBitDepth>(
                std::make_shared<ForeignImageFrame>(RGB_U8(), randomMatrix(RGB_U8(), 2, 2)),
                destination);
        });
        expectError<std::runtime_error>("Can only convert FullFrame images", [&] {
            converted<ImageBitDepth>(RGB_DXT1(), randomMatrix(RGB_DXT1(), 2, 2), destination);
        });
    }
}

// Most rows are wrong in several ways: the check that comes first has the word.
TEST(BitDepth, checksColourspaceThenOrderThenTypes)
{
    const FrameFormat yCbCrU8{Colourspace::YCbCr_ITU_T871, U8, {3, 3, 1, 1}, "YCbCr"};
    const auto strange = [](FrameFormat format) {
        format.channelType = static_cast<ChannelType>(6);
        return format;
    };
    struct Case
    {
        FrameFormat source;
        FrameFormat destination;
        const char* text;
    };
    // clang-format off
    const Case cases[] = {
        {RGB_U8(),     fullFormat("BGRA", U12), "Source colourspace RGB does not match destination colourspace RGBA"},
        {BGRA_U8(),    BGR_U16(),     "Source colourspace RGBA does not match destination colourspace RGB"},
        {yCbCrU8,      RGB_U12(),     "Source colourspace YCbCr_ITU_T871 does not match destination colourspace RGB"},
        {CoCgAY_U8(),  BGRA_F32(),    "Source colourspace YCoCgA does not match destination colourspace RGBA"},
        {RGB_U8(),     BGR_U12(),     "Source channel format RGB does not match destination channel format BGR"},
        {BGR_U10(),    RGB_U16(),     "Source channel format BGR does not match destination channel format RGB"},
        {ARGB_U8(),    BGRA_F32(),    "Source channel format ARGB does not match destination channel format BGRA"},
        {RGB_U10(),    RGB_U16(),     "Bit depth conversion is not supported from U10 to U16"},
        {RGB_U10(),    RGB_U10(),     "Bit depth conversion is not supported from U10 to U10"},
        {RGB_U8(),     RGB_U10(),     "Bit depth conversion is not supported from U8 to U10"},
        {RGB_U8(),     RGB_U16(),     "Bit depth conversion is not supported from U8 to U16"},
        {RGB_U15plus1(), RGB_U8(),    "Bit depth conversion is not supported from U15plus1 to U8"},
        {RGB_U15plus1(), RGB_F32(),   "Bit depth conversion is not supported from U15plus1 to F32"},
        {BGRA_U16(),   BGRA_F32(),    "Bit depth conversion is not supported from U16 to F32"},
        {BGRA_F32(),   BGRA_F32(),    "Bit depth conversion is not supported from F32 to F32"},
        {BGRA_F32(),   BGRA_U16(),    "Bit depth conversion is not supported from F32 to U16"},
        {RGB_U8(),     strange(RGB_U8()), "Bit depth conversion is not supported from U8 to (Unknown ChannelType 6)"},
        // The types convert, but there is no such frame.
        {ARGB_U8(),    fullFormat("ARGB", U12), "OpenCV type not defined for frame format RGBA_U12_ARGB"},
        {ARGB_U8(),    fullFormat("ARGB", F32), "OpenCV type not defined for frame format RGBA_F32_ARGB"},
    };
    // clang-format on
    for (const auto& row : cases)
        expectError<std::runtime_error>(row.text, [&] {
            convertedPixels(row.source, randomMatrix(row.source, 2, 3), row.destination);
        });
}

TEST(BitDepth, scalesRoundsAndSaturates)
{
    struct Case
    {
        ChannelType from;
        ChannelType to;
        double value;
        double expected;
    };
    // Integers saturate at what their storage holds, not at full scale; ties go to the even number.
    // clang-format off
    const Case cases[] = {
        {U8,       U8,           0,     0},
        {U8,       U8,         200,   200},
        {U8,       U12,        255,  4095},
        {U8,       U12,        128,  2056},
        {U8,       U15plus1,   255, 32768},
        {U8,       U15plus1,     1,   129},
        {U8,       F32,        255,     1},
        {U8,       F32,          0,     0},
        {U12,      U8,        4095,   255},
        {U12,      U8,        2048,   128},
        {U12,      U8,       65535,   255},
        {U12,      U15plus1,  4095, 32768},
        {U12,      U15plus1,  8190, 65535},
        {U12,      F32,       4095,     1},
        {U15plus1, U12,      32768,  4095},
        {U15plus1, U12,      65535,  8190},
        {U15plus1, U12,          4,     0},
        {U15plus1, U12,          5,     1},
        {U16,      U8,       65535,   255},
        {U16,      U8,         257,     1},
        {U16,      U8,         128,     0},
        {U16,      U8,         129,     1},
        {F32,      U8,         1.5,   255},
        {F32,      U8,        -0.2,     0},
        {F32,      U8,         0.5,   128},
        {F32,      U8,         1.0,   255},
        {F32,      U10,        1.0,  1023},
        {F32,      U10,        0.5,   512},
        {F32,      U10,        1.5,  1534},
        {F32,      U10,        100, 65535},
        {F32,      U10,         -1,     0},
        {F32,      U12,        1.0,  4095},
        {F32,      U12,        0.5,  2048},
        {F32,      U12,        1.5,  6142},
        {F32,      U12,       -100,     0},
    };
    // clang-format on
    for (const auto& [from, to, value, expected] : cases) {
        // Nineteen pixels: the last ones do not fill a vector.
        cv::Mat pixels(1, 19, openCvType(fullFormat("RGB", from), FullFormatCvTypes()));
        pixels.setTo(cv::Scalar::all(value));
        const auto result = convertedPixels(fullFormat("RGB", from), pixels, fullFormat("RGB", to));
        EXPECT_EQ(channelValues(result), std::vector<double>(19 * 3, expected))
            << toString(from) << " " << value << " to " << toString(to);
    }
}

TEST(BitDepth, convertsEveryStoredInteger)
{
    forEachConversion([](const Conversion& conversion, const FrameFormat& source,
                         const FrameFormat& destination) {
        if (conversion.from == F32)
            return;
        cv::Mat pixels(257, 256, openCvType(source, FullFormatCvTypes()));
        // Neighbours run through all values, so that each value meets each channel.
        unsigned value = 0;
        for (int row = 0; row < pixels.rows; ++row)
            for (int index = 0; index < pixels.cols * pixels.channels(); ++index, ++value)
                if (conversion.from == U8)
                    pixels.ptr<std::uint8_t>(row)[index] = static_cast<std::uint8_t>(value);
                else
                    pixels.ptr<std::uint16_t>(row)[index] = static_cast<std::uint16_t>(value);
        expectConvertedAsByOpenCv(conversion, source, pixels, destination);
    });
}

// What OpenCV makes of floats that are no colours has to be made of them as well.
std::vector<float> unusualFloats(double scale)
{
    using Limits = std::numeric_limits<float>;
    std::vector<float> values{Limits::quiet_NaN(),
                              -Limits::quiet_NaN(),
                              Limits::infinity(),
                              -Limits::infinity(),
                              Limits::max(),
                              Limits::lowest(),
                              Limits::min(),
                              Limits::denorm_min(),
                              -0.0f,
                              1e9f,
                              -1e9f,
                              3e7f};
    // Where the product comes close to what 32 and 16 bits hold.
    for (const double limit : {2147483648.0, 4294967296.0, 65536.0, 65535.5, 256.0, 255.5})
        for (const double sign : {1.0, -1.0})
            values.push_back(static_cast<float>(sign * limit / scale));
    return values;
}

TEST(BitDepth, convertsFloatsOfAllKinds)
{
    forEachConversion([](const Conversion& conversion, const FrameFormat& source,
                         const FrameFormat& destination) {
        if (conversion.from != F32)
            return;
        cv::Mat pixels(300, 301, openCvType(source, FullFormatCvTypes()));
        const auto unusual = unusualFloats(conversion.scale);
        std::mt19937 random(7);
        const auto next = [&](int row) {
            if (row % 3 == 0)  // any bits
                return std::bit_cast<float>(static_cast<std::uint32_t>(random()));
            if (row % 3 == 1)  // on and beside ties
                return static_cast<float>((double(random() % 10000) + 0.5) / conversion.scale);
            return random() % 16 ? float(random()) / 4e9f : unusual[random() % unusual.size()];
        };
        for (int row = 0; row < pixels.rows; ++row)
            for (int index = 0; index < pixels.cols * pixels.channels(); ++index)
                pixels.ptr<float>(row)[index] = next(row);
        expectConvertedAsByOpenCv(conversion, source, pixels, destination);
    });
}

TEST(BitDepth, convertsFramesOfAllShapes)
{
    forEachConversion([](const Conversion& conversion, const FrameFormat& source,
                         const FrameFormat& destination) {
        const auto whole = randomMatrix(source, 70, 140);
        for (const int rows : {1, 2, 3, 64})
            for (const int columns : {1, 2, 3, 4, 5, 7, 8, 11, 16, 33, 127}) {
                expectConvertedAsByOpenCv(conversion, source, whole({3, 2, columns, rows}),
                                          destination);
                expectConvertedAsByOpenCv(conversion, source, whole({3, 2, columns, rows}).clone(),
                                          destination);
            }
    });
}

TEST(BitDepth, convertsOtherColourspacesAlike)
{
    const FrameFormat u8{Colourspace::YCbCr_ITU_T871, U8, {3, 3, 1, 1}, "YCbCr"};
    const FrameFormat f32{Colourspace::YCbCr_ITU_T871, F32, {12, 3, 1, 1}, "YCbCr"};
    expectConvertedAsByOpenCv(conversions[3], u8, randomMatrix(u8, 9, 31), f32);
    expectConvertedAsByOpenCv(conversions[0], CoCgAY_U8(), randomMatrix(CoCgAY_U8(), 9, 31),
                              CoCgAY_U8());
}

}
}
