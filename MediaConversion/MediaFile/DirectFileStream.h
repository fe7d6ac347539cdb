#pragma once

#include "MediaConversion/MediaFile/DirectFileBuffer.h"
#include "MediaConversion/MediaFile/FileStreamOver.h"

namespace MediaConversion {

extern template class FileStreamOver<DirectFileBuffer>;

// A file stream for input only that can bypass the operating system's cache.
class DirectFileStream final : public FileStreamOver<DirectFileBuffer>, public IFileCaching
{
public:
    void setCaching(CachingMode mode) override { buffer().setCaching(mode); }
};

}
