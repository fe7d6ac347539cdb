#pragma once

#include <opencv2/core/matx.hpp>

// The colours of pixels of blue, green, red and alpha. Alpha itself stays as it is.
namespace Imaging {

void scaleColours(cv::Vec4f* pixels, int count, float factor);

void multiplyByAlpha(cv::Vec4f* pixels, int count);

// Where alpha is 0, colours stay as they are.
void divideByAlpha(cv::Vec4f* pixels, int count);

// Gives linear light the curve of sRGB, IEC 61966-2-1. What is above 1 follows it as well.
void encodeSrgb(cv::Vec4f* pixels, int count);

}
