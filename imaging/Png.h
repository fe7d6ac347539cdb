#pragma once

#include "imaging/Picture.h"

#include <cstddef>
#include <vector>

namespace Imaging {

// A PNG file in memory: the picture in 8 bits, with alpha if it has any, rounded and limited as all
// whole numbers are. For small pictures: OpenImageIO, which writes large ones row by row, takes
// longer to load than these take to write. Throws a std::runtime_error.
std::vector<std::byte> encodedPng(const Picture& picture);

}
