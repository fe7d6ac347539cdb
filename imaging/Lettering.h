#pragma once

#include <opencv2/core/mat.hpp>

#include <string>

// Text in ASCII on an RGB canvas of 8 bits is in DejaVu Sans where the machine has it and otherwise
// in the strokes that OpenCV brings along. Sizes are in pixels.
namespace Imaging {

int textWidth(const std::string& text, int size);

// `position` is the left end of the line that the letters stand on.
void drawText(cv::Mat& canvas, const std::string& text, cv::Point position, int size, int grey);

// The text with a question mark for each other character: OpenImageIO 2.4 draws them wrongly and
// OpenCV not at all.
std::string drawable(const std::string& text);

// The text, cut and ended with dots where it would be wider than `width`.
std::string shortened(std::string text, int size, int width);

}
