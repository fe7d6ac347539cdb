#include "imaging/ContactSheet.h"

#include "imaging/Lettering.h"
#include "imaging/PictureFiles.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace Imaging {

namespace {

constexpr int largestView = 360;
constexpr int narrowestColumn = 220;
constexpr int margin = 40;
constexpr int gap = 28;
constexpr int captionHeight = 50;
constexpr int nameSize = 15;
constexpr int factsSize = 12;
constexpr double landscape = 1.6;  // width to height of the sheet, roughly

constexpr int backgroundGrey = 30;
constexpr int frameGrey = 62;
constexpr int nameGrey = 226;
constexpr int factsGrey = 146;

constexpr int squareSize = 10;
constexpr float lightSquare = 0.95f;
constexpr float darkSquare = 0.82f;

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
                const float value =
                    pixel[3] == 0 ? square : square + (pixel[channel] - square) * pixel[3];
                return cv::saturate_cast<unsigned char>(255 * value);
            };
            image.at<cv::Vec3b>(row, column) = {over(red), over(1), over(blue)};
        }
    return image;
}

// Of a picture whose channels of these colours are `red` and `blue`.
View viewOf(const Picture& picture, int bits, const std::string& name, int red, int blue)
{
    const auto facts = std::to_string(picture.size.width) + " x " +
                       std::to_string(picture.size.height) + ", " + std::to_string(bits) + " bit";
    return {flattened(reduced(picture, largestView).pixels, red, blue), name, facts};
}

}

View viewOf(const Picture& picture, const std::string& name)
{
    return viewOf(picture, factsOf(picture.depth).bits, name, 2, 0);
}

View viewOf(const HostPicture& picture, const std::string& name)
{
    const cv::Size size(picture.width, picture.height);
    const cv::Mat pixels(size, CV_32FC4, const_cast<float*>(picture.pixels.data()));
    return viewOf({pixels, {}, size}, picture.depth, name, 0, 2);
}

void writeContactSheet(const std::string& fileName, const std::vector<View>& views)
{
    int columnWidth = narrowestColumn;
    int viewHeight = 0;
    for (const auto& view : views) {
        columnWidth = std::max(columnWidth, view.image.cols);
        viewHeight = std::max(viewHeight, view.image.rows);
    }
    const int cellWidth = columnWidth + gap;
    const int cellHeight = viewHeight + captionHeight + gap;
    const int count = static_cast<int>(views.size());
    const int columns = std::clamp(
        static_cast<int>(std::ceil(std::sqrt(count * landscape * cellHeight / cellWidth))), 1,
        count);
    const int rows = (count + columns - 1) / columns;

    cv::Mat sheet(2 * margin - gap + rows * cellHeight, 2 * margin - gap + columns * cellWidth,
                  CV_8UC3, cv::Scalar::all(backgroundGrey));
    for (int index = 0; index < count; ++index) {
        const auto& view = views[static_cast<std::size_t>(index)];
        const cv::Point cell(margin + index % columns * cellWidth,
                             margin + index / columns * cellHeight);
        const cv::Rect place(cell + cv::Point(0, viewHeight - view.image.rows), view.image.size());
        cv::rectangle(sheet, place + cv::Point(-1, -1) + cv::Size(2, 2),
                      cv::Scalar::all(frameGrey));
        view.image.copyTo(sheet(place));

        const cv::Point caption = cell + cv::Point(0, viewHeight + 24);
        drawText(sheet, shortened(lettersOf(view.name), nameSize, columnWidth), caption, nameSize,
                 nameGrey);
        drawText(sheet, lettersOf(view.facts), caption + cv::Point(0, 19), factsSize, factsGrey);
    }
    writePicture(fileName, sheet);
}

}
