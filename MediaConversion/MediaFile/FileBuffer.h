#pragma once

#include <fstream>

namespace MediaConversion {

// The standard file buffer, but for how it opens: regular files only, and without waiting for any
// other, and for this process alone.
class FileBuffer final : public std::filebuf
{
public:
    // Null when that fails, or when a file is open already.
    FileBuffer* open(const char* fileName, std::ios_base::openmode mode);
};

}
