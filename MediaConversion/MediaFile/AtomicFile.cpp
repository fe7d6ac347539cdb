#include "MediaConversion/MediaFile/AtomicFile.h"

#include "MediaConversion/Errors.h"
#include "MediaConversion/MediaFile/FileNames.h"
#include "MediaConversion/MediaFile/TemporaryFiles.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <mutex>
#include <set>
#include <system_error>
#include <thread>

namespace MediaConversion {

using namespace std::chrono_literals;

namespace {

constexpr mode_t allPermissions = S_IRWXU | S_IRWXG | S_IRWXO;
constexpr mode_t newFilePermissions = S_IRUSR | S_IWUSR | S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH;

// The temporary names of all threads, each from just before its file is created, for one thread at
// a time. Never destroyed: threads may outlast the rest of the program.
struct UnfinishedFiles
{
    UnfinishedFiles() : lock(mutex()) {}

    static std::mutex& mutex()
    {
        static auto& mutex = *new std::mutex;
        return mutex;
    }
    static std::set<std::string>& allNames()
    {
        static auto& names = *new std::set<std::string>;
        return names;
    }

    std::unique_lock<std::mutex> lock;
    std::set<std::string>& names = allNames();
};

[[noreturn]] void failWith(int error)
{
    throw std::system_error(error, std::generic_category());
}

// The result of a system call, which is made again when a signal interrupts it.
template <class SystemCall>
auto completed(SystemCall systemCall)
{
    for (;;) {
        const auto result = systemCall();
        if (result >= 0)
            return result;
        if (errno != EINTR)
            failWith(errno);
    }
}

std::string checkedName(const std::wstring& fileName)
{
    const auto narrow = narrowFileName(fileName);
    if (!narrow || narrow->empty())
        fail("Not a file name");
    return *narrow;
}

std::string folderOf(const std::string& fileName)
{
    const auto folder = fileName.substr(0, fileName.rfind('/') + 1);
    return folder.empty() ? "./" : folder;
}

class Descriptor
{
public:
    explicit Descriptor(int descriptor) : m_descriptor(descriptor) {}
    ~Descriptor()
    {
        if (m_descriptor >= 0)
            ::close(m_descriptor);
    }

    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    operator int() const { return m_descriptor; }

private:
    const int m_descriptor;
};

// Opens the folder; gives a negative number where it may be written to but not read.
int openFolder(const std::string& name)
{
    for (;;) {
        const int folder = ::open(name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (folder >= 0 || errno == EACCES)
            return folder;
        if (errno != EINTR)
            failWith(errno);
    }
}

// Brings a new name to the disk.
void synchroniseFolder(int folder, int file)
{
    if (folder < 0) {
        // To synchronise the whole file system takes longer but needs no folder.
        completed([&] { return ::syncfs(file); });
        return;
    }
    // File systems that cannot synchronise a folder do not need it.
    completed([&] {
        const int result = ::fsync(folder);
        return result != 0 && errno == EINVAL ? 0 : result;
    });
}

}

// A failure in here runs the destructor, because another constructor has finished.
AtomicFile::AtomicFile(const std::wstring& fileName, const std::string& extension)
    : AtomicFile(checkedName(fileName))
{
    findTarget();
    const auto folder = folderOf(m_name);
    createTemporary(folder, extension);
    while (!claimAsWriter(m_descriptor)) {
        removeTemporary();
        createTemporary(folder, extension);
    }
    // Ages are counted by the file system's clock, which may be another machine's.
    struct stat status;
    if (::fstat(m_descriptor, &status) == 0)
        removeAbandonedFiles(folder, status.st_mtime - secondsUntilAbandoned(folder));
}

AtomicFile::~AtomicFile()
{
    removeTemporary();
}

void AtomicFile::removeTemporary()
{
    if (m_descriptor >= 0)
        ::close(std::exchange(m_descriptor, -1));
    if (m_temporaryName.empty())
        return;
    UnfinishedFiles unfinished;
    ::unlink(m_temporaryName.c_str());
    unfinished.names.erase(m_temporaryName);
}

void AtomicFile::createTemporary(const std::string& folder, const std::string& extension)
{
    m_temporaryName = folder + newTemporaryName(extension);
    UnfinishedFiles unfinished;
    unfinished.names.insert(m_temporaryName);
    // Until it gets its permissions, the file can be opened by name and written once more.
    const auto permissions = m_permissions.value_or(newFilePermissions) | S_IWUSR;
    m_descriptor = completed([&] {
        return ::open(m_temporaryName.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC,
                      permissions);
    });
}

void AtomicFile::write(std::span<const std::byte> bytes)
{
    while (!bytes.empty()) {
        const auto count =
            completed([&] { return ::write(m_descriptor, bytes.data(), bytes.size()); });
        bytes = bytes.subspan(static_cast<std::size_t>(count));
    }
}

void AtomicFile::commit()
{
    // Opening applied the umask; a file that is replaced passes its own permissions on.
    if (m_permissions)
        completed([this] { return ::fchmod(m_descriptor, *m_permissions); });
    completed([this] { return ::fsync(m_descriptor); });
    const Descriptor folder(openFolder(folderOf(m_name)));
    // The second descriptor keeps the lock until the file stands under its name.
    const Descriptor duplicate(
        completed([this] { return ::fcntl(m_descriptor, F_DUPFD_CLOEXEC, 0); }));
    // Closing reports failures too. An interrupted close has closed the file.
    if (::close(std::exchange(m_descriptor, -1)) != 0 && errno != EINTR)
        failWith(errno);
    takeName();
    synchroniseFolder(folder, duplicate);
}

void AtomicFile::takeName()
{
    UnfinishedFiles unfinished;
    completed([this] { return ::rename(m_temporaryName.c_str(), m_name.c_str()); });
    unfinished.names.erase(m_temporaryName);
    m_temporaryName.clear();
}

void AtomicFile::removeUnfinished()
{
    UnfinishedFiles unfinished;
    unfinished.lock.release();
    const auto removeAll = [&] {
        for (const auto& name : unfinished.names)
            ::unlink(name.c_str());
    };
    // A thread that was just opening its file by name brings it back once.
    for (const auto pause : {10ms, 20ms}) {
        removeAll();
        std::this_thread::sleep_for(pause);
    }
    constexpr rlimit none{.rlim_cur = 0, .rlim_max = 0};
    ::setrlimit(RLIMIT_NOFILE, &none);
    removeAll();
}

// Looks at what stands under the name: nothing yet, or a file that may be replaced.
void AtomicFile::findTarget()
{
    struct stat status;
    if (::stat(m_name.c_str(), &status) != 0) {
        const int reason = errno;
        const bool isNew = reason == ENOENT && ::lstat(m_name.c_str(), &status) != 0;
        if (!isNew)
            failWith(reason);
        return;
    }
    if (S_ISDIR(status.st_mode))
        failWith(EISDIR);
    if (!S_ISREG(status.st_mode))
        fail("Not a regular file");
    // The folder's permissions would be enough to rename, but a file is protected for a reason.
    if (::faccessat(AT_FDCWD, m_name.c_str(), W_OK, AT_EACCESS) != 0)
        failWith(errno);
    std::error_code error;
    m_name = std::filesystem::canonical(m_name, error).string();
    if (error)
        throw std::system_error(error);
    m_permissions = status.st_mode & allPermissions;
}

}
