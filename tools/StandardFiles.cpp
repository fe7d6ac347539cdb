#include "tools/StandardFiles.h"

#include "MediaConversion/Errors.h"
#include "tools/Report.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <system_error>
#include <vector>

namespace Zeq {

namespace {

[[noreturn]] void fail(const char* text)
{
    MediaConversion::fail(text, std::generic_category().message(errno));
}

// What can be sought in and opened more than once, as files are.
std::string standardInputInMemory()
{
    if (::isatty(STDIN_FILENO))
        throw UsageError("standard input is a terminal; pipe a file into it");
    const int memory = ::memfd_create("standard input", MFD_CLOEXEC);
    if (memory < 0)
        fail("Standard input could not be kept: ");
    std::vector<char> piece(std::size_t{1} << 20);
    while (true) {
        const auto count = ::read(STDIN_FILENO, piece.data(), piece.size());
        if (count == 0)
            return MediaConversion::joined("/proc/self/fd/", memory);
        if (count < 0 && errno != EINTR)
            fail("Standard input could not be read: ");
        for (ssize_t written = 0; written < count;) {
            const auto more =
                ::write(memory, piece.data() + written, static_cast<std::size_t>(count - written));
            if (more < 0)
                fail("Standard input could not be kept: ");
            written += more;
        }
    }
}

}

std::string pathOf(const std::string& fileName)
{
    if (fileName != standardFile)
        return fileName;
    static const auto path = standardInputInMemory();
    return path;
}

bool writeToOutput(std::span<const char> bytes)
{
    while (!bytes.empty()) {
        const auto count = ::write(STDOUT_FILENO, bytes.data(), bytes.size());
        if (count > 0) {
            bytes = bytes.subspan(static_cast<std::size_t>(count));
        } else if (errno == EPIPE) {
            return false;
        } else if (errno == EAGAIN) {
            pollfd output{STDOUT_FILENO, POLLOUT, 0};
            ::poll(&output, 1, -1);
        } else if (errno != EINTR) {
            fail("");
        }
    }
    return true;
}

}
