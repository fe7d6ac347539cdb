#include "imaging/ContactSheet.h"

#include "imaging/Lettering.h"
#include "imaging/PictureWriter.h"
#include "imaging/SheetLayout.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cstddef>

namespace Imaging {

namespace {

constexpr int nameSize = 15;
constexpr int factsSize = 12;

constexpr int backgroundGrey = 30;
constexpr int frameGrey = 62;
constexpr int nameGrey = 226;
constexpr int factsGrey = 146;

const cv::Scalar failureFrame(176, 64, 56);  // red
constexpr int failureGrey = 16;
constexpr int lineHeight = 19;
constexpr int padding = 12;

void drawFrame(cv::Mat& sheet, const cv::Rect& place, const cv::Scalar& colour)
{
    cv::rectangle(sheet, place + cv::Point(-1, -1) + cv::Size(2, 2), colour);
}

void drawMessage(cv::Mat& sheet, const cv::Rect& place, const std::string& message)
{
    sheet(place).setTo(cv::Scalar::all(failureGrey));
    drawFrame(sheet, place, failureFrame);
    const int lines = std::max(1, (place.height - 2 * padding) / lineHeight);
    auto position = place.tl() + cv::Point(padding, padding);
    for (const auto& line : wrapped(lettersOf(message), nameSize, place.width - 2 * padding,
                                    static_cast<std::size_t>(lines)))
        drawText(sheet, line, position += cv::Point(0, lineHeight), nameSize, nameGrey);
}

}

void writeContactSheet(const std::string& fileName, const std::vector<View>& views, int columns)
{
    const Page page(views, columns);
    cv::Mat sheet(page.size, CV_8UC3, cv::Scalar::all(backgroundGrey));
    for (std::size_t index = 0; index < views.size(); ++index) {
        const auto& view = views[index];
        const auto cell = page.cellAt(index);
        if (view.message.empty()) {
            const cv::Rect place(cell + cv::Point(0, page.view.height - view.image.rows),
                                 view.image.size());
            drawFrame(sheet, place, cv::Scalar::all(frameGrey));
            view.image.copyTo(sheet(place));
        } else {
            drawMessage(sheet, {cell, page.view}, view.message);
        }
        const cv::Point caption = cell + cv::Point(0, page.view.height + 24);
        drawText(sheet, shortened(lettersOf(view.name), nameSize, page.view.width), caption,
                 nameSize, nameGrey);
        drawText(sheet, lettersOf(view.facts), caption + cv::Point(0, 19), factsSize, factsGrey);
    }
    writePicture(fileName, sheet);
}

}
