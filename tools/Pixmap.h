#pragma once

#include "tools/OpenFile.h"

#include <opencv2/core/mat.hpp>

#include <cstdint>
#include <string>

// Pictures as "P6" PPM files hold them: red, green and blue in 8 or 16 bits, the rows from the top
// down. Alpha is left out and not multiplied into the colours.
namespace Zeq {

std::string pixmapHeader(cv::Size size, int bits);

std::uint64_t pixmapByteCount(cv::Size size, int bits);

// What follows the header, in one piece: the picture as hosts show it, converted by the library.
cv::Mat pixmapSamples(IOpenFile& file, int bits);

// The same for a picture without any light.
cv::Mat blackSamples(cv::Size size, int bits);

}
