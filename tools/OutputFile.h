#pragma once

#include "MediaConversion/MediaFile/VelmoraMediaFileWriter.h"

#include <functional>
#include <stdexcept>
#include <string>

namespace Zeq {

// A file that could not be written: "shot.exr: No space left on device".
class OutputError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

// Write files that appear under their names when they are complete: until then, and for ever when
// that fails, what was there stays as it was. Throw an OutputError.

void writeOutput(const std::string& fileName, const Velmora::ImageFrame& frame,
                 const MediaConversion::MediaFileOptions& options);

// What is not a media file is written by the function, under a temporary name of the same
// extension.
void writeOutput(const std::string& fileName,
                 const std::function<void(const std::string& temporaryName)>& write);

}
