#pragma once

#include "MediaConversion/MediaFile/VelmoraMediaFileWriter.h"

#include <cstddef>
#include <functional>
#include <stdexcept>
#include <string>

namespace Zeq {

// In lower case and without the dot; empty when there is none.
std::string extensionOf(const std::string& fileName);

// False also where that cannot be told.
bool exists(const std::string& name);

// The first bytes of a regular file, fewer when it has no more; empty when it cannot be read.
std::string beginningOf(const std::string& fileName, std::size_t count);

bool hasMediaFileExtension(const std::string& fileName);

// Makes a folder, and those that it is in, unless they are there. Throws a std::runtime_error.
void makeFolder(const std::string& folder);

// The folder of the running program.
std::string programFolder();

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
