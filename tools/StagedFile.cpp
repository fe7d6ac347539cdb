#include "tools/StagedFile.h"

#include "MediaConversion/Errors.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

namespace Zeq {

using MediaConversion::fail;

namespace {

[[noreturn]] void failWith(int error)
{
    fail(std::generic_category().message(error));
}

// The hidden folders of this run, one in each folder that is written to. Never destroyed: the
// thread that waits for signals outlives all else.
class StagingFolders
{
public:
    static StagingFolders& instance()
    {
        static auto& folders = *new StagingFolders;
        return folders;
    }

    std::string in(const std::string& folder)
    {
        const std::lock_guard lock(m_mutex);
        auto& staging = m_folders[folder];
        if (staging.empty()) {
            std::string name = (folder.empty() ? "" : folder + "/") + ".zeq.XXXXXX";
            if (!::mkdtemp(name.data()))
                failWith(errno);
            staging = name;
        }
        return staging;
    }

    void remove()
    {
        const std::lock_guard lock(m_mutex);
        removeAll();
        m_folders.clear();
    }

    // Ends the program. Nobody gets a new folder any more.
    [[noreturn]] void removeAndEnd(int signal)
    {
        m_mutex.lock();
        removeAll();
        ::signal(signal, SIG_DFL);
        ::kill(::getpid(), signal);
        sigset_t signals;
        ::sigemptyset(&signals);
        ::sigaddset(&signals, signal);
        ::pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
        std::abort();
    }

private:
    // Other threads may still put files into the folders: once a folder is gone, they cannot.
    void removeAll()
    {
        std::error_code ignored;
        for (const auto& [folder, staging] : m_folders)
            for (int attempt = 0; attempt < 100 && std::filesystem::exists(staging, ignored);
                 ++attempt)
                std::filesystem::remove_all(staging, ignored);
    }

    std::map<std::string, std::string> m_folders;
    std::mutex m_mutex;
};

// Where a file goes: behind symbolic links. Renaming asks for the folder's permissions only, but a
// file is protected for a reason.
std::string checkedTarget(const std::string& target)
{
    struct stat status;
    if (::stat(target.c_str(), &status) != 0)
        return target;
    if (S_ISDIR(status.st_mode))
        failWith(EISDIR);
    if (!S_ISREG(status.st_mode))
        fail("Not a regular file");
    if (::faccessat(AT_FDCWD, target.c_str(), W_OK, AT_EACCESS) != 0)
        failWith(errno);
    return std::filesystem::canonical(target);
}

// Brings the file to the disk: what a file system puts off may fail only here.
void synchronise(const std::string& fileName)
{
    const int descriptor = ::open(fileName.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0)
        failWith(errno);
    const bool isWritten = ::fsync(descriptor) == 0;
    const int error = errno;
    if (::close(descriptor) != 0 || !isWritten)
        failWith(isWritten ? errno : error);
}

// Those that the program was not told to ignore, as nohup tells it.
sigset_t endingSignals()
{
    sigset_t signals;
    ::sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction action;
        if (::sigaction(signal, nullptr, &action) == 0 && action.sa_handler != SIG_IGN)
            ::sigaddset(&signals, signal);
    }
    return signals;
}

}

StagedFile::StagedFile(const std::string& target) : m_target(checkedTarget(target))
{
    const std::filesystem::path path = m_target;
    m_fileName = StagingFolders::instance().in(path.parent_path()) + "/" + path.filename().native();
}

StagedFile::~StagedFile()
{
    ::unlink(m_fileName.c_str());
}

void StagedFile::commit()
{
    struct stat status;
    if (::stat(m_target.c_str(), &status) == 0)
        ::chmod(m_fileName.c_str(), status.st_mode & (S_IRWXU | S_IRWXG | S_IRWXO));
    synchronise(m_fileName);
    if (::rename(m_fileName.c_str(), m_target.c_str()) != 0)
        failWith(errno);
}

StagingScope::StagingScope()
{
    // Writing beyond a limit or to a reader that has gone is to be an error like any other.
    ::signal(SIGXFSZ, SIG_IGN);
    ::signal(SIGPIPE, SIG_IGN);
    const auto signals = endingSignals();
    ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::thread([signals] {
        int signal = 0;
        if (::sigwait(&signals, &signal) == 0)
            StagingFolders::instance().removeAndEnd(signal);
    }).detach();
}

StagingScope::~StagingScope()
{
    StagingFolders::instance().remove();
}

}
