#pragma once

#include "imaging/HostPicture.h"
#include "imaging/Picture.h"

#include <filesystem>
#include <memory>
#include <string>

// Pictures are read and written with their values as they are stored: alpha is not multiplied into
// the colours, and no colour conversion takes place. All failures are std::runtime_errors, of one
// line.
namespace Imaging {

// Opens a file of any kind that OpenImageIO reads. Its channels are found by their names: R, G, B
// or Y, and A. A picture that says by EXIF how it was taken is turned upright. Refuses files
// without those and those that are too small for what they claim.
std::unique_ptr<IPictureFile> openPicture(const std::string& fileName,
                                          const ReadingOptions& options);

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
