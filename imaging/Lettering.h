#pragma once

#include <opencv2/core/mat.hpp>

#include <cstddef>
#include <string>
#include <vector>

// Text on an RGB canvas of 8 bits, in DejaVu Sans where the machine has it and otherwise in the
// strokes that OpenCV brings along. Sizes and widths are in pixels.
namespace Imaging {

// The letters of a text in UTF-8, with a question mark for each that cannot be drawn.
using Letters = std::u32string;
Letters lettersOf(const std::string& text);

int widthOf(const Letters& letters, int size);

// `position` is the left end of the line that the letters stand on.
void drawText(cv::Mat& canvas, const Letters& letters, cv::Point position, int size, int grey);

// The letters, with an ellipsis in the middle where they would be wider than `width`: names of
// frames are told apart by their ends.
Letters shortened(const Letters& letters, int size, int width);

// The letters in at most so many lines, broken at blanks where possible; the last line is
// shortened.
std::vector<Letters> wrapped(const Letters& letters, int size, int width, std::size_t lines);

}
