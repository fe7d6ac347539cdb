#include "MediaConversion/MediaFile/VelmoraMediaFileReader.h"

#include "MediaConversion/MediaFile/DirectFileStreams.h"
#include "MediaConversion/MediaFile/Headers.h"
#include "tests/MediaFile/ReaderFixture.h"
#include "tests/MediaFile/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <array>
#include <functional>
#include <utility>

using namespace MediaConversion;
using namespace MediaFileTests;
using namespace Velmora::Formats;

namespace {

using VelmoraMediaFileReaderTest = ReaderFixture;

TEST_F(VelmoraMediaFileReaderTest, keepsTheFieldsOfBothHeadersBehindEitherMagic)
{
    MediaFileBytes content{"zeq ", 0x81,   0x82,   0,      0x84,   0x98765432,
                           0xA1A2, 0xB1B2, 0xC1C2, 0xD1D2, 0xE1E2, ""};
    for (const auto revision : std::to_array<std::uint8_t>({0, 1, 2, 255}))
        for (const auto magic : {MediaFileMagic::Zeq, MediaFileMagic::ZeqZ}) {
            content.magic = magic == MediaFileMagic::Zeq ? "zeq " : "zeqZ";
            content.headerRevision = revision;
            giveFile(content);
            open();
            EXPECT_EQ(reader.mediaHeader(),
                      (MediaHeader{0x81, 0x82, revision, 0x84, 0x98765432, 0xA1A2, 0xB1B2, magic}));
            EXPECT_EQ(reader.frameHeader(), (FrameHeader{0xC1C2, 0xD1D2, 0xE1E2}));
        }
}

TEST_F(VelmoraMediaFileReaderTest, staysOpenWithoutMemoryAndForAnUnknownFormat)
{
    file.bytes.resize(28);
    open();
    Velmora::ImageFrame::setMemoryPool(nullptr);
    expectReadError<std::runtime_error>(
        "ImageFrame has no memory pool - did you forget to set it?");
    EXPECT_NO_THROW(reader.frameHeader());
    for (const auto& [code, digits] : {std::pair{0x201u, "0201"}, {0xABCD1234u, "abcd1234"}}) {
        giveFile(MediaFileBytes::picture(code, 8, 4, ""));
        open();
        expectReadError(std::string("Frame reading is not supported for media header format 0x") +
                        digits);
        EXPECT_EQ(reader.mediaHeader().mediaFormatCode, code);
    }
}

TEST_F(VelmoraMediaFileReaderTest, aFailedOpenForgetsTheFileBeforeAndCarriesTheName)
{
    const auto throwsWithName = [](const std::string& text) {
        return testing::Throws<MediaFileAccessException>(
            testing::AllOf(testing::Property(&MediaFileAccessException::fileName, "\xC3\xA9\xFF?"),
                           testing::Property(&MediaFileAccessException::message, text)));
    };
    const std::pair<FakeFile, std::string> cases[] = {
        {{.hasStreams = false}, "Could not create filestream object"},
        {{.openings = 0}, "Failed to open file"},
        {{.bytes = smallPicture().bytesCutTo(27)}, endOfFile},
    };
    for (const auto& [faulty, text] : cases) {
        file = {};
        open();
        file = faulty;
        const std::wstring name(L"\x00E9\xDCFF\0", 3);
        EXPECT_THAT([&] { reader.open(name); }, throwsWithName(text));
        expectClosed();
    }
    EXPECT_THAT([&] { reader.mediaHeader(); }, throwsWithName(noHeader));
}

// A stream that cannot tell what is left gives it all the same. One that ends before the place
// where it stands was cut, or is of a system that calls every file empty.
TEST_F(VelmoraMediaFileReaderTest, takesMemoryForBytesThatAreThere)
{
    // A pool makes a block of exactly this size when it has no larger one.
    const auto expectNothingLarger = [this](std::uint64_t size) {
        EXPECT_EQ(installed.pool()->acquire(size + 1)->size(), size + 1);
    };
    const auto claim = MediaFileBytes::picture(0x8, 65534, 32767, "four");
    file.tellsItsEnd = false;
    giveFile(claim);
    expectFrameError(endOfFile);
    expectNothingLarger(1 << 20);
    // A size that is no picture's is told before the missing bytes, and where none are missing.
    auto odd = MediaFileBytes::picture(0x8, 65535, 32767, noise(1 << 18));
    for (const bool tellsItsEnd : {false, true, true}) {
        file.tellsItsEnd = tellsItsEnd;
        giveFile(odd);
        odd.frameHeight = tellsItsEnd ? 2 : 32767;
        expectFrameError<std::runtime_error>(
            "Frame format column pixel packing of 2 pixels is incompatible with supplied image "
            "columns of 65535");
        expectNothingLarger(1 << 20);
    }

    const TemporaryFolder folder;
    const auto name = folder.file("cut.zeq");
    FileStreamFactory streams;
    VelmoraMediaFileReader cutMeanwhile(streams);
    for (const auto size : {0u, 27u, 28u, 31u}) {
        writeFile(name, claim.bytes());
        cutMeanwhile.open(wideFileName(name));
        std::filesystem::resize_file(name, size);
        expectError<MediaFileAccessException>(endOfFile, [&] { cutMeanwhile.readFrame(); });
        expectNothingLarger(1 << 20);
    }

    const auto large = MediaFileBytes::picture(0x200, 1500, 1000, noise(4500000));
    giveFile(large);
    file.tellsItsEnd = false;
    expectFrame(RGB_U8(), 1000, 1500, large.data);
    expectNothingLarger(large.data.size());
}

TEST_F(VelmoraMediaFileReaderTest, readsByTheMethodThatWasSet)
{
    for (const bool directReading : {false, true}) {
        reader.setReadMethod(true, directReading);
        expectFrameError<std::runtime_error>("Not built with OpenGL support");
        EXPECT_EQ(file.reads.back(), directReading ? 48 : 18);
    }
    file.bytes.pop_back();
    expectFrameError(endOfFile);  // before it would become a texture
    reader.setReadMethod({});
    EXPECT_THROW(reader.readFrame(), std::bad_function_call);
}

TEST(FrameDataSize, countsWholeGroups)
{
    EXPECT_EQ(frameDataSize(ZEQ_422(), 1921, 1080), 5'184'000u);
    EXPECT_EQ(frameDataSize(ZEQ_420(), 1920, 1081), 540u * 960 * 6);
    EXPECT_EQ(frameDataSize(YCoCg_DXT5(), 7, 7), 16u);
}

TEST(RawFrameCreator, refusesFormatsThatAreNeitherFullNorPacked)
{
    const Velmora::FrameFormat format{
        Velmora::Colourspace::RGBA, Velmora::ChannelType::U16, {8, 4, 1, 1}, "RGBA"};
    expectError<std::runtime_error>(
        "Raw frame creator not available for frame format  RGBA_U16_RGBA",
        [&] { rawFrameCreator(format); });
}

struct DirectReading : ReaderFixture
{
    DirectReading() { reader.setReadMethod(false, true); }
};

TEST_F(DirectReading, opensTheFileAgainWithTheCachingModeThatWasSet)
{
    expectSmallPicture();
    reader.setCachingMode(CachingMode::Cached);
    expectSmallPicture();
    EXPECT_EQ(file.calls, "open close uncached open open close cached open ");
    file.openings = 1;
    expectFrameError(notDirectly);
}

TEST_F(DirectReading, readsWholeUnitsFromTheStartOfTheFileAndTakesNoBytesBehindTheFrame)
{
    const std::pair<std::uint64_t, std::streamsize> cases[] = {{1, 46},  {16, 48}, {23, 46},
                                                               {45, 90}, {46, 46}, {4096, 4096}};
    for (const auto& [unit, size] : cases) {
        file.unit = unit;
        expectSmallPicture();
        EXPECT_EQ(file.reads.back(), size) << unit;
    }
    file.bytes += "more";
    file.sizeInInfo = 50;
    expectSmallPicture();
    file.bytes.resize(46);  // they have gone when the file is read
    expectSmallPicture();
}

TEST_F(DirectReading, ofTooShortAFileFailsWithTheFramesOwnComplaintsFirst)
{
    for (std::size_t size = 0; size < 46; ++size) {
        giveFile(smallPicture());
        open();
        file.bytes.resize(size);
        expectReadError(endOfFile);
        expectClosed();
    }
    giveFile(smallPicture());
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

// Whatever is aligned: streams that bypass the cache give the same bytes.
TEST_F(DirectReading, givesTheFramesOfFilesAndNeedsStreamsForIt)
{
    const TemporaryFolder folder;
    DirectFileStreamFactory direct;
    FileStreamFactory buffered;
    VelmoraMediaFileReader reading(direct), refusing(buffered);
    reading.setCachingMode(CachingMode::Cached);
    // With its headers, the second has 4096 bytes.
    for (const auto width : std::to_array<std::uint16_t>({1, 1356, 1357, 65535})) {
        const auto data = noise(std::size_t{3} * width);
        writeFile(folder.file("a"), MediaFileBytes::picture(0x202, width, 1, data).bytes());
        for (auto* const opened : {&reading, &refusing}) {
            opened->setReadMethod(false, true);
            opened->open(wideFileName(folder.file("a")));
        }
        const auto frame = reading.readFrame();
        const auto& image = dynamic_cast<const Velmora::IImageFrame&>(*frame).image();
        ASSERT_EQ(image.cols, width);
        EXPECT_TRUE(std::equal(data.begin(), data.end(), image.ptr<char>()));
        expectError<MediaFileAccessException>(notDirectly, [&] { refusing.readFrame(); });
        EXPECT_NO_THROW(refusing.frameHeader()) << "Nothing was read";
    }
}

}
