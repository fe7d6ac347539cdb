#include "MediaConversion/MediaFile/DirectFileStreams.h"
#include "tests/MediaFile/FakeFile.h"
#include "tests/MediaFile/SystemCalls.h"
#include "tests/MediaFile/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string_view>

using namespace MediaConversion;
using namespace MediaFileTests;

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
    EXPECT_THAT(folder.descriptorFlags(), testing::ElementsAre(FD_CLOEXEC));
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

// A file server, for instance, holds a lease on a file, and gives it up when somebody opens the
// file. A pipe may take the file's name after the first look at it.
TEST_P(FileStreamTest, waitsForTheHolderOfALeaseButNeverForAFifo)
{
    ::alarm(20);  // ends a test that waits
    for (const bool isLeased : {false, true}) {
        systemCalls = {.isLeased = isLeased};
        open("ab");
        EXPECT_EQ(read(2), "ab");
        stream->close();
        ASSERT_EQ(::mkfifo(folder.file("fifo").c_str(), 0600), 0);
        systemCalls.beforeOpening = [this] { ::rename(folder.file("fifo").c_str(), name.c_str()); };
        stream->open(name, input);
        EXPECT_FALSE(stream->is_open());
        EXPECT_THAT(folder.files(), testing::SizeIs(1)) << "The name was looked at but not opened";
        std::filesystem::remove(name);
    }
    ::alarm(0);
    systemCalls = {};
}

TEST(FileStream, opensFilesInAllModesOfStandardStreams)
{
    using std::ios;
    const TemporaryFolder folder;
    const auto name = folder.file("modes");
    const auto in = ios::in, out = ios::out, app = ios::app, ate = ios::ate, trunc = ios::trunc;
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
                return std::to_string(isOpen) + folder.content(name);
            };
            FileStream stream;
            std::fstream standard;
            EXPECT_EQ(outcome(stream), outcome(standard)) << mode << exists;
        }
}

// Two threads read what is large; where they fail, the standard buffer reads it.
TEST(FileStream, readsLargePiecesWhateverThreadsDo)
{
    const TemporaryFolder folder;
    const auto bytes = noise(17 << 20 | 77);
    writeFile(folder.file("large"), bytes);
    std::vector<char> memory(20 << 20);
    for (const char* const failing : {"", "pread"})
        for (const int error : {EINTR, EIO})
            for (const std::size_t offset : {0, 38, 5 << 20})
                for (const std::size_t count : {8 << 20, 12 << 20 | 1, 19 << 20}) {
                    FileStream stream;
                    stream.open(folder.file("large"), input);
                    char first;
                    stream.read(&first, 1);  // the buffer has more than was asked for
                    stream.seek(static_cast<std::streampos>(offset));
                    std::ranges::fill(memory, '?');
                    systemCalls = {.failing = failing, .error = error, .areRecorded = true};
                    systemCalls.before = count % 2;
                    stream.read(memory.data(), static_cast<std::streamsize>(count));
                    systemCalls = {};
                    const auto expected = bytes.substr(offset, count);
                    ASSERT_EQ(static_cast<std::size_t>(stream.gcount()), expected.size());
                    ASSERT_TRUE(std::equal(expected.begin(), expected.end(), memory.begin()))
                        << failing << ' ' << offset << ' ' << count;
                    ASSERT_EQ(memory[expected.size()], '?');
                    ASSERT_EQ(stream.eof(), expected.size() < count);
                    stream.clear();
                    ASSERT_EQ(std::streamoff(stream.tell()),
                              static_cast<std::streamoff>(offset + expected.size()));
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
        systemCalls = {.failing = "pread", .error = EINTR, .areRecorded = true};
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
        EXPECT_LT(systemCalls.before, 0) << "Nothing was read";
        systemCalls = {};
    }
}

}
