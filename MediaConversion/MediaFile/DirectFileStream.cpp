#include "MediaConversion/MediaFile/DirectFileStream.h"

namespace MediaConversion {

template class FileStreamOver<DirectFileBuffer>;

}
