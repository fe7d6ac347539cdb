#include "host/headless/HeadlessHost.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <string>

using namespace Headless;

// The picture with the most bits stands for the original, to which each sample is as near as its
// format lets it be: to half a code where no chroma is shared, and in the mean of all samples.
TEST(Samples, showTheOriginal)
{
    constexpr double any = 1;
    const struct
    {
        const char* format;
        int depth;
        bool hasAlpha;
        double largestError;
        double meanError;
    } cases[] = {
        // clang-format off
        // format          depth  alpha  largest     mean
        {"rgb-u8",           8,  false, 0.5 / 255,  0.0010},
        {"bgr-u8",           8,  false, 0.5 / 255,  0.0010},
        {"rgba-u8",          8,  true,  0.5 / 255,  0.0010},
        {"bgra-u8",          8,  true,  0.5 / 255,  0.0010},
        {"rgb-dpx-filled",  10,  false, 0.5 / 1023, 0.00023},
        {"bgr-dpx-filled",  10,  false, 0.5 / 1023, 0.00023},
        {"rgb-smpte-2110",  12,  false, 0,          0},
        {"bgr-smpte-2110",  12,  false, 0,          0},
        {"yuyv-422",         8,  false, any,        0.0056},
        {"zeq-422",         10,  false, any,        0.0052},
        {"zeq-4224-hybrid", 12,  true,  any,        0.0053},
        {"zeq-420",          8,  false, any,        0.0074},
        {"ycocg-dxt5",       8,  false, any,        0.0085},
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
        for (std::size_t sample = 0; sample < picture.pixels.size(); ++sample) {
            const bool isAlpha = sample % 4 == 3;
            const auto& right = isAlpha ? alpha : original;
            const double error = std::abs(picture.pixels[sample] - right.pixels[sample]);
            auto& largest = isAlpha ? largestAlphaError : largestError;
            largest = std::max(largest, error);
            errors += isAlpha ? 0 : error;
        }
        constexpr double rounding = 0.5 / 4095 + 1e-6;  // of the original and of float samples
        EXPECT_LE(largestError, expected.largestError + rounding);
        EXPECT_LE(errors / (300 * 200 * 3), expected.meanError);
        EXPECT_LE(largestAlphaError, expected.hasAlpha ? 0.5 / 255 + 0.5 / 1023 : 0.0);
    }
}
