#include "MediaConversion/MediaFile/DirectFileStreamFactory.h"
#include "MediaConversion/MediaFile/FileNames.h"
#include "MediaConversion/MediaFile/FileStreamFactory.h"
#include "tests/MediaFile/TemporaryFolder.h"
#include "tests/support/MediaFileBytes.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <clocale>
#include <new>

using namespace MediaConversion;
using namespace MediaFileTests;

namespace {

constexpr auto input = std::ios_base::in | std::ios_base::binary;

// What both kinds of stream have in common.
template <class Factory>
class FileStreamTest : public testing::Test
{
protected:
    std::string fileOf(std::string_view bytes)
    {
        writeFile(folder.file("file"), bytes);
        return folder.file("file");
    }

    std::string read(std::streamsize count)
    {
        std::string bytes(static_cast<std::size_t>(count), '?');
        stream.read(bytes.data(), count);
        return bytes.substr(0, static_cast<std::size_t>(stream.gcount()));
    }

    void expectRefused(const auto& name)
    {
        auto refusing = Factory().create();
        refusing->open(name, input);
        EXPECT_FALSE(refusing->is_open());
        EXPECT_TRUE(refusing->fail());
    }

    TemporaryFolder folder;
    std::unique_ptr<IFileStream> owned = Factory().create();
    IFileStream& stream = *owned;
};

using Factories = testing::Types<FileStreamFactory, DirectFileStreamFactory>;
TYPED_TEST_SUITE(FileStreamTest, Factories);

TYPED_TEST(FileStreamTest, aShortReadSetsEndOfFileAndFail)
{
    this->stream.open(this->fileOf("ab"), input);
    EXPECT_EQ(this->read(4), "ab");
    EXPECT_TRUE(this->stream.fail());
    EXPECT_TRUE(this->stream.eof());
    EXPECT_FALSE(this->stream.good());
}

TYPED_TEST(FileStreamTest, readingTheWholeRestDoesNotReachTheEnd)
{
    this->stream.open(this->fileOf("abcd"), input);
    EXPECT_EQ(this->read(1), "a");
    EXPECT_EQ(this->read(3), "bcd");
    EXPECT_TRUE(this->stream.good());
    EXPECT_FALSE(this->stream.eof());
    EXPECT_EQ(this->read(0), "");
    EXPECT_TRUE(this->stream.good());
    EXPECT_EQ(this->read(1), "");
    EXPECT_TRUE(this->stream.eof());
}

TYPED_TEST(FileStreamTest, seeksFromBeginCurrentEndAndToWhatTellGave)
{
    this->stream.open(this->fileOf("0123456789"), input);
    this->stream.seek(3, std::ios_base::beg);
    EXPECT_EQ(this->read(1), "3");
    this->stream.seek(2, std::ios_base::cur);
    EXPECT_EQ(this->stream.tell(), std::streampos(6));
    EXPECT_EQ(this->read(1), "6");
    const auto remembered = this->stream.tell();
    this->stream.seek(-1, std::ios_base::end);
    EXPECT_EQ(this->read(2), "9");
    this->stream.seek(remembered);
    EXPECT_TRUE(this->stream.fail()) << "Seeking forgets the end of the file but no failure";
    EXPECT_EQ(this->stream.tell(), std::streampos(-1));
    this->stream.clear();
    this->stream.seek(remembered);
    EXPECT_EQ(this->read(9), "789");
    this->stream.clear();
    this->stream.seek(-1, std::ios_base::beg);
    EXPECT_TRUE(this->stream.fail());
}

TYPED_TEST(FileStreamTest, closesOnceAndOpensAgain)
{
    this->stream.close();
    EXPECT_TRUE(this->stream.fail());
    this->stream.open(this->fileOf("ab"), input);
    EXPECT_TRUE(this->stream.good());
    EXPECT_EQ(this->read(1), "a");
    this->stream.open(this->fileOf("cd").c_str(), input);
    EXPECT_TRUE(this->stream.fail()) << "It is open already";
    EXPECT_TRUE(this->stream.is_open());
    this->stream.clear();
    this->stream.close();
    EXPECT_TRUE(this->stream.good());
    EXPECT_FALSE(this->stream.is_open());
    EXPECT_EQ(this->read(1), "");
    this->stream.open(this->fileOf("ef").c_str(), input);
    EXPECT_EQ(this->read(2), "ef");
}

TYPED_TEST(FileStreamTest, opensRegularFilesOnlyAndDoesNotWaitForAFifo)
{
    const auto fifo = this->folder.file("fifo");
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    for (const std::string& name :
         {fifo, this->folder.file(""), std::string("/dev/null"), this->folder.file("missing")}) {
        this->expectRefused(name);
        this->expectRefused(name.c_str());
        this->expectRefused(wideFileName(name));
    }
}

TYPED_TEST(FileStreamTest, refusesNamesThatNoFileCanHave)
{
    const auto name = this->fileOf("ab");
    this->expectRefused(name + '\0');
    this->expectRefused(wideFileName(name) + L'\0');
    this->expectRefused(wideFileName(name) + L'\xD800');
}

TYPED_TEST(FileStreamTest, opensWideNamesInTheCLocale)
{
    const std::string locale = std::setlocale(LC_ALL, nullptr);
    std::setlocale(LC_ALL, "C");
    for (const char* name : {"\xC3\xA9\xE2\x82\xAC", "not UTF-8 \xFF\xC3"}) {
        writeFile(this->folder.file(name), name);
        const auto opened = TypeParam().create();
        opened->open(wideFileName(this->folder.file(name)), input);
        EXPECT_TRUE(opened->is_open());
        char first = 0;
        opened->read(&first, 1);
        EXPECT_EQ(first, name[0]);
    }
    std::setlocale(LC_ALL, locale.c_str());
}

TEST(FileStream, writes)
{
    const TemporaryFolder folder;
    const auto name = folder.file("written");
    const auto stream = FileStreamFactory().create();
    stream->open(name, std::ios_base::out | std::ios_base::binary);
    stream->write("ab\ncd", 4);
    EXPECT_TRUE(stream->good());
    stream->close();
    EXPECT_EQ(std::filesystem::file_size(name), 4u);
    stream->open(name, input);
    stream->write("x", 1);
    EXPECT_TRUE(stream->fail());
}

// Every way for the bytes to take: through the stream's own block, straight to aligned memory, and
// both in one read, with and without the operating system's cache.
TEST(DirectFileStream, readsTheSameBytesWhateverIsAligned)
{
    const TemporaryFolder folder;
    const auto name = folder.file("large");
    std::string bytes(3 << 20 | 1234, '\0');
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<char>(i % 251 ^ i >> 12);
    writeFile(name, bytes);
    constexpr std::align_val_t page{4096};
    const auto memorySize = bytes.size() + 8192;
    auto* const memory = static_cast<char*>(::operator new(memorySize, page));

    for (const auto mode : {CachingMode::Cached, CachingMode::Uncached}) {
        const auto stream = DirectFileStreamFactory().create();
        dynamic_cast<IFileCaching&>(*stream).setCaching(mode);
        stream->open(name, input);
        if (!stream->is_open() && mode == CachingMode::Uncached)
            break;
        for (const std::size_t offset : {0, 1, 4096, 1 << 20, (1 << 20) + 4097})
            for (const std::size_t alignment : {0, 16})
                for (const std::size_t count : {std::size_t{1}, std::size_t{5000},
                                                std::size_t{2} << 20, bytes.size() + 4096}) {
                    std::fill_n(memory, memorySize, '?');
                    stream->clear();
                    stream->seek(static_cast<std::streampos>(offset));
                    stream->read(memory + alignment, static_cast<std::streamsize>(count));
                    const auto expected = bytes.substr(offset, count);
                    const std::string got(memory + alignment, expected.size());
                    ASSERT_EQ(static_cast<std::size_t>(stream->gcount()), expected.size());
                    ASSERT_TRUE(got == expected) << offset << ' ' << alignment << ' ' << count;
                    ASSERT_EQ(memory[alignment + count], '?');
                    ASSERT_EQ(stream->eof(), expected.size() < count);
                    ASSERT_EQ(stream->tell(),
                              stream->good() ? std::streampos(offset + count) : std::streampos(-1));
                }
    }
    ::operator delete(memory, page);
}

TEST(DirectFileStreamFactory, tellsSizeAndAlignmentOfRegularFiles)
{
    const TemporaryFolder folder;
    writeFile(folder.file("file"), std::string(4097, 'x'));
    DirectFileStreamFactory factory;
    const auto info = factory.createFileSystemInfo(wideFileName(folder.file("file")));
    ASSERT_TRUE(info);
    EXPECT_EQ(info->fileSize(), 4097u);
    EXPECT_GE(info->alignmentUnit(), 512u) << "No device has smaller units";
    EXPECT_FALSE(factory.createFileSystemInfo(wideFileName(folder.file("missing"))));
    EXPECT_FALSE(factory.createFileSystemInfo(wideFileName(folder.file(""))));
    EXPECT_FALSE(factory.createFileSystemInfo(wideFileName(folder.file("file")) + L'\0'));
}

}
