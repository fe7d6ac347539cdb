#pragma once

#include <opencv2/core/mat.hpp>

// A picture of which a file holds only a part; the rest of it is 0. The part may also reach beyond
// the picture: what lies there is not shown.
struct PartialPicture
{
    cv::Mat stored;        // four channels in float, the last of them alpha
    cv::Point2l position;  // of the stored part's upper left pixel in the picture
    cv::Size size;         // of the picture
};

// Throws a std::runtime_error when a header claims more than `mayBeFilledUp` lets pass.
void checkMayBeFilledUp(cv::Size size, cv::Size stored);

// All pixels; the stored ones themselves where they are the whole picture. Throws as above.
cv::Mat whole(const PartialPicture& picture);

// The picture reduced so that its longer side has at most so many pixels, without ever being built
// as a whole; a smaller one keeps its size. Colours count as much as they show: where a pixel is
// transparent, its colour means nothing.
cv::Mat reduced(const PartialPicture& picture, int longerSide);
