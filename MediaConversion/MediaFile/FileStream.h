#pragma once

#include "MediaConversion/MediaFile/FileBuffer.h"
#include "MediaConversion/MediaFile/FileStreamOver.h"

namespace MediaConversion {

extern template class FileStreamOver<FileBuffer>;

// The standard buffered file stream of bytes.
class FileStream final : public FileStreamOver<FileBuffer>
{
};

}
