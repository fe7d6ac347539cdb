#include "MediaConversion/MediaFile/RegularFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

namespace MediaConversion {

namespace {

constexpr int ownFlags = O_CLOEXEC | O_NOCTTY;
constexpr mode_t permissions = 0666;  // less the process's mask

bool isRegular(int descriptor)
{
    struct stat status;
    return ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

// Opens a file on which somebody, a file server for instance, holds a lease. Its holder is told and
// has to let go within a time that the system sets, which is waited for.
int openLeasedFile(const char* fileName, int flags)
{
    const int place = ::open(fileName, O_PATH | O_CLOEXEC);
    if (place < 0)
        return -1;
    int descriptor = -1;
    if (isRegular(place)) {
        char samePlace[32];
        std::snprintf(samePlace, sizeof samePlace, "/proc/self/fd/%d", place);
        descriptor = ::open(samePlace, flags | ownFlags, permissions);
    }
    ::close(place);
    return descriptor;
}

}

int openRegularFile(const char* fileName, int flags)
{
    int descriptor = ::open(fileName, flags | ownFlags | O_NONBLOCK, permissions);
    if (descriptor < 0 && errno == EWOULDBLOCK)
        descriptor = openLeasedFile(fileName, flags);
    if (descriptor < 0)
        return -1;
    // The flags take back that nothing is waited for: from a file, one waits for its bytes.
    if (isRegular(descriptor) && ::fcntl(descriptor, F_SETFL, flags) == 0)
        return descriptor;
    ::close(descriptor);
    return -1;
}

}
