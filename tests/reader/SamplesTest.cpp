#include "host/headless/HeadlessHost.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <string>

namespace {

// Which pixels share chroma, and the mean of how many of these it is.
struct Chroma
{
    int columns, meanColumns, rows;
};

constexpr Chroma ofEach{1, 1, 1}, meanOf2x1{2, 2, 1}, meanOf2x2{2, 2, 2}, leftOf2x1{2, 1, 1};

using Colour = std::array<double, 3>;

Colour yCbCr(const float* rgb)
{
    const double luma = 0.299 * rgb[0] + 0.587 * rgb[1] + 0.114 * rgb[2];
    return {luma, (rgb[2] - luma) / 1.772, (rgb[0] - luma) / 1.402};
}

// The colour of a pixel of the picture once its chroma is subsampled.
Colour subsampled(const Imaging::HostPicture& picture, int column, int row, const Chroma& chroma)
{
    const double luma = yCbCr(picture.pixel(column, row))[0];
    double cb = 0, cr = 0;
    for (int y = 0; y < chroma.rows; ++y)
        for (int x = 0; x < chroma.meanColumns; ++x) {
            const auto other = yCbCr(picture.pixel(column / chroma.columns * chroma.columns + x,
                                                   row / chroma.rows * chroma.rows + y));
            cb += other[1] / (chroma.rows * chroma.meanColumns);
            cr += other[2] / (chroma.rows * chroma.meanColumns);
        }
    return {std::clamp(luma + 1.402 * cr, 0.0, 1.0),
            std::clamp(luma - 0.344136 * cb - 0.714136 * cr, 0.0, 1.0),
            std::clamp(luma + 1.772 * cb, 0.0, 1.0)};
}

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

// The picture with the most bits stands for the original. The blocks of DXT5 keep two chroma values
// and what lies between them, so that single pixels may be far off. A picture that is off by one
// column is off by 8 / 255 in the mean.
TEST(Samples, showTheOriginal)
{
    const struct
    {
        const char* format;
        int depth;
        bool hasAlpha;
        Chroma chroma;
        double largestError;  // of a sample
        double meanError;
    } cases[] = {
        // clang-format off
        {"rgb-u8",           8,  false, ofEach,    rounding(255),        1},
        {"bgr-u8",           8,  false, ofEach,    rounding(255),        1},
        {"rgba-u8",          8,  true,  ofEach,    rounding(255),        1},
        {"bgra-u8",          8,  true,  ofEach,    rounding(255),        1},
        {"rgb-dpx-filled",  10,  false, ofEach,    rounding(1023),       1},
        {"bgr-dpx-filled",  10,  false, ofEach,    rounding(1023),       1},
        {"rgb-smpte-2110",  12,  false, ofEach,    0,                    1},
        {"bgr-smpte-2110",  12,  false, ofEach,    0,                    1},
        {"yuyv-422",         8,  false, meanOf2x1, rounding(255, 255),   1},
        {"zeq-422",         10,  false, meanOf2x1, rounding(1023, 1023), 1},
        {"zeq-4224-hybrid", 12,  true,  leftOf2x1, rounding(4095, 1023), 1},
        {"zeq-420",          8,  false, meanOf2x2, rounding(255, 255),   1},
        {"ycocg-dxt5",       8,  false, ofEach,    40.0 / 255,           3.0 / 255},
        // clang-format on
    };
    const HeadlessHost host(PLUG_IN);
    const auto read = [&](const std::string& format) {
        return host.read(SAMPLES "/coffee." + format + ".zeq");
    };
    const auto original = read("rgb-smpte-2110");
    for (const auto& expected : cases) {
        SCOPED_TRACE(expected.format);
        const auto alpha = read(expected.hasAlpha ? "rgba-u8" : "rgb-u8");
        const auto picture = read(expected.format);
        ASSERT_EQ(picture.pixels.size(), 300 * 200 * 4u);
        EXPECT_EQ(picture.width, 300);
        EXPECT_EQ(picture.depth, expected.depth);

        double largestError = 0, errors = 0, largestAlphaError = 0;
        for (int row = 0; row < 200; ++row)
            for (int column = 0; column < 300; ++column) {
                const auto colour = subsampled(original, column, row, expected.chroma);
                const float* const pixel = picture.pixel(column, row);
                for (std::size_t channel = 0; channel < colour.size(); ++channel) {
                    const double error = std::abs(pixel[channel] - colour[channel]);
                    largestError = std::max(largestError, error);
                    errors += error;
                }
                const double alphaError = pixel[3] - alpha.pixel(column, row)[3];
                largestAlphaError = std::max(largestAlphaError, std::abs(alphaError));
            }
        constexpr double floatRounding = 1e-6;
        EXPECT_LE(largestError, expected.largestError + floatRounding);
        EXPECT_LE(errors / (300 * 200 * 3), expected.meanError + floatRounding);
        EXPECT_LE(largestAlphaError, expected.hasAlpha ? 0.5 / 255 + 0.5 / 1023 : 0.0);
    }
}
