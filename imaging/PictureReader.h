#pragma once

#include "imaging/Picture.h"

#include <memory>
#include <string>

namespace Imaging {

// Opens a file of any kind that OpenImageIO reads. Its channels are found by their names: R, G, B
// or Y, and A. A picture that says by EXIF how it was taken is turned upright. Its values are those
// that are stored: alpha is not multiplied into the colours, and no colour conversion takes place.
// Refuses files without those channels and those that are too small for what they claim. All
// failures are std::runtime_errors, of one line.
std::unique_ptr<IPictureFile> openPicture(const std::string& fileName,
                                          const ReadingOptions& options);

}
