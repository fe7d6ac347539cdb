#include "MediaConversion/MediaFile/DirectFileStreams.h"
#include "MediaConversion/MediaFile/FileNames.h"
#include "MediaConversion/MediaFile/FileStreams.h"
#include "tests/MediaFile/FakeFile.h"
#include "tests/MediaFile/TemporaryFolder.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <ios>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>
#include <thread>

using namespace MediaConversion;
using namespace MediaFileTests;

static int interruptions = 0;

// Stands before the C library's own pread, under another name here, as its checked form may already
// be defined. So many calls are interrupted.
extern "C" ssize_t interruptedRead(int descriptor, void* bytes, std::size_t count,
                                   off_t offset) __asm__("pread");

ssize_t interruptedRead(int descriptor, void* bytes, std::size_t count, off_t offset)
{
    if (interruptions > 0) {
        --interruptions;
        errno = EINTR;
        return -1;
    }
    return ::syscall(SYS_pread64, descriptor, bytes, count, offset);
}

namespace {

constexpr auto input = std::ios::in | std::ios::binary;

// Both kinds of stream, the buffered one and the direct one.
class FileStreamTest : public testing::TestWithParam<bool>
{
protected:
    void open(std::string_view bytes)
    {
        writeFile(name, bytes);
        stream->open(wideFileName(name), input);
    }
    std::string read(std::streamsize count)
    {
        std::string bytes(static_cast<std::size_t>(count), '?');
        stream->read(bytes.data(), count);
        return bytes.substr(0, static_cast<std::size_t>(stream->gcount()));
    }

    TemporaryFolder folder;
    std::string name = folder.file("\xC3\xA9, not UTF-8: \xFF\xC3");
    std::unique_ptr<IFileStream> stream =
        GetParam() ? DirectFileStreamFactory().create() : FileStreamFactory().create();
};

INSTANTIATE_TEST_SUITE_P(Direct, FileStreamTest, testing::Bool());

TEST_P(FileStreamTest, readsSeeksAndTells)
{
    open("0123456789");
    stream->seek(3, std::ios::beg);
    EXPECT_EQ(read(1), "3");
    stream->seek(2, std::ios::cur);
    const auto position = stream->tell();
    EXPECT_EQ(position, std::streampos(6));
    EXPECT_EQ(read(4), "6789");
    EXPECT_TRUE(stream->good()) << "No byte was missing";
    stream->seek(-2, std::ios::end);
    EXPECT_EQ(read(4), "89");
    EXPECT_TRUE(stream->fail());
    EXPECT_TRUE(stream->eof());
    stream->seek(position);
    EXPECT_TRUE(stream->fail()) << "Seeking forgets the end of the file but no failure";
    EXPECT_EQ(stream->tell(), std::streampos(-1));
    stream->clear();
    stream->seek(position);
    EXPECT_EQ(read(1), "6");
}

TEST_P(FileStreamTest, opensOneFileAtATime)
{
    stream->close();
    EXPECT_TRUE(stream->fail()) << "No file is open";
    open("ab");
    EXPECT_EQ(read(1), "a");
    open("cd");
    EXPECT_TRUE(stream->fail()) << "A file is open already";
    stream->clear();
    stream->close();
    EXPECT_TRUE(stream->good());
    EXPECT_FALSE(stream->is_open());
    open("ef");
    EXPECT_EQ(read(2), "ef");
}

TEST_P(FileStreamTest, refusesWhatIsNoRegularFileAndDoesNotWaitForAFifo)
{
    writeFile(name, "ab");
    const auto fifo = folder.file("fifo");
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    const auto wide = wideFileName(name);
    for (const auto& refused : {wideFileName(fifo), wideFileName(folder.file("")),
                                wide + L"missing", wide + L'\0', wide + L'\xD800'}) {
        stream->clear();
        stream->open(refused, input);
        EXPECT_FALSE(stream->is_open());
        EXPECT_TRUE(stream->fail());
    }
    stream->open(name + '\0', input);
    EXPECT_FALSE(stream->is_open());
}

// A pipe and a file take turns under the name: whichever is there when it is looked at, the other
// may be there when it is opened.
TEST_P(FileStreamTest, neverWaitsForAFifoThatHasTakenTheFilesName)
{
    const auto fifo = folder.file("fifo");
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    writeFile(name, "ab");
    ::alarm(60);  // ends a test that waits
    int opened = 0;
    {
        const std::jthread swapping([&](const std::stop_token& stop) {
            while (!stop.stop_requested())
                ::renameat2(AT_FDCWD, fifo.c_str(), AT_FDCWD, name.c_str(), RENAME_EXCHANGE);
        });
        for (int attempt = 0; attempt < 100000; ++attempt) {
            stream->clear();
            stream->open(name, input);
            if (!stream->is_open())
                continue;
            ++opened;
            ASSERT_EQ(read(2), "ab");
            stream->close();
        }
    }
    ::alarm(0);
    EXPECT_GT(opened, 0);
    EXPECT_LT(opened, 100000);
}

// A file server, for instance, holds a lease on a file, and gives it up when somebody opens the
// file.
TEST_P(FileStreamTest, waitsForTheHolderOfALease)
{
    writeFile(name, "ab");
    const int holder = ::open(name.c_str(), O_RDWR);
    std::signal(SIGIO, SIG_IGN);  // by which the holder is told
    if (::fcntl(holder, F_SETLEASE, F_WRLCK) != 0)
        GTEST_SKIP() << "The file system has no leases";
    ::alarm(60);
    {
        const std::jthread opening([&] { stream->open(name, input); });
        while (::fcntl(holder, F_GETLEASE) == F_WRLCK)
            std::this_thread::yield();
        ::fcntl(holder, F_SETLEASE, F_UNLCK);
    }
    ::alarm(0);
    EXPECT_EQ(read(2), "ab");
    ::close(holder);
}

TEST_P(FileStreamTest, isNotInheritedByOtherPrograms)
{
    open("ab");
    ASSERT_TRUE(stream->is_open());
    const auto listing = folder.file("listing");
    ASSERT_EQ(std::system(("ls -l /proc/self/fd > " + listing).c_str()), 0);
    std::ifstream lines(listing);
    for (std::string line; std::getline(lines, line);)
        EXPECT_TRUE(line.ends_with("listing") || line.find(folder.file("")) == line.npos);
}

TEST(FileStream, opensFilesInAllModesOfStandardStreams)
{
    const TemporaryFolder folder;
    const auto name = folder.file("modes");
    const auto in = std::ios::in, out = std::ios::out, app = std::ios::app, ate = std::ios::ate,
               trunc = std::ios::trunc;
    for (const auto mode : {in, out, app, trunc, ate, in | out, in | app, in | trunc, out | app,
                            out | trunc, app | trunc, in | out | app, in | out | trunc,
                            out | app | trunc, in | ate, in | out | ate})
        for (const bool exists : {false, true}) {
            const auto outcome = [&](auto& opened) {
                std::filesystem::remove(name);
                if (exists)
                    writeFile(name, "before");
                opened.open(name, mode | std::ios::binary);
                const auto isOpen = opened.is_open();
                opened.write("new", 3);
                opened.close();
                std::ifstream file(name);
                return std::to_string(isOpen) + std::string(std::istreambuf_iterator(file), {});
            };
            FileStream stream;
            std::fstream standard;
            EXPECT_EQ(outcome(stream), outcome(standard)) << mode << exists;
        }
}

// Every way for the bytes to take: through the stream's own block, straight to aligned memory, and
// both in one read, with and without the operating system's cache.
TEST(DirectFileStream, readsTheSameBytesWhateverIsAligned)
{
    const TemporaryFolder folder;
    const auto bytes = noise(3 << 20 | 1234);
    writeFile(folder.file("large"), bytes);
    alignas(4096) static char memory[4 << 20];
    for (const auto mode : {CachingMode::Cached, CachingMode::Uncached}) {
        const auto stream = DirectFileStreamFactory().create();
        dynamic_cast<IFileCaching&>(*stream).setCaching(mode);
        stream->open(folder.file("large"), input);
        if (!stream->is_open())
            GTEST_SKIP() << "The file system caches whatever it reads";
        interruptions = 3;
        for (const std::size_t offset : {0, 1, 4096, (1 << 20) + 4097})
            for (char* const destination : {memory, memory + 16})
                for (const std::size_t count : {1, 5000, 2 << 20 | 5, 3 << 20 | 4096}) {
                    std::fill(std::begin(memory), std::end(memory), '?');
                    stream->clear();
                    stream->seek(static_cast<std::streampos>(offset));
                    stream->read(destination, static_cast<std::streamsize>(count));
                    const auto expected = bytes.substr(offset, count);
                    ASSERT_EQ(static_cast<std::size_t>(stream->gcount()), expected.size());
                    ASSERT_TRUE(std::equal(expected.begin(), expected.end(), destination))
                        << offset << ' ' << count;
                    ASSERT_EQ(destination[count], '?');
                    ASSERT_EQ(stream->eof(), expected.size() < count);
                }
        EXPECT_EQ(interruptions, 0);
    }
}

}
