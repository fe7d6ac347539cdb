#pragma once

#include "MediaConversion/MediaFile/VelmoraMediaFileWriter.h"
#include "tools/Report.h"

#include <cstddef>
#include <functional>
#include <span>
#include <string>

namespace Zeq {

// The extension of a name, in lower case and without the dot. It is empty when there is none.
std::string extensionOf(const std::string& fileName);

// Whether there is a file or folder of this name. What cannot be looked at does not exist.
bool exists(const std::string& name);

// Whether a folder of this name exists, or the name ends as that of a folder does.
bool isFolderName(const std::string& name);

// Makes a folder, and those that it is in, unless they are there. Throws a std::runtime_error.
void makeFolder(const std::string& folder);

// Throws a UsageError when there is no folder for a file of this name.
void checkFolderOf(const std::string& fileName);

// The folder of the running program.
std::string programFolder();

// A file that could not be written: "shot.exr: No space left on device".
class OutputError : public FileError
{
public:
    using FileError::FileError;
};

// Writes a media file that appears under its name when it is complete: until then, and for ever
// when that fails, what was there stays as it was. Also to standard output. Throws an OutputError.
void writeOutput(const std::string& fileName, const Velmora::ImageFrame& frame,
                 const MediaConversion::MediaFileOptions& options);

// The same for any other file, which the function writes under a temporary name of the same
// extension.
void writeOutput(const std::string& fileName,
                 const std::function<void(const std::string& temporaryName)>& write);

// The same for these bytes.
void writeOutput(const std::string& fileName, std::span<const std::byte> bytes);

// Writes these bytes into the file of this name, which is made where there is none. Programs that
// have it open read them there, but a failure leaves a part of them. Throws an OutputError.
void writeInPlace(const std::string& fileName, std::span<const std::byte> bytes);

// Writes a file to standard output, which takes it when it is complete. It is made in the folder
// for temporary files. Throws an OutputError.
void writeStandardOutput(const std::string& extension,
                         const std::function<void(const std::string& temporaryName)>& write);

// From now on, unfinished files are removed before a termination signal ends the program. This is
// not so for signals of a crash, for those that cannot be caught, and where no thread can be
// started to wait for them. Has to be called before there are other threads.
void removeUnfinishedFilesOnSignals();

}
