#include "MediaConversion/MediaFile/DirectFileStreams.h"
#include "MediaConversion/MediaFile/FileNames.h"
#include "MediaConversion/MediaFile/FileStreams.h"
#include "tests/MediaFile/ReaderFixture.h"
#include "tests/MediaFile/TemporaryFolder.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <ios>
#include <stdexcept>
#include <string>
#include <utility>

using namespace MediaConversion;
using namespace MediaFileTests;

namespace {

class DirectReadingTest : public ReaderFixture
{
protected:
    DirectReadingTest() { reader.setReadMethod(false, true); }
};

TEST_F(DirectReadingTest, opensTheFileAgainWithTheCachingModeThatWasSet)
{
    expectSmallPicture();
    reader.setCachingMode(CachingMode::Cached);
    expectSmallPicture();
    EXPECT_EQ(file.calls, "open close uncached open open close cached open ");
    file.openings = 1;
    expectFrameError(notDirectly);
}

TEST_F(DirectReadingTest, readsWholeUnitsFromTheStartOfTheFile)
{
    const std::pair<std::uint64_t, std::streamsize> cases[] = {{1, 46},  {16, 48}, {23, 46},
                                                               {45, 90}, {46, 46}, {4096, 4096}};
    for (const auto& [unit, size] : cases) {
        file.unit = unit;
        expectSmallPicture();
        EXPECT_EQ(file.reads.back(), size) << unit;
    }
}

TEST_F(DirectReadingTest, takesNoBytesBehindTheFrame)
{
    file.bytes += "more";
    file.sizeInInfo = 50;
    expectSmallPicture();
    file.bytes.resize(46);  // they have gone when the file is read
    expectSmallPicture();
}

TEST_F(DirectReadingTest, aFileThatShrinksMeanwhileIsTooShort)
{
    for (std::size_t size = 0; size < 46; ++size) {
        giveFile(smallPicture());
        open();
        file.bytes.resize(size);
        expectReadError(endOfFile);
        expectClosed();
    }
}

TEST_F(DirectReadingTest, theFramesOwnComplaintsComeFirst)
{
    const std::pair<std::uint64_t, std::string> cases[] = {
        {45, "Expecting input data byte count 18, got 17"},
        {29, "Expecting input data byte count 18, got 1"},
        {20, "Pixel data end (20) is before pixel data offset (28)"},
    };
    for (const auto& [size, text] : cases) {
        file.sizeInInfo = size;
        expectFrameError<std::runtime_error>(text);
    }
}

TEST(DirectReadingOfFiles, givesTheirFramesAndNeedsStreamsForIt)
{
    const InstalledPool installed;
    const TemporaryFolder folder;
    const auto name = folder.file("picture.zeq");
    writeFile(name, smallPicture().bytes());
    FileStreamFactory buffered;
    VelmoraMediaFileReader bufferedReader(buffered);
    bufferedReader.setReadMethod(false, true);
    bufferedReader.open(wideFileName(name));
    expectError<MediaFileAccessException>(notDirectly, [&] { bufferedReader.readFrame(); });
    EXPECT_NO_THROW(bufferedReader.frameHeader()) << "Nothing was read";

    DirectFileStream stream;
    stream.setCaching(CachingMode::Uncached);
    stream.open(name, std::ios::in);
    if (!stream.is_open())
        GTEST_SKIP() << "The file system caches whatever it reads";
    DirectFileStreamFactory direct;
    VelmoraMediaFileReader reader(direct);
    reader.setReadMethod(false, true);
    // With its headers, the second has 4096 bytes.
    for (const auto width : std::initializer_list<std::uint16_t>{1, 1356, 1357, 65535}) {
        const auto data = noise(std::size_t{3} * width);
        writeFile(name, MediaFileBytes::picture(0x202, width, 1, data).bytes());
        reader.open(wideFileName(name));
        const auto frame = reader.readFrame();
        const auto& image = dynamic_cast<const Velmora::IImageFrame&>(*frame).image();
        ASSERT_EQ(image.cols, width);
        EXPECT_TRUE(std::equal(data.begin(), data.end(), image.ptr<char>()));
    }
}

}
