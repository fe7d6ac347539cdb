#include "MediaConversion/MediaFile/TemporaryFiles.h"

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <limits>
#include <mutex>
#include <random>
#include <set>
#include <string_view>
#include <utility>

namespace MediaConversion {

namespace {

constexpr std::string_view beginning = ".zeq.";
constexpr std::string_view digits = "0123456789abcdef";
constexpr std::size_t digitCount = 16;
constexpr std::string_view end = ".tmp";

// Where another machine may hold a lock that is invisible here, a file has to be this old. A writer
// may be stopped for a while without being dead.
constexpr std::int64_t secondsUntilAbandonedElsewhere = 24 * 60 * 60;

bool isTemporaryName(std::string_view name)
{
    if (!name.starts_with(beginning) || name.size() < beginning.size() + digitCount + end.size())
        return false;
    name.remove_prefix(beginning.size());
    if (name.substr(0, digitCount).find_first_not_of(digits) != name.npos)
        return false;
    name.remove_prefix(digitCount);
    return name.starts_with(end) && (name.size() == end.size() || name.rfind('.') == end.size());
}

// The lock belongs to the open file; a process would lose its own with the first descriptor that it
// closes. The locked byte lies behind every file's end, so that no writer is ever kept waiting.
bool lock(int descriptor)
{
    struct flock region
    {
    };
    region.l_type = F_WRLCK;
    region.l_whence = SEEK_SET;
    region.l_start = std::numeric_limits<off_t>::max() - 1;
    region.l_len = 1;
    return ::fcntl(descriptor, F_OFD_SETLK, &region) == 0;
}

// Whether no other machine can write to the folder's files, so that every lock is seen here.
bool isOfThisMachineAlone(const char* folder)
{
    struct statfs status;
    if (::statfs(folder, &status) != 0)
        return false;
    switch (status.f_type) {
        case BTRFS_SUPER_MAGIC:
        case EXT4_SUPER_MAGIC:  // of its predecessors, too
        case F2FS_SUPER_MAGIC:
        case OVERLAYFS_SUPER_MAGIC:
        case TMPFS_MAGIC:
        case XFS_SUPER_MAGIC:
            return true;
        default:
            return false;
    }
}

void removeIfAbandoned(const char* name, std::int64_t lastWritten)
{
    struct stat status;
    if (::lstat(name, &status) != 0 || !S_ISREG(status.st_mode) || status.st_uid != ::geteuid() ||
        status.st_mtime > lastWritten)
        return;
    const int descriptor = ::open(name, O_WRONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0)
        return;
    if (lock(descriptor))
        ::unlink(name);
    ::close(descriptor);
}

bool isFirstCallFor(const struct stat& folder)
{
    static auto& mutex = *new std::mutex;
    static auto& folders = *new std::set<std::pair<dev_t, ino_t>>;
    const std::lock_guard lock(mutex);
    return folders.emplace(folder.st_dev, folder.st_ino).second;
}

}

std::string newTemporaryName(const std::string& extension)
{
    std::random_device random;
    std::string name(beginning);
    for (std::size_t count = 0; count < digitCount; ++count)
        name += digits[random() % digits.size()];
    return name.append(end) + extension;
}

bool claimAsWriter(int descriptor)
{
    if (!lock(descriptor) && (errno == EAGAIN || errno == EACCES))
        return false;
    struct stat status;
    return ::fstat(descriptor, &status) != 0 || status.st_nlink > 0;
}

std::int64_t secondsUntilAbandoned(const std::string& folder)
{
    return isOfThisMachineAlone(folder.c_str()) ? 0 : secondsUntilAbandonedElsewhere;
}

void removeAbandonedFiles(const std::string& folder, std::int64_t lastWritten)
{
    struct stat status;
    if (::stat(folder.c_str(), &status) != 0 || !isFirstCallFor(status))
        return;
    std::error_code error;
    std::filesystem::directory_iterator entries(folder, error);
    for (; !error && entries != std::filesystem::directory_iterator(); entries.increment(error))
        if (const auto& path = entries->path(); isTemporaryName(path.filename().native()))
            removeIfAbandoned(path.c_str(), lastWritten);
}

}
