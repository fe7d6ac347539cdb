#include "MediaConversion/MediaFile/VelmoraMediaFileReader.h"
#include "MediaConversion/MediaPipeline/Formats.h"
#include "MediaConversion/MediaPipeline/Frames.h"
#include "tests/support/InstalledPool.h"
#include "tests/support/RoundTrips.h"

#include <gtest/gtest.h>
#include <opencv2/imgproc.hpp>

#include <cmath>
#include <memory>
#include <string>
#include <utility>
#include <vector>

// What a picture loses on its way to a format and back.
namespace MediaConversion {
namespace {

using namespace Velmora::Formats;

cv::Mat floatsOf(std::unique_ptr<Velmora::IFrame> frame)
{
    return convert(std::move(frame), BGRA_F32())->image();
}

// From black to the colour, finer than any format's steps.
cv::Mat ramp(const cv::Vec3f& colour)
{
    cv::Mat_<cv::Vec4f> image(4, 8192);
    image.forEach([&](cv::Vec4f& pixel, const int* place) {
        const float value = static_cast<float>(place[1]) / 8191;
        pixel = {colour[0] * value, colour[1] * value, colour[2] * value, 1};
    });
    return image;
}

// The picture with the chroma that groups of pixels are left with; blue comes first.
cv::Mat subsampled(const cv::Mat& image, const cv::Size& group, bool fromLeft)
{
    // To luma, blue less luma and red less luma, and from them.
    // clang-format off
    const cv::Matx34d there( 0.114,  0.587,  0.299, 0,
                             0.886, -0.587, -0.299, 0,
                            -0.114, -0.587,  0.701, 0);
    const cv::Matx44d back(1,  1,              0,             0,
                           1, -0.114 / 0.587, -0.299 / 0.587, 0,
                           1,  0,              1,             0,
                           0,  0,              0,             1);
    // clang-format on
    cv::Mat result, ofGroups, ofPixels;
    image.convertTo(result, CV_64F);
    cv::transform(result, ofPixels, there);
    const cv::Size groups(image.cols / group.width, image.rows / group.height);
    cv::resize(ofPixels, ofGroups, groups, 0, 0, fromLeft ? cv::INTER_NEAREST : cv::INTER_AREA);
    cv::resize(ofGroups, result, image.size(), 0, 0, cv::INTER_NEAREST);
    cv::mixChannels(std::vector{ofPixels}, std::vector{result}, {0, 0});
    cv::transform(result, result, back);
    result = cv::max(cv::min(result, 1), 0);
    result.convertTo(result, CV_32F);
    return result;
}

double psnr(const cv::Mat& one, const cv::Mat& other)
{
    return 10 * std::log10(3.0 * static_cast<double>(one.total()) /
                           std::pow(cv::norm(one, other, cv::NORM_L2), 2));
}

TEST(RoundTrip, losesWhatTheBitsOfAFormatCannotHold)
{
    const InstalledPool installed;
    const std::pair<const char*, cv::Mat> pictures[] = {
        {"coffee", floatsOf(readMediaFile(PROJECT_FOLDER "/samples/coffee.rgb-smpte-2110.zeq"))},
        {"cat", floatsOf(readMediaFile(PROJECT_FOLDER "/tests/data/cat.rgb-u8.zeq"))},
        {"grey ramp", ramp({1, 1, 1})},
        {"red ramp", ramp({0, 0, 1})},
        {"blue ramp", ramp({1, 0, 0})},
    };
    for (const auto& [format, chromaGroup, chromaFromLeft, largestError] : largestErrors())
        for (const auto& [name, picture] : pictures) {
            SCOPED_TRACE(toString(format) + ' ' + name);
            const auto back = floatsOf(convert(frameOver(BGRA_F32(), picture), format));
            const auto possible = subsampled(picture, chromaGroup, chromaFromLeft);
            if (largestError > 0)
                EXPECT_LE(cv::norm(back, possible, cv::NORM_INF), largestError);
            else
                EXPECT_GE(psnr(back, picture), 32);
        }
}

}
}
