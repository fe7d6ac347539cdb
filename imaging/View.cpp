#include "imaging/View.h"

#include "imaging/HostPicture.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace Imaging {

namespace {

constexpr int squareSize = 10;
constexpr float lightSquare = 0.95f;
constexpr float darkSquare = 0.82f;

// What is no number is black, and what is larger than any whole number is white.
unsigned char codeOf(float value)
{
    const float limited = std::isnan(value) ? 0 : std::clamp(value, 0.f, 1.f);
    return static_cast<unsigned char>(std::lround(255 * limited));
}

// Puts the view over a checkerboard, which shows where it is transparent. `red` and `blue` are its
// channels of these colours.
cv::Mat flattened(const cv::Mat& view, int red, int blue)
{
    cv::Mat image;
    // A pool would lend a frame's block, and a sheet has many views for long.
    image.allocator = cv::Mat::getStdAllocator();
    image.create(view.size(), CV_8UC3);
    for (int row = 0; row < view.rows; ++row)
        for (int column = 0; column < view.cols; ++column) {
            const auto& pixel = view.at<cv::Vec4f>(row, column);
            const bool isLight = (row / squareSize + column / squareSize) % 2 == 0;
            const float square = isLight ? lightSquare : darkSquare;
            const auto over = [&](int channel) {
                // A colour that does not show may be infinite or no number.
                return codeOf(pixel[3] == 0 ? square
                                            : square + (pixel[channel] - square) * pixel[3]);
            };
            image.at<cv::Vec3b>(row, column) = {over(red), over(1), over(blue)};
        }
    return image;
}

std::string factsText(cv::Size size, int bits)
{
    return std::to_string(size.width) + " x " + std::to_string(size.height) + ", " +
           std::to_string(bits) + " bit";
}

}

View viewOf(const Picture& reduced, cv::Size size, const std::string& name)
{
    return {flattened(reduced.pixels, 2, 0), name, factsText(size, factsOf(reduced.depth).bits)};
}

View viewOf(const HostPicture& picture, const std::string& name)
{
    const cv::Size size(picture.width, picture.height);
    const cv::Mat pixels(size, CV_32FC4, const_cast<float*>(picture.pixels.data()));
    const auto view = reduced({pixels, {}, size}, usualViewSide);
    return {flattened(view.pixels, 0, 2), name, factsText(size, picture.depth)};
}

View failedView(const std::string& name, std::string message)
{
    std::ranges::replace(message, '\n', ' ');
    return {{}, name, {}, std::move(message)};
}

}
