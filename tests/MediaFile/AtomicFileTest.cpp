#include "MediaConversion/MediaFile/AtomicFile.h"

#include "MediaConversion/MediaFile/FileNames.h"
#include "MediaConversion/MediaFile/TemporaryFiles.h"
#include "tests/MediaFile/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <linux/capability.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <tuple>

using namespace MediaConversion;
using namespace testing;
namespace fs = std::filesystem;

namespace {

// The system calls of this program, in their order while they are recorded. One of them fails once,
// after it has been made so often.
struct SystemCalls
{
    std::string names = {};
    bool areRecorded = false;
    std::string failing = {};
    int before = 0;
    int error = 0;

    template <class Call>
    auto make(const std::string& name, Call call) -> decltype(call())
    {
        if (!areRecorded)
            return call();
        names += name + " ";
        if (name != failing || before-- != 0)
            return call();
        if (name == "close")
            call();  // which closes in any case
        errno = error;
        return -1;
    }
} systemCalls;

}

// The linker puts these in the place of the library's calls.
extern "C" {
int __real_open(const char* name, int flags, mode_t mode);
int __real_close(int descriptor);
int __real_fchmod(int descriptor, mode_t mode);
int __real_fsync(int descriptor);
int __real_syncfs(int descriptor);
int __real_rename(const char* from, const char* to);
ssize_t __real_write(int descriptor, const void* bytes, std::size_t size);

int __wrap_open(const char* name, int flags, mode_t mode)
{
    return systemCalls.make("open", [&] { return __real_open(name, flags, mode); });
}
// What clang calls for an open without a mode when the C library checks its calls.
int __wrap___open_2(const char* name, int flags)
{
    return __wrap_open(name, flags, 0);
}
int __wrap_close(int descriptor)
{
    return systemCalls.make("close", [&] { return __real_close(descriptor); });
}
int __wrap_fchmod(int descriptor, mode_t mode)
{
    return systemCalls.make("fchmod", [&] { return __real_fchmod(descriptor, mode); });
}
int __wrap_fsync(int descriptor)
{
    return systemCalls.make("fsync", [&] { return __real_fsync(descriptor); });
}
int __wrap_syncfs(int descriptor)
{
    return systemCalls.make("syncfs", [&] { return __real_syncfs(descriptor); });
}
int __wrap_rename(const char* from, const char* to)
{
    return systemCalls.make("rename", [&] { return __real_rename(from, to); });
}
ssize_t __wrap_write(int descriptor, const void* bytes, std::size_t size)
{
    return systemCalls.make("write", [&] { return __real_write(descriptor, bytes, size); });
}
}

namespace {

struct AtomicFiles : Test
{
    // Gives the failure's text.
    std::string write()
    {
        systemCalls.names.clear();
        systemCalls.areRecorded = true;
        std::string failure;
        try {
            AtomicFile file(wideFileName(name));
            file.write(std::as_bytes(std::span(std::string_view("new"))));
            file.commit();
        } catch (const std::exception& error) {
            failure = error.what();
        }
        systemCalls.areRecorded = false;
        return failure;
    }
    std::string writeFailing(const std::string& call, int before, int error)
    {
        fs::remove(name);
        std::ofstream(name) << "old";
        systemCalls = {.failing = call, .before = before, .error = error};
        const auto failure = write();
        EXPECT_LT(systemCalls.before, 0) << call << " is not made";
        systemCalls.failing.clear();
        return failure;
    }

    std::string content() const
    {
        return {std::istreambuf_iterator<char>(std::ifstream(name).rdbuf()), {}};
    }
    std::set<std::string> files(const std::string& inner = "") const
    {
        std::set<std::string> names;
        for (const auto& entry : fs::directory_iterator(folder.file(inner)))
            names.insert(entry.path().filename());
        return names;
    }
    static std::set<int> openDescriptors()
    {
        std::set<int> descriptors;
        for (int descriptor = 0; descriptor < 1000; ++descriptor)
            if (::fcntl(descriptor, F_GETFD) >= 0)
                descriptors.insert(descriptor);
        return descriptors;
    }

    MediaFileTests::TemporaryFolder folder;
    std::string name = folder.file("a");
};

TEST_F(AtomicFiles, areOnTheDiskBeforeTheyTakeTheirNamesAndTheirNamesAfterwards)
{
    EXPECT_EQ(write(), "");
    EXPECT_THAT(systemCalls.names, ContainsRegex("write .*fsync .*rename .*fsync "));
    EXPECT_EQ(writeFailing("open", 1, EACCES), "") << "The folder may be written to but not read";
    EXPECT_THAT(systemCalls.names, HasSubstr("rename syncfs "));
}

TEST_F(AtomicFiles, sayWhatFailsAndRepeatWhatIsInterrupted)
{
    const auto openBefore = openDescriptors();
    const std::tuple<const char*, int, std::string> cases[] = {
        {"open", 0, "old"}, {"write", 0, "old"}, {"fchmod", 0, "old"}, {"fsync", 0, "old"},
        {"open", 1, "old"}, {"close", 0, "old"}, {"rename", 0, "old"}, {"fsync", 1, "new"},
    };
    for (const auto& [call, before, rest] : cases) {
        EXPECT_EQ(writeFailing(call, before, EIO), "Input/output error") << call << before;
        EXPECT_EQ(content(), rest) << call << before;
        EXPECT_EQ(writeFailing(call, before, EINTR), "") << call << before;
        EXPECT_EQ(content(), "new") << call << before;
    }
    EXPECT_EQ(writeFailing("fsync", 1, EINVAL), "") << "Not every file system can";
    EXPECT_THAT(files(), ElementsAre("a"));
    EXPECT_EQ(openDescriptors(), openBefore);
}

// A file that is being written is no business of the programs that are started meanwhile.
TEST_F(AtomicFiles, areNotInherited)
{
    const auto openBefore = openDescriptors();
    const AtomicFile file(wideFileName(name));
    auto opened = openDescriptors();
    for (const auto descriptor : openBefore)
        opened.erase(descriptor);
    EXPECT_EQ(opened.size(), 1u);
    for (const auto descriptor : opened)
        EXPECT_TRUE(::fcntl(descriptor, F_GETFD) & FD_CLOEXEC);
}

// Root may write to every file while it has the capability to.
TEST_F(AtomicFiles, doNotReplaceProtectedFiles)
{
    std::ofstream(name) << "old";
    fs::permissions(name, fs::perms{0444});
    __user_cap_header_struct header{.version = _LINUX_CAPABILITY_VERSION_3, .pid = 0};
    __user_cap_data_struct all[_LINUX_CAPABILITY_U32S_3];
    ASSERT_EQ(::syscall(SYS_capget, &header, all), 0);
    auto few = std::to_array(all);
    few[0].effective &= ~(1u << CAP_DAC_OVERRIDE);
    ASSERT_EQ(::syscall(SYS_capset, &header, few.data()), 0);
    EXPECT_EQ(write(), "Permission denied");
    ASSERT_EQ(::syscall(SYS_capset, &header, all), 0);
    EXPECT_EQ(content(), "old");
}

TEST_F(AtomicFiles, removeWhatKilledProcessesLeftBehind)
{
    const auto makeOld = [](const std::string& file) {
        const timespec times[] = {{.tv_sec = ::time(nullptr) - 25 * 60 * 60, .tv_nsec = 0},
                                  {.tv_sec = ::time(nullptr) - 25 * 60 * 60, .tv_nsec = 0}};
        ASSERT_EQ(::utimensat(AT_FDCWD, file.c_str(), times, AT_SYMLINK_NOFOLLOW), 0);
    };
    const auto leave = [&](const std::string& file) {
        std::ofstream(folder.file(file)) << "left";
        makeOld(folder.file(file));
    };
    // The first one in the folder writes, and for longer than a day.
    AtomicFile living(wideFileName(folder.file("b")), ".exr");
    makeOld(living.temporaryName());
    const auto livingName = fs::path(living.temporaryName()).filename().string();
    // As another process would find the folder.
    const auto seen = folder.file("seen");
    fs::create_directory(seen);
    const std::string theirs[] = {".zeq.0123.tmp", ".zeq.0123456789abcdeg.tmp",
                                  ".zeq.0123456789abcdef.tmp.exr.bak", "zeq.0123456789abcdef.tmp"};
    for (const auto& file : theirs)
        leave("seen/" + file);
    leave("seen/.zeq.0123456789abcdef.tmp");
    leave("seen/.zeq.fedcba9876543210.tmp.exr");
    fs::create_symlink("nowhere", folder.file("seen/.zeq.2222222222222222.tmp"));
    makeOld(folder.file("seen/.zeq.2222222222222222.tmp"));
    fs::create_hard_link(living.temporaryName(), folder.file("seen/" + livingName));

    name = folder.file("seen/a");
    EXPECT_EQ(write(), "");
    std::set<std::string> left(std::begin(theirs), std::end(theirs));
    left.insert({"a", ".zeq.2222222222222222.tmp", livingName});
    EXPECT_EQ(files("seen"), left);

    living.commit();
    EXPECT_THAT(files(), ElementsAre("b", "seen"));

    // Where other machines may write, what was written to lately stays.
    fs::create_directory(folder.file("other"));
    leave("other/.zeq.0123456789abcdef.tmp");
    std::ofstream(folder.file("other/.zeq.1111111111111111.tmp")) << "young";
    removeAbandonedFiles(folder.file("other"), ::time(nullptr) - secondsUntilAbandoned("/proc"));
    EXPECT_THAT(files("other"), ElementsAre(".zeq.1111111111111111.tmp"));
    EXPECT_EQ(secondsUntilAbandoned("/dev/shm"), 0) << "Of this machine alone";
}

// Between its creation and its lock, another process may take a file for an abandoned one.
TEST_F(AtomicFiles, areNotTakenForAbandonedOnes)
{
    const auto opened = [this] { return ::open(name.c_str(), O_WRONLY | O_CREAT, 0600); };
    const int writer = opened();
    EXPECT_TRUE(claimAsWriter(writer));
    const int other = opened();
    EXPECT_FALSE(claimAsWriter(other)) << "It is locked";
    ::close(writer);
    ::unlink(name.c_str());
    EXPECT_FALSE(claimAsWriter(other)) << "It is removed already";
    ::close(other);
}

}
