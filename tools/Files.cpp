#include "tools/Files.h"

#include "MediaConversion/Errors.h"
#include "MediaConversion/MediaFile/AtomicFile.h"
#include "MediaConversion/MediaFile/FileNames.h"
#include "tools/Report.h"
#include "tools/StandardFiles.h"

#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <span>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace Zeq {

using MediaConversion::AtomicFile;
using MediaConversion::VelmoraMediaFileWriter;

namespace {

// Names the output in what fails.
template <class Write>
void namingOutput(const std::string& fileName, const Write& write)
{
    try {
        write();
    } catch (const std::exception& error) {
        throw OutputError(fileName + ": " + messageOf(error));
    }
}

template <class Write>
void writeTo(const std::string& fileName, const std::string& extension, const Write& write)
{
    namingOutput(fileName, [&] {
        write(std::make_unique<AtomicFile>(MediaConversion::wideFileName(fileName), extension));
    });
}

constexpr auto standardOutput = "standard output";

// A media file is written in one piece with all that is known of it: nothing has to be taken back.
class StandardOutput final : public MediaConversion::IAtomicFile
{
public:
    void write(std::span<const std::byte> bytes) override
    {
        if (!writeToOutput({reinterpret_cast<const char*>(bytes.data()), bytes.size()}))
            MediaConversion::fail(std::generic_category().message(EPIPE));
    }
    void commit() override {}
};

}

std::string extensionOf(const std::string& fileName)
{
    auto extension = std::filesystem::path(fileName).extension().native();
    if (!extension.empty())
        extension.erase(0, 1);
    std::ranges::transform(extension, extension.begin(),
                           [](unsigned char letter) { return std::tolower(letter); });
    return extension;
}

bool exists(const std::string& name)
{
    std::error_code ignored;
    return std::filesystem::exists(name, ignored);
}

bool isFolderName(const std::string& name)
{
    std::error_code ignored;
    return name.ends_with('/') ||
           (name != standardFile && std::filesystem::is_directory(name, ignored));
}

void makeFolder(const std::string& folder)
{
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error)
        MediaConversion::fail(folder, ": ", error.message());
}

void checkFolderOf(const std::string& fileName)
{
    const auto folder = std::filesystem::path(fileName).parent_path();
    std::error_code ignored;
    if (!folder.empty() && !std::filesystem::is_directory(folder, ignored))
        throw UsageError("there is no folder " + folder.native());
}

std::string programFolder()
{
    return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}

void writeOutput(const std::string& fileName, const Velmora::ImageFrame& frame,
                 const MediaConversion::MediaFileOptions& options)
{
    if (fileName == standardFile) {
        namingOutput(standardOutput, [&] {
            const VelmoraMediaFileWriter writer(
                [](const std::wstring&) { return std::make_unique<StandardOutput>(); });
            writer.write({}, frame, options);
        });
        return;
    }
    writeTo(fileName, "", [&](std::unique_ptr<AtomicFile> file) {
        const VelmoraMediaFileWriter writer([&](const std::wstring&) { return std::move(file); });
        writer.write(MediaConversion::wideFileName(fileName), frame, options);
    });
}

void writeOutput(const std::string& fileName,
                 const std::function<void(const std::string& temporaryName)>& write)
{
    const auto extension = std::filesystem::path(fileName).extension().native();
    writeTo(fileName, extension, [&](std::unique_ptr<AtomicFile> file) {
        write(file->temporaryName());
        file->commit();
    });
}

void writeOutput(const std::string& fileName, std::span<const std::byte> bytes)
{
    writeTo(fileName, "", [&](std::unique_ptr<AtomicFile> file) {
        file->write(bytes);
        file->commit();
    });
}

void writeInPlace(const std::string& fileName, std::span<const std::byte> bytes)
{
    namingOutput(fileName, [&] {
        const auto require = [](bool isDone) {
            if (!isDone)
                MediaConversion::fail(std::generic_category().message(errno));
        };
        struct Close
        {
            void operator()(std::FILE* opened) const { std::fclose(opened); }
        };
        std::unique_ptr<std::FILE, Close> file(std::fopen(fileName.c_str(), "wbe"));
        require(file != nullptr);
        require(std::fwrite(bytes.data(), bytes.size(), 1, file.get()) == 1);
        // File systems of other machines may tell here only.
        require(std::fclose(file.release()) == 0);
    });
}

void writeStandardOutput(const std::string& extension,
                         const std::function<void(const std::string& temporaryName)>& write)
{
    namingOutput(standardOutput, [&] {
        // It never gets its name.
        const std::string name = std::filesystem::temp_directory_path() / "zeq-output";
        const AtomicFile file(MediaConversion::wideFileName(name), "." + extension);
        write(file.temporaryName());
        StandardOutput output;
        std::ifstream written(file.temporaryName(), std::ios::binary);
        std::vector<char> piece(std::size_t{1} << 20);
        while (written.read(piece.data(), std::ssize(piece)), written.gcount() > 0)
            output.write(
                std::as_bytes(std::span(piece).first(static_cast<std::size_t>(written.gcount()))));
    });
}

namespace {

// The signals by which terminals, shells and schedulers end a program or warn it before they kill
// it. Those of a crash are left out, as nothing can be relied upon after one, and so are those that
// the program was told to ignore, as nohup tells it.
sigset_t terminationSignals()
{
    sigset_t signals;
    ::sigemptyset(&signals);
    for (const int signal :
         {SIGHUP, SIGINT, SIGQUIT, SIGUSR1, SIGUSR2, SIGALRM, SIGTERM, SIGXCPU}) {
        struct sigaction action;
        if (::sigaction(signal, nullptr, &action) == 0 && action.sa_handler != SIG_IGN)
            ::sigaddset(&signals, signal);
    }
    return signals;
}

[[noreturn]] void terminateBy(int signal)
{
    // What fails from here on fails because of the signal: the other threads are not to report it.
    [[maybe_unused]] const int isLocked = ::ftrylockfile(stderr);
    AtomicFile::removeUnfinished();
    // Who waits for the program is to see the signal as if it had not been caught, and some signals
    // dump a core.
    ::signal(signal, SIG_DFL);
    ::kill(::getpid(), signal);
    sigset_t signals;
    ::sigemptyset(&signals);
    ::sigaddset(&signals, signal);
    ::pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
    std::abort();
}

}

void removeUnfinishedFilesOnSignals()
{
    static bool isPrepared = false;
    if (std::exchange(isPrepared, true))
        return;
    // Writing beyond a limit or to a reader that has gone is to be an error like any other.
    ::signal(SIGXFSZ, SIG_IGN);
    ::signal(SIGPIPE, SIG_IGN);
    const auto signals = terminationSignals();
    ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    try {
        std::thread([signals] {
            int signal = 0;
            if (::sigwait(&signals, &signal) == 0)
                terminateBy(signal);
        }).detach();
    } catch (const std::system_error&) {
        // Without threads, a signal ends the program as it always does.
        ::pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
    }
}

}
