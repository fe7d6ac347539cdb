#include "MediaConversion/MediaFile/FileStreamOver.h"

#include <sys/stat.h>

namespace MediaConversion {

bool mayBeOpenedAsFile(const char* fileName)
{
    struct stat status;
    return ::stat(fileName, &status) != 0 || S_ISREG(status.st_mode);
}

}
