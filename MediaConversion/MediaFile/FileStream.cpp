#include "MediaConversion/MediaFile/FileStream.h"

namespace MediaConversion {

template class FileStreamOver<FileBuffer>;

}
