#include "imaging/Picture.h"
#include "imaging/PictureLimits.h"
#include "imaging/Samples.h"

#include <gmock/gmock.h>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <tuple>
#include <vector>

using namespace testing;
using namespace Imaging;

// As OpenCV reduces the whole picture.
TEST(PartialPicture, isReducedWithoutBeingBuilt)
{
    const std::tuple<cv::Size, cv::Rect, int> cases[] = {
        // size      stored             longer side
        {{90, 60}, {0, 0, 90, 60}, 30},       {{90, 60}, {0, 0, 90, 60}, 47},
        {{90, 60}, {10, 7, 33, 20}, 89},      {{90, 60}, {-5, -9, 120, 30}, 17},
        {{60, 9000}, {50, 4000, 70, 3}, 100}, {{90, 60}, {95, 0, 3, 3}, 20},
    };
    const auto multiplied = [](cv::Mat image) {
        image.forEach<cv::Vec4f>([](cv::Vec4f& pixel, const int*) {
            pixel = pixel.mul({pixel[3], pixel[3], pixel[3], 1});
        });
        return image;
    };
    for (const auto& [size, place, longerSide] : cases) {
        cv::Mat stored(place.size(), CV_32FC4), expected;
        cv::randu(stored, 0.1, 1);
        const Picture picture{stored, place.tl(), size};
        const auto view = reduced(picture, longerSide).pixels;
        EXPECT_EQ(std::max(view.cols, view.rows), longerSide);
        cv::resize(multiplied(whole(picture).clone()), expected, view.size(), 0, 0, cv::INTER_AREA);
        EXPECT_LT(cv::norm(multiplied(view), expected, cv::NORM_INF), 1e-5) << size << place;
    }
}

TEST(PictureLimits, letAFrameOf8KPassAndWhatAFileCanHave)
{
    constexpr std::uint64_t frameOf8K = 8192 * 4320;
    EXPECT_TRUE(mayBeFilledUp(frameOf8K, 1) && mayBeFilledUp(16 * frameOf8K, frameOf8K));
    EXPECT_FALSE(mayBeFilledUp(16 * frameOf8K, frameOf8K - 1));
    EXPECT_TRUE(mayBeHeld(frameOf8K, 12 * frameOf8K, 1) && mayBeHeld(2 * frameOf8K, 1032, 1));
    EXPECT_FALSE(mayBeHeld(2 * frameOf8K, 2 * 1032, 1));
}

// Each code's own value, and what lies about the border to the next, which is rounded up.
TEST(Samples, areTheNearestCodes)
{
    for (const auto depth :
         {SampleDepth::U8, SampleDepth::U10, SampleDepth::U12, SampleDepth::U16}) {
        const int bits = factsOf(depth).bits;
        const auto largest = static_cast<float>((1 << bits) - 1);
        std::vector<float> values{-0.f, -1, -1e30f, 1e30f, INFINITY, -INFINITY, NAN, 1e-45f};
        for (float code = 0; code <= largest; ++code)
            for (const float value : {code / largest, (code + 0.5f) / largest})
                for (const float end : {-1.f, 2.f})
                    values.insert(values.end(), {value, std::nextafter(value, end)});
        const int count = static_cast<int>(values.size());
        std::vector<std::uint16_t> words(values.size());
        toSamples(values.data(), count, depth, reinterpret_cast<std::byte*>(words.data()));
        for (std::size_t index = 0; index < values.size(); ++index) {
            const float value = values[index];
            const int code =
                static_cast<int>(std::round((value > 0 ? std::min(value, 1.f) : 0) * largest));
            const int stored = bits == 8
                                   ? reinterpret_cast<const std::uint8_t*>(words.data())[index]
                                   : words[index] >> (16 - bits);
            ASSERT_EQ(stored, code) << value << " in " << bits << " bits";
        }
    }
}

TEST(Samples, comeBackFromFloats)
{
    const auto expectSame = [](auto samples, SampleDepth depth) {
        const int count = static_cast<int>(samples.size());
        std::vector<float> floats(samples.size());
        const auto original = samples;
        auto* const bytes = reinterpret_cast<std::byte*>(samples.data());
        toFloats(bytes, count, storedDepth(depth), floats.data());
        std::ranges::fill(samples, 0);
        toSamples(floats.data(), count, depth, bytes);
        EXPECT_EQ(samples, original) << factsOf(depth).name;
    };
    std::vector<std::uint8_t> bytes;
    std::vector<std::uint16_t> words, halfs, tens;
    for (int code = 0; code < 65536; ++code) {
        words.push_back(static_cast<std::uint16_t>(code));
        if (const int exponent = code >> 10 & 31; exponent != 31)
            halfs.push_back(words.back());
        if (code < 256)
            bytes.push_back(static_cast<std::uint8_t>(code));
        if (code < 1024)
            tens.push_back(static_cast<std::uint16_t>(code << 6 | code >> 4));
    }
    expectSame(bytes, SampleDepth::U8);
    expectSame(words, SampleDepth::U16);
    expectSame(tens, SampleDepth::U10);
    expectSame(halfs, SampleDepth::F16);
    expectSame(std::vector<float>{0.25f, -7, 1e30f}, SampleDepth::F32);
}

TEST(Samples, stayWithinTheRow)
{
    const std::vector<float> floats(20, 1);
    for (int count = 0; count <= 17; ++count) {
        std::vector<std::uint8_t> samples(20, 7);
        toSamples(floats.data(), count, SampleDepth::U8,
                  reinterpret_cast<std::byte*>(samples.data()));
        EXPECT_EQ(std::ranges::count(samples, 255), count);
        EXPECT_EQ(std::ranges::count(samples, 7), 20 - count);
    }
}
