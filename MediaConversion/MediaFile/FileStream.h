#pragma once

#include "MediaConversion/MediaFile/FileStreamOver.h"

#include <fstream>

namespace MediaConversion {

extern template class FileStreamOver<std::filebuf>;

// The standard buffered file stream of bytes.
class FileStream final : public FileStreamOver<std::filebuf>
{
};

}
