#pragma once

#include "imaging/SampleDepth.h"

#include <opencv2/core/mat.hpp>

#include <string>

// How a picture is to be stored.
struct PictureLayout
{
    bool hasAlpha = false;
    SampleDepth depth = SampleDepth::F32;
    std::string name = {};  // for files that hold theirs, if it is not the one they are written to
};

// Writes a picture in the kind of file that the name's extension asks for. The picture holds blue,
// green, red and alpha in float and is used up: it does not keep its order of channels. Values are
// stored as they are: alpha is not multiplied into the colours and no colour conversion takes
// place; what whole numbers cannot hold is cut off at 0 and 1, and what is no number becomes 0.
// Throws a std::runtime_error, also when the file cannot hold samples of this depth.
void writePicture(const std::string& fileName, cv::Mat picture, const PictureLayout& layout);
