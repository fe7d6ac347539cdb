#include "imaging/HeatMap.h"

#include "imaging/Lettering.h"
#include "imaging/PictureWriter.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>

namespace Imaging {

namespace {

constexpr int narrowestMap = 480;
constexpr int smallestLetters = 13;
constexpr int backgroundGrey = 30;
constexpr int textGrey = 226;
constexpr int factsGrey = 146;

// No colour of the scale: a sample that is infinite or no number on one side only.
const cv::Scalar notFiniteColour(0, 255, 255);

// The scale's colours, in RGB. Their lightness grows evenly, so that equal steps look equal.
cv::Mat falseColours(const cv::Mat& shares)
{
    cv::Mat levels, colours;
    shares.convertTo(levels, CV_8U, 255);
    cv::applyColorMap(levels, colours, cv::COLORMAP_INFERNO);
    cv::cvtColor(colours, colours, cv::COLOR_BGR2RGB);
    return colours;
}

double largestFinite(const cv::Mat& deviations, const cv::Mat& isFinite)
{
    double largest = 0;
    cv::minMaxLoc(deviations, nullptr, &largest, nullptr, nullptr, isFinite);
    return largest;
}

std::string rounded(double value)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.4g", value);
    return text;
}

std::string factsOf(const Difference& difference)
{
    const auto size =
        std::to_string(difference.size.width) + " x " + std::to_string(difference.size.height);
    const auto all = difference.ofAll();
    if (all.largest == 0)
        return size + ", no difference";
    const auto& [position, channel, value, otherValue] = difference.worst;
    const auto index = static_cast<int>(channel);
    return size + ", RMS " + rounded(all.rootMeanSquare()) + ", worst at " +
           std::to_string(position.x) + ", " + std::to_string(position.y) + ": " +
           channelNames[channel] + " " + rounded(value[index]) + " and " +
           rounded(otherValue[index]);
}

// The scale from 0 to the largest deviation, as wide as the legend.
void drawScale(cv::Mat& legend, cv::Rect bar, double largest, int letters)
{
    cv::Mat shares(1, bar.width, CV_32FC1);
    for (int column = 0; column < bar.width; ++column)
        shares.at<float>(column) =
            static_cast<float>(column) / static_cast<float>(std::max(1, bar.width - 1));
    cv::resize(falseColours(shares), legend(bar), bar.size(), 0, 0, cv::INTER_NEAREST);
    cv::rectangle(legend, bar, cv::Scalar::all(factsGrey));
    for (const double share : {0.0, 0.25, 0.5, 0.75, 1.0}) {
        const auto text = lettersOf(rounded(share * largest));
        const int width = widthOf(text, letters);
        const int tick = bar.x + static_cast<int>(share * (bar.width - 1));
        cv::line(legend, {tick, bar.br().y}, {tick, bar.br().y + letters / 3},
                 cv::Scalar::all(factsGrey));
        const int left = std::clamp(tick - width / 2, bar.x, std::max(bar.x, bar.br().x - width));
        drawText(legend, text, {left, bar.br().y + letters * 3 / 2}, letters, textGrey);
        if (largest == 0)
            break;
    }
}

cv::Mat legendOf(const HeatMap& map, int width, double largest, bool isFinite)
{
    const int letters = std::max(smallestLetters, width / 70);
    const int lines = isFinite ? 3 : 4;
    cv::Mat legend(letters * (5 + 2 * lines), width, CV_8UC3, cv::Scalar::all(backgroundGrey));
    drawScale(legend, {letters, letters, width - 2 * letters, letters * 3 / 2}, largest, letters);
    int line = letters * 6;
    const auto write = [&](const std::string& text, int grey) {
        drawText(legend, shortened(lettersOf(text), letters, width - 2 * letters), {letters, line},
                 letters, grey);
        line += letters * 7 / 4;
    };
    write(map.name, textGrey);
    write(map.otherName, textGrey);
    write(factsOf(map.difference), factsGrey);
    if (!isFinite) {
        const cv::Rect sample(letters, line - letters, letters, letters);
        legend(sample).setTo(notFiniteColour);
        drawText(legend, U"infinite or no number on one side", {3 * letters, line}, letters,
                 factsGrey);
    }
    return legend;
}

}

void writeHeatMap(const std::string& fileName, const HeatMap& map)
{
    const cv::Mat isFinite = map.deviations <= std::numeric_limits<float>::max();
    const double largest = largestFinite(map.deviations, isFinite);
    cv::Mat colours = falseColours(map.deviations / (largest > 0 ? largest : 1));
    colours.setTo(notFiniteColour, ~isFinite);
    if (const int factor = narrowestMap / std::max(colours.cols, colours.rows); factor > 1)
        cv::resize(colours, colours, {}, factor, factor, cv::INTER_NEAREST);

    const int width = std::max(narrowestMap, colours.cols);
    cv::copyMakeBorder(colours, colours, 0, 0, (width - colours.cols) / 2,
                       (width - colours.cols + 1) / 2, cv::BORDER_CONSTANT,
                       cv::Scalar::all(backgroundGrey));
    const auto legend = legendOf(map, width, largest, cv::countNonZero(~isFinite) == 0);
    cv::vconcat(colours, legend, colours);
    writePicture(fileName, colours);
}

}
