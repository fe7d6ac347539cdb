#include "MediaConversion/MediaFile/FileStreams.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <iterator>
#include <system_error>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <ext/stdio_filebuf.h>

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
    // Only the opening must not wait: reads do wait for the bytes of a file.
    if (isRegular(descriptor) && ::fcntl(descriptor, F_SETFL, flags) == 0)
        return descriptor;
    ::close(descriptor);
    return -1;
}

namespace {

using Mode = std::ios_base;

// The system's flags for each mode of a standard stream; there are no others.
// clang-format off
const std::pair<Mode::openmode, int> flagsOfModes[] = {
    {Mode::in,                          O_RDONLY                     },
    {Mode::out,                         O_WRONLY | O_CREAT | O_TRUNC },
    {Mode::out | Mode::trunc,           O_WRONLY | O_CREAT | O_TRUNC },
    {Mode::app,                         O_WRONLY | O_CREAT | O_APPEND},
    {Mode::out | Mode::app,             O_WRONLY | O_CREAT | O_APPEND},
    {Mode::in | Mode::out,              O_RDWR                       },
    {Mode::in | Mode::out | Mode::trunc, O_RDWR | O_CREAT | O_TRUNC  },
    {Mode::in | Mode::app,              O_RDWR | O_CREAT | O_APPEND  },
    {Mode::in | Mode::out | Mode::app,  O_RDWR | O_CREAT | O_APPEND  },
};
// clang-format on

}

FileBuffer* FileBuffer::open(const char* fileName, Mode::openmode mode)
{
    const auto* const entry = std::ranges::find(flagsOfModes, mode & ~(Mode::binary | Mode::ate),
                                                &std::pair<Mode::openmode, int>::first);
    if (is_open() || entry == std::end(flagsOfModes))
        return nullptr;
    const int descriptor = openRegularFile(fileName, entry->second);
    if (descriptor < 0)
        return nullptr;
    // A std::filebuf takes no descriptor; this one does, and has nothing else of its own.
    __gnu_cxx::stdio_filebuf<char> opened(descriptor, mode);
    if (!opened.is_open()) {
        ::close(descriptor);
        return nullptr;
    }
    swap(opened);
    m_descriptor = descriptor;
    if ((mode & Mode::ate) && pubseekoff(0, Mode::end) < 0) {
        close();
        return nullptr;
    }
    return this;
}

namespace {

// What takes longer to copy out of the system's cache than a thread to start.
constexpr std::streamsize leastForTwoThreads = 8 << 20;

// Gives how many bytes were there.
std::streamsize readAt(int descriptor, std::streamoff position, char* destination,
                       std::streamsize count)
{
    std::streamsize taken = 0;
    while (taken < count) {
        const auto piece = ::pread(descriptor, destination + taken,
                                   static_cast<std::size_t>(count - taken), position + taken);
        if (piece == 0 || (piece < 0 && errno != EINTR))
            break;
        taken += std::max<ssize_t>(piece, 0);
    }
    return taken;
}

std::streamsize readByTwoThreads(int descriptor, std::streamoff position, char* destination,
                                 std::streamsize count)
{
    const auto half = count / 2;
    std::streamsize ofSecond = 0;
    std::jthread second(
        [&] { ofSecond = readAt(descriptor, position + half, destination + half, count - half); });
    const auto ofFirst = readAt(descriptor, position, destination, half);
    second.join();
    return ofFirst < half ? ofFirst : half + ofSecond;
}

}

// Whatever the threads do not read, the standard buffer tries, and says what is wrong.
std::streamsize FileBuffer::xsgetn(char* destination, std::streamsize count)
{
    std::streamsize taken = 0;
    if (is_open() && count >= leastForTwoThreads)
        try {
            const std::streamoff position = seekoff(0, Mode::cur);
            if (position >= 0)
                taken = readByTwoThreads(m_descriptor, position, destination, count);
            if (taken > 0 && seekoff(position + taken, Mode::beg) < 0)
                taken = 0;
        } catch (const std::system_error&) {
            taken = 0;  // there is no second thread
        }
    return taken + std::filebuf::xsgetn(destination + taken, count - taken);
}

bool mayBeOpenedAsFile(const char* fileName)
{
    struct stat status;
    return ::stat(fileName, &status) != 0 || S_ISREG(status.st_mode);
}

template class FileStreamOver<FileBuffer>;

}
