#include "tests/MediaFile/SystemCalls.h"

#include <fcntl.h>
#include <sys/types.h>

#include <cerrno>
#include <cstddef>
#include <mutex>

namespace {

template <class Call>
auto make(const std::string& name, Call call) -> decltype(call())
{
    if (!systemCalls.areRecorded)
        return call();
    static std::mutex mutex;
    std::unique_lock lock(mutex);
    systemCalls.names += name + " ";
    const bool isMade = name != systemCalls.failing || systemCalls.before-- != 0;
    lock.unlock();
    if (isMade)
        return call();
    if (name == "close")
        call();  // which closes in any case
    errno = systemCalls.error;
    return -1;
}

}

// The linker puts these in the place of the library's calls.
#define WRAPPED(Result, name, parameters, arguments)                 \
    Result __real_##name parameters;                                 \
    Result __wrap_##name parameters                                  \
    {                                                                \
        return make(#name, [&] { return __real_##name arguments; }); \
    }

extern "C" {
WRAPPED(int, close, (int descriptor), (descriptor))
WRAPPED(int, fchmod, (int descriptor, mode_t mode), (descriptor, mode))
WRAPPED(int, fsync, (int descriptor), (descriptor))
WRAPPED(int, syncfs, (int descriptor), (descriptor))
WRAPPED(int, rename, (const char* from, const char* to), (from, to))
WRAPPED(ssize_t, write, (int file, const void* bytes, std::size_t size), (file, bytes, size))
WRAPPED(ssize_t, pread, (int file, void* bytes, std::size_t size, off_t from),
        (file, bytes, size, from))

int __real_open(const char* name, int flags, mode_t mode);
int __wrap_open(const char* name, int flags, mode_t mode)
{
    if (systemCalls.beforeOpening)
        systemCalls.beforeOpening();
    if (systemCalls.isLeased && (flags & O_NONBLOCK) && !(flags & O_PATH)) {
        errno = EWOULDBLOCK;
        return -1;
    }
    return make("open", [&] { return __real_open(name, flags, mode); });
}
// What clang calls for an open without a mode when the C library checks its calls.
int __wrap___open_2(const char* name, int flags)
{
    return __wrap_open(name, flags, 0);
}
}
