#include "tests/reader/ReaderTest.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ostream>
#include <string>
#include <vector>

namespace {

Picture sample(const std::string& format)
{
    return HeadlessHost(PLUG_IN).read(SAMPLES "/coffee." + format + ".zeq");
}

struct Difference
{
    double mean = 0;
    double largest = 0;
};

// Of the given channels of two pictures, in steps of 8 bits.
Difference difference(const Picture& one, const Picture& other, const std::vector<int>& channels)
{
    Difference result;
    for (int row = 0; row < one.height; ++row)
        for (int column = 0; column < one.width; ++column)
            for (const int channel : channels) {
                const double steps = 255 * std::abs(double{one.pixel(column, row)[channel]} -
                                                    double{other.pixel(column, row)[channel]});
                result.mean += steps;
                result.largest = std::max(result.largest, steps);
            }
    const auto samples = std::size_t(one.width) * std::size_t(one.height) * channels.size();
    result.mean /= static_cast<double>(samples);
    return result;
}

const std::vector<int> colours = {0, 1, 2};
const std::vector<int> alpha = {3};

struct SampleCase
{
    const char* format;
    int depth;
    bool hasAlpha;
    double mean;
    double largest;
};

void PrintTo(const SampleCase& sampleCase, std::ostream* output)
{
    *output << sampleCase.format;
}

class Samples : public testing::TestWithParam<SampleCase>
{
};

}

TEST_P(Samples, showTheSamePicture)
{
    const auto& expected = GetParam();
    const auto picture = sample(expected.format);
    ASSERT_EQ(picture.width, 300);
    ASSERT_EQ(picture.height, 200);
    EXPECT_EQ(picture.depth, expected.depth);

    const auto reference = sample("rgba-u8");
    const auto found = difference(picture, reference, colours);
    EXPECT_LE(found.mean, expected.mean);
    EXPECT_LE(found.largest, expected.largest);
    std::printf("%s %f %f\n", expected.format, found.mean, found.largest);

    const auto& expectedAlpha = expected.hasAlpha ? reference : sample("rgb-u8");
    EXPECT_LE(difference(picture, expectedAlpha, alpha).largest, expected.largest);
}

INSTANTIATE_TEST_SUITE_P(
    All, Samples,
    testing::Values(
        // clang-format off
        //         format            depth  alpha   mean  largest
        SampleCase{"rgb-u8",             8, false,  0.0,   0.0},
        SampleCase{"bgr-u8",             8, false,  0.0,   0.0},
        SampleCase{"rgba-u8",            8, true,   0.0,   0.0},
        SampleCase{"bgra-u8",            8, true,   0.0,   0.0},
        SampleCase{"rgb-dpx-filled",    10, false,  1.0,   1.0},
        SampleCase{"bgr-dpx-filled",    10, false,  1.0,   1.0},
        SampleCase{"rgb-smpte-2110",    12, false,  1.0,   1.0},
        SampleCase{"bgr-smpte-2110",    12, false,  1.0,   1.0},
        SampleCase{"yuyv-422",           8, false,  0.0,   0.0},
        SampleCase{"zeq-422",           10, false,  0.0,   0.0},
        SampleCase{"zeq-4224-hybrid",   12, true,   0.0,   0.0},
        SampleCase{"zeq-420",            8, false,  0.0,   0.0},
        SampleCase{"ycocg-dxt5",         8, false,  0.0,   0.0}),
    // clang-format on
    [](const auto& parameter) {
        std::string name = parameter.param.format;
        std::ranges::replace(name, '-', '_');
        return name;
    });
