#pragma once

#include <opencv2/core.hpp>

#include <utility>

// The channels of float pixels of four, rearranged in place: another matrix of a whole frame would
// cost as much as the frame.

template <class Operation>
void forEachPixel(cv::Mat& image, const Operation& operation)
{
    cv::parallel_for_(cv::Range(0, image.rows), [&](const cv::Range& rows) {
        for (int row = rows.start; row < rows.end; ++row) {
            auto* pixel = image.ptr<float>(row);
            for (int column = 0; column < image.cols; ++column, pixel += 4)
                operation(pixel);
        }
    });
}

inline void swapRedAndBlue(cv::Mat& image)
{
    forEachPixel(image, [](float* pixel) { std::swap(pixel[0], pixel[2]); });
}

// Pixels of which the first channels are a grey, a grey and alpha, RGB or RGBA become BGRA.
inline void spreadToBgra(cv::Mat& image, int channels)
{
    if (channels >= 3)
        swapRedAndBlue(image);
    else
        forEachPixel(image, [channels](float* pixel) {
            pixel[3] = channels == 2 ? pixel[1] : 1;
            pixel[1] = pixel[2] = pixel[0];
        });
    if (channels == 3)
        forEachPixel(image, [](float* pixel) { pixel[3] = 1; });
}
