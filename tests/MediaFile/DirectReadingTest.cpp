#include "MediaConversion/MediaFile/DirectFileStream.h"
#include "MediaConversion/MediaFile/DirectFileStreamFactory.h"
#include "MediaConversion/MediaFile/FileNames.h"
#include "MediaConversion/MediaFile/FileStreamFactory.h"
#include "MediaConversion/MediaPipeline/Formats.h"
#include "tests/MediaFile/ReaderFixture.h"
#include "tests/MediaFile/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <stdexcept>
#include <vector>

using namespace MediaConversion;
using namespace MediaFileTests;
using namespace Velmora::Formats;

namespace {

// The small picture's file has 28 bytes before its frame and 46 bytes in all.
class DirectReadingTest : public ReaderFixture
{
protected:
    DirectReadingTest()
    {
        giveFile(smallPicture());
        reader.setReadMethod(false, true);
    }
};

TEST_F(DirectReadingTest, opensTheFileAgainWithTheCachingModeThatWasSet)
{
    open();
    expectFrame(RGB_U8(), 2, 3, noise(18));
    EXPECT_EQ(file.calls, (std::vector<std::string>{"open", "close", "uncached", "open"}));
    reader.setCachingMode(CachingMode::Cached);
    open();
    expectFrame(RGB_U8(), 2, 3, noise(18));
    EXPECT_EQ(file.calls[6], "cached");
}

TEST_F(DirectReadingTest, readsWholeUnitsFromTheStartOfTheFile)
{
    const std::pair<std::uint64_t, std::streamsize> cases[] = {
        {1, 46}, {16, 48}, {23, 46}, {45, 90}, {46, 46}, {47, 47}, {4096, 4096}};
    for (const auto& [unit, size] : cases) {
        file.unit = unit;
        open();
        expectFrame(RGB_U8(), 2, 3, noise(18));
        EXPECT_EQ(file.reads.back(), size) << unit;
    }
}

TEST_F(DirectReadingTest, aFileThatShrinksMeanwhileIsTooShort)
{
    for (std::size_t size = 0; size < 46; ++size) {
        giveFile(smallPicture());
        file.sizeInInfo = 46;
        open();
        cutTo(size);
        expectReadError(endOfFile);
        expectClosed();
    }
}

TEST_F(DirectReadingTest, theFramesOwnComplaintsComeFirst)
{
    file.bytes += "more";
    open();
    expectReadError<std::runtime_error>("Expecting input data byte count 18, got 22");
    expectClosed();
    open();
    cutTo(29);
    expectReadError<std::runtime_error>("Expecting input data byte count 18, got 1");
    expectClosed();
    giveFile(smallPicture());
    open();
    cutTo(20);
    expectReadError<std::runtime_error>("Pixel data end (20) is before pixel data offset (28)");
    expectClosed();
}

TEST_F(DirectReadingTest, whatCannotBeReadDirectlyCanStillBeReadBuffered)
{
    const std::pair<bool, std::uint64_t> cases[] = {{false, 16}, {true, 0}};
    for (const auto& [hasInfo, unit] : cases) {
        file.hasInfo = hasInfo;
        file.unit = unit;
        reader.setReadMethod(false, true);
        open();
        expectReadError(notDirectly);
        reader.setReadMethod(false, false);
        expectFrame(RGB_U8(), 2, 3, noise(18));
    }
}

TEST_F(DirectReadingTest, aFileThatDoesNotOpenAgainIsClosed)
{
    file.openings = 1;
    open();
    expectReadError(notDirectly);
    expectClosed();
}

TEST_F(DirectReadingTest, needsAPoolOnceTheFileIsOpenAgain)
{
    open();
    Velmora::ImageFrame::setMemoryPool(nullptr);
    expectReadError<std::runtime_error>(noPool);
    expectClosed();
}

// Tells of its files but makes streams that know nothing of caching.
class HalfDirectFactory final : public IFileStreamFactory, public IFileSystemInfoFactory
{
public:
    std::unique_ptr<IFileStream> create() override { return FileStreamFactory().create(); }
    std::unique_ptr<IFileSystemInfo> createFileSystemInfo(const std::wstring& fileName) override
    {
        return DirectFileStreamFactory().createFileSystemInfo(fileName);
    }
};

TEST(DirectReadingOfFiles, needsAFactoryAndStreamsForIt)
{
    const InstalledPool installed;
    const TemporaryFolder folder;
    const auto name = folder.file("picture.zeq");
    writeFile(name, MediaFileBytes::picture(0x200, 1, 1, "rgb").bytes());
    FileStreamFactory buffered;
    HalfDirectFactory half;
    for (IFileStreamFactory* const factory :
         {static_cast<IFileStreamFactory*>(&buffered), static_cast<IFileStreamFactory*>(&half)}) {
        VelmoraMediaFileReader reader(*factory);
        reader.open(wideFileName(name));
        reader.setReadMethod(false, true);
        expectError<MediaFileAccessException>(notDirectly, [&] { reader.readFrame(); });
        reader.setReadMethod(false, false);
        EXPECT_NE(reader.readFrame(), nullptr);
    }
}

TEST(DirectReadingOfFiles, givesTheFramesOfBufferedReading)
{
    const InstalledPool installed;
    const TemporaryFolder folder;
    const auto name = folder.file("picture.zeq");
    DirectFileStreamFactory factory;
    VelmoraMediaFileReader reader(factory);
    reader.setReadMethod(false, true);
    const struct
    {
        std::uint8_t revision;
        std::uint16_t width, height;
    } cases[] = {
        {0, 1, 1},
        {0, 1356, 1},  // 4096 bytes with its headers
        {2, 1366, 1},  // some more
        {1, 1024, 700},
    };
    for (const auto mode : {CachingMode::Cached, CachingMode::Uncached})
        for (const auto& [revision, width, height] : cases) {
            const auto data = noise(std::size_t{width} * height * 3);
            auto content = MediaFileBytes::picture(0x202, width, height, data);
            content.headerRevision = revision;
            writeFile(name, content.bytes());
            DirectFileStream stream;
            stream.setCaching(mode);
            stream.open(name, std::ios_base::in);
            if (!stream.is_open())
                GTEST_SKIP() << "The file system caches whatever it reads";

            reader.setCachingMode(mode);
            reader.open(wideFileName(name));
            const auto frame = reader.readFrame();
            const auto& image = dynamic_cast<const Velmora::IImageFrame&>(*frame).image();
            ASSERT_EQ(image.total() * image.elemSize(), data.size());
            EXPECT_TRUE(std::equal(data.begin(), data.end(), image.ptr<char>()));
        }

    reader.open(wideFileName(name));
    std::remove(name.c_str());
    expectError<MediaFileAccessException>(notDirectly, [&] { reader.readFrame(); });
}

}
