#include "MediaConversion/MediaFile/FileBuffer.h"

#include "MediaConversion/MediaFile/RegularFile.h"

#include <fcntl.h>
#include <unistd.h>
#include <ext/stdio_filebuf.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace MediaConversion {

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
    if ((mode & Mode::ate) && pubseekoff(0, Mode::end) < 0) {
        close();
        return nullptr;
    }
    return this;
}

}
