#include "MediaConversion/MediaFile/AtomicFile.h"

#include "MediaConversion/MediaFile/FileNames.h"
#include "MediaConversion/MediaFile/TemporaryFiles.h"
#include "tests/MediaFile/SystemCalls.h"
#include "tests/MediaFile/TemporaryFolder.h"
#include "tests/support/MediaFileBytes.h"

#include <gmock/gmock.h>

#include <linux/capability.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <exception>
#include <span>
#include <string_view>
#include <tuple>

using namespace MediaConversion;
using namespace testing;
namespace fs = std::filesystem;

namespace {

struct AtomicFiles : Test
{
    // Gives the failure's text.
    std::string write()
    {
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
        writeFile(name, "old");
        systemCalls = {.failing = call, .before = before, .error = error};
        const auto failure = write();
        EXPECT_LT(systemCalls.before, 0) << call << " is not made";
        return failure;
    }
    ~AtomicFiles() override { systemCalls = {}; }

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
    const std::tuple<const char*, int, std::string> cases[] = {
        {"open", 0, "old"}, {"write", 0, "old"}, {"fchmod", 0, "old"}, {"fsync", 0, "old"},
        {"open", 1, "old"}, {"close", 0, "old"}, {"rename", 0, "old"}, {"fsync", 1, "new"},
    };
    for (const auto& [call, before, rest] : cases) {
        EXPECT_EQ(writeFailing(call, before, EIO), "Input/output error") << call << before;
        EXPECT_EQ(folder.content(name), rest) << call << before;
        EXPECT_EQ(writeFailing(call, before, EINTR), "") << call << before;
        EXPECT_EQ(folder.content(name), "new") << call << before;
    }
    EXPECT_EQ(writeFailing("fsync", 1, EINVAL), "") << "Not every file system can";
    EXPECT_THAT(folder.files(), ElementsAre("a"));
    EXPECT_THAT(folder.descriptorFlags(), IsEmpty());
}

// Root may write to every file while it has the capability to.
TEST_F(AtomicFiles, doNotReplaceProtectedFiles)
{
    writeFile(name, "old");
    fs::permissions(name, fs::perms{0444});
    __user_cap_header_struct header{.version = _LINUX_CAPABILITY_VERSION_3, .pid = 0};
    __user_cap_data_struct all[_LINUX_CAPABILITY_U32S_3];
    ASSERT_EQ(::syscall(SYS_capget, &header, all), 0);
    auto few = std::to_array(all);
    few[0].effective &= ~(1u << CAP_DAC_OVERRIDE);
    ASSERT_EQ(::syscall(SYS_capset, &header, few.data()), 0);
    EXPECT_EQ(write(), "Permission denied");
    ASSERT_EQ(::syscall(SYS_capset, &header, all), 0);
    EXPECT_EQ(folder.content(name), "old");
}

TEST_F(AtomicFiles, removeWhatKilledProcessesLeftBehind)
{
    const auto dayBefore = fs::file_time_type::clock::now() - std::chrono::hours(25);
    const auto leave = [&](const std::string& file) {
        writeFile(folder.file(file), "left");
        fs::last_write_time(folder.file(file), dayBefore);
    };
    // The first one in the folder writes, and for longer than a day.
    AtomicFile living(wideFileName(folder.file("b")), ".exr");
    EXPECT_THAT(folder.descriptorFlags(), ElementsAre(FD_CLOEXEC)) << "Programs inherit it";
    fs::last_write_time(living.temporaryName(), dayBefore);
    const auto livingName = fs::path(living.temporaryName()).filename().string();
    // As another process would find the folder.
    fs::create_directory(folder.file("seen"));
    std::set<std::string> kept{".zeq.0123.tmp", ".zeq.0123456789abcdeg.tmp",
                               ".zeq.0123456789abcdef.tmp.exr.bak", "zeq.0123456789abcdef.tmp"};
    for (const auto& file : kept)
        leave("seen/" + file);
    leave("seen/.zeq.0123456789abcdef.tmp");
    leave("seen/.zeq.fedcba9876543210.tmp.exr");
    fs::create_symlink("nowhere", folder.file("seen/.zeq.2222222222222222.tmp"));
    fs::create_hard_link(living.temporaryName(), folder.file("seen/" + livingName));
    name = folder.file("seen/a");
    EXPECT_EQ(write(), "");
    kept.insert({"a", ".zeq.2222222222222222.tmp", livingName});
    EXPECT_EQ(folder.files("seen"), kept);
    living.commit();
    EXPECT_THAT(folder.files(), ElementsAre("b", "seen"));

    // Where other machines may write, what was written to lately stays.
    fs::create_directory(folder.file("other"));
    leave("other/.zeq.0123456789abcdef.tmp");
    writeFile(folder.file("other/.zeq.1111111111111111.tmp"), "young");
    removeAbandonedFiles(folder.file("other"), ::time(nullptr) - secondsUntilAbandoned("/proc"));
    EXPECT_THAT(folder.files("other"), ElementsAre(".zeq.1111111111111111.tmp"));
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
