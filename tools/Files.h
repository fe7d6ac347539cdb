#pragma once

#include "MediaConversion/MediaFile/VelmoraMediaFileWriter.h"

#include <cstddef>
#include <functional>
#include <stdexcept>
#include <string>

namespace Zeq {

// The extension of a name, in lower case and without the dot. It is empty when there is none.
std::string extensionOf(const std::string& fileName);

// Whether there is a file or folder of this name. What cannot be looked at does not exist.
bool exists(const std::string& name);

// The first bytes of a regular file, or all when it has fewer, or none when it cannot be read.
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

// Writes a media file that appears under its name when it is complete: until then, and for ever
// when that fails, what was there stays as it was. Throws an OutputError.
void writeOutput(const std::string& fileName, const Velmora::ImageFrame& frame,
                 const MediaConversion::MediaFileOptions& options);

// The same for any other file, which the function writes under a temporary name of the same
// extension.
void writeOutput(const std::string& fileName,
                 const std::function<void(const std::string& temporaryName)>& write);

}
