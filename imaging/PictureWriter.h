#pragma once

#include "imaging/HostPicture.h"
#include "imaging/Picture.h"

#include <filesystem>
#include <string>

// Pictures are written with their values as they are: alpha is not multiplied into the colours, and
// no colour conversion takes place. All failures are std::runtime_errors, of one line.
namespace Imaging {

// Writes a file of the kind that the name's extension asks for, with samples of the picture's depth
// and alpha if it has any; some kinds hold a name, which is `heldName`. Whole numbers are rounded
// to the nearest; what they cannot hold is cut off at 0 and 1, and what is no number becomes 0.
// Fails also when the file cannot hold samples of this depth.
void writePicture(const std::string& fileName, const Picture& picture, const std::string& heldName);

// Writes red, green and blue in 8 bits.
void writePicture(const std::string& fileName, const cv::Mat& rgb);

// 8 bits per sample where the file has 8, otherwise 16. Samples outside 0 to 1 are cut off.
void writePng(const HostPicture& picture, const std::filesystem::path& path);

void writeExr(const HostPicture& picture, const std::filesystem::path& path);

}
