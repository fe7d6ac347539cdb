#include "MediaConversion/MediaFile/FileNames.h"
#include "MediaConversion/MediaFile/FileStreams.h"
#include "MediaConversion/MediaFile/VelmoraMediaFileReader.h"
#include "MediaConversion/MediaPipeline/Formats.h"
#include "MediaConversion/MediaPipeline/Frames.h"
#include "tests/support/InstalledPool.h"
#include "tests/support/RoundTrips.h"

#include <gtest/gtest.h>
#include <opencv2/core.hpp>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <string>
#include <utility>

// What a picture loses on its way to a format and back.
namespace MediaConversion {
namespace {

using namespace Velmora::Formats;
using Velmora::IFrame;

cv::Mat floatsOf(std::unique_ptr<IFrame> frame)
{
    return convert(std::move(frame), BGRA_F32())->image().clone();
}

cv::Mat photograph(const std::string& name)
{
    return floatsOf(readMediaFile(PROJECT_FOLDER + name));
}

// From black to the colour, finer than any format's steps.
cv::Mat ramp(const cv::Vec3f& colour)
{
    cv::Mat image(4, 8192, CV_32FC4);
    for (int row = 0; row < image.rows; ++row)
        for (int column = 0; column < image.cols; ++column) {
            const float value = static_cast<float>(column) / static_cast<float>(image.cols - 1);
            image.at<cv::Vec4f>(row, column) = {colour[0] * value, colour[1] * value,
                                                colour[2] * value, 1};
        }
    return image;
}

// The picture with the chroma that groups of pixels are left with; blue comes first.
cv::Mat subsampled(const cv::Mat& image, const cv::Size& group, bool fromLeft)
{
    cv::Mat result = image.clone();
    for (int row = 0; row < image.rows; ++row)
        for (int column = 0; column < image.cols; ++column) {
            double blueLessLuma = 0;
            double redLessLuma = 0;
            const auto luma = [](const cv::Vec4f& pixel) {
                return 0.299 * pixel[2] + 0.587 * pixel[1] + 0.114 * pixel[0];
            };
            const cv::Rect pixels(column / group.width * group.width,
                                  row / group.height * group.height, fromLeft ? 1 : group.width,
                                  group.height);
            for (int y = pixels.y; y < pixels.y + pixels.height; ++y)
                for (int x = pixels.x; x < pixels.x + pixels.width; ++x) {
                    const auto& pixel = image.at<cv::Vec4f>(y, x);
                    blueLessLuma += (pixel[0] - luma(pixel)) / pixels.area();
                    redLessLuma += (pixel[2] - luma(pixel)) / pixels.area();
                }
            const double y = luma(image.at<cv::Vec4f>(row, column));
            const double green = y - (0.114 * blueLessLuma + 0.299 * redLessLuma) / 0.587;
            auto& pixel = result.at<cv::Vec4f>(row, column);
            pixel[0] = static_cast<float>(std::clamp(y + blueLessLuma, 0.0, 1.0));
            pixel[1] = static_cast<float>(std::clamp(green, 0.0, 1.0));
            pixel[2] = static_cast<float>(std::clamp(y + redLessLuma, 0.0, 1.0));
        }
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
        {"coffee", photograph("/samples/coffee.rgb-smpte-2110.zeq")},
        {"cat", photograph("/tests/data/cat.rgb-u8.zeq")},
        {"grey ramp", ramp({1, 1, 1})},
        {"red ramp", ramp({0, 0, 1})},
        {"blue ramp", ramp({1, 0, 0})},
    };
    std::printf("PSNR in dB of picture -> format -> picture\n%-42s", "");
    for (const auto& [name, picture] : pictures)
        std::printf("%11s", name);
    for (const auto& [format, chromaGroup, chromaFromLeft, largestError] : largestErrors()) {
        std::printf("\n%-42s", toString(format).c_str());
        for (const auto& [name, picture] : pictures) {
            const auto back = floatsOf(
                convert(std::make_unique<Velmora::FullFrame>(BGRA_F32(), picture), format));
            std::printf("%11.2f", psnr(back, picture));
            const cv::Mat possible = subsampled(picture, chromaGroup, chromaFromLeft);
            if (largestError > 0)
                EXPECT_LE(cv::norm(back, possible, cv::NORM_INF), largestError)
                    << toString(format) << ' ' << name;
            else
                EXPECT_GE(psnr(back, picture), 32) << name;
        }
    }
    std::printf("\n");
}

}
}
