#include "host/headless/HeadlessHost.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <ostream>
#include <string>

namespace {

// What subsampling has left of the chroma of the pixels that share it.
enum class Chroma
{
    all,
    meanOf2x1,
    meanOf2x2,
    leftOf2x1,
};

struct SampleCase
{
    const char* format;
    int depth;
    bool hasAlpha;
    Chroma chroma;
    double largestError;  // of a sample
    double meanError;
};

void PrintTo(const SampleCase& sampleCase, std::ostream* output)
{
    *output << sampleCase.format;
}

using Colour = std::array<double, 3>;

Colour yCbCr(const float* rgb)
{
    const double luma = 0.299 * rgb[0] + 0.587 * rgb[1] + 0.114 * rgb[2];
    return {luma, (rgb[2] - luma) / 1.772, (rgb[0] - luma) / 1.402};
}

Colour rgb(const Colour& yCbCr)
{
    const auto& [luma, cb, cr] = yCbCr;
    return {std::clamp(luma + 1.402 * cr, 0.0, 1.0),
            std::clamp(luma - 0.344136 * cb - 0.714136 * cr, 0.0, 1.0),
            std::clamp(luma + 1.772 * cb, 0.0, 1.0)};
}

// The colour of a pixel of the picture once its chroma is subsampled.
Colour subsampled(const Imaging::HostPicture& picture, int column, int row, Chroma chroma)
{
    const int rows = chroma == Chroma::meanOf2x2 ? 2 : 1;
    const int columns = chroma == Chroma::leftOf2x1 ? 1 : 2;
    auto colour = yCbCr(picture.pixel(column, row));
    if (chroma == Chroma::all)
        return rgb(colour);
    colour[1] = colour[2] = 0;
    for (int y = 0; y < rows; ++y)
        for (int x = 0; x < columns; ++x) {
            const auto other = yCbCr(picture.pixel(column / 2 * 2 + x, row / rows * rows + y));
            colour[1] += other[1] / (rows * columns);
            colour[2] += other[2] / (rows * columns);
        }
    return rgb(colour);
}

class Samples : public testing::TestWithParam<SampleCase>
{
protected:
    Imaging::HostPicture read(const std::string& format) const
    {
        return m_host.read(SAMPLES "/coffee." + format + ".zeq");
    }

    const HeadlessHost m_host{PLUG_IN};
};

// Rounding of the sample and of the 12-bit picture that it is compared with.
constexpr double rounding(double fullScale)
{
    return 0.5 / fullScale + 0.5 / 4095;
}

// The same for YCbCr samples, as it shows in blue, where it shows most. The neutral chroma of the
// samples is half a code above the middle of the scale, which comes on top of the rounding.
constexpr double rounding(double lumaFullScale, double chromaFullScale)
{
    return 0.5 / lumaFullScale + 1.772 / chromaFullScale + (1 + 1.772) * 0.5 / 4095;
}

}

// The picture with the most bits stands for the original.
TEST_P(Samples, showTheOriginal)
{
    const auto& expected = GetParam();
    const auto original = read("rgb-smpte-2110");
    const auto originalAlpha = read(expected.hasAlpha ? "rgba-u8" : "rgb-u8");
    const auto picture = read(expected.format);
    ASSERT_EQ(picture.width, 300);
    ASSERT_EQ(picture.height, 200);
    EXPECT_EQ(picture.depth, expected.depth);

    double largestError = 0;
    double errors = 0;
    double largestAlphaError = 0;
    for (int row = 0; row < picture.height; ++row)
        for (int column = 0; column < picture.width; ++column) {
            const auto colour = subsampled(original, column, row, expected.chroma);
            const float* const pixel = picture.pixel(column, row);
            for (std::size_t channel = 0; channel < colour.size(); ++channel) {
                const double error = std::abs(pixel[channel] - colour[channel]);
                largestError = std::max(largestError, error);
                errors += error;
            }
            const double alphaError = pixel[3] - originalAlpha.pixel(column, row)[3];
            largestAlphaError = std::max(largestAlphaError, std::abs(alphaError));
        }
    constexpr double floatRounding = 1e-6;
    EXPECT_LE(largestError, expected.largestError + floatRounding);
    EXPECT_LE(errors / (300 * 200 * 3), expected.meanError + floatRounding);
    EXPECT_LE(largestAlphaError, expected.hasAlpha ? 0.5 / 255 + 0.5 / 1023 : 0.0);
}

// The blocks of DXT5 keep two chroma values and what lies between them, so that single pixels may
// be far off. A picture that is off by one column is off by 8 / 255 in the mean.
INSTANTIATE_TEST_SUITE_P(
    All, Samples,
    testing::Values(
        // clang-format off
        //         format           depth  alpha  chroma             largest error         mean
        SampleCase{"rgb-u8",           8,  false, Chroma::all,       rounding(255),        1},
        SampleCase{"bgr-u8",           8,  false, Chroma::all,       rounding(255),        1},
        SampleCase{"rgba-u8",          8,  true,  Chroma::all,       rounding(255),        1},
        SampleCase{"bgra-u8",          8,  true,  Chroma::all,       rounding(255),        1},
        SampleCase{"rgb-dpx-filled",  10,  false, Chroma::all,       rounding(1023),       1},
        SampleCase{"bgr-dpx-filled",  10,  false, Chroma::all,       rounding(1023),       1},
        SampleCase{"rgb-smpte-2110",  12,  false, Chroma::all,       0,                    1},
        SampleCase{"bgr-smpte-2110",  12,  false, Chroma::all,       0,                    1},
        SampleCase{"yuyv-422",         8,  false, Chroma::meanOf2x1, rounding(255, 255),   1},
        SampleCase{"zeq-422",         10,  false, Chroma::meanOf2x1, rounding(1023, 1023), 1},
        SampleCase{"zeq-4224-hybrid", 12,  true,  Chroma::leftOf2x1, rounding(4095, 1023), 1},
        SampleCase{"zeq-420",          8,  false, Chroma::meanOf2x2, rounding(255, 255),   1},
        SampleCase{"ycocg-dxt5",       8,  false, Chroma::all,       40.0 / 255,           3.0 / 255}),
    // clang-format on
    [](const auto& parameter) {
        std::string name = parameter.param.format;
        std::ranges::replace(name, '-', '_');
        return name;
    });
