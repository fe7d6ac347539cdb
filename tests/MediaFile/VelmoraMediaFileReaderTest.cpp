#include "MediaConversion/MediaFile/VelmoraMediaFileReader.h"

#include "MediaConversion/MediaFile/Headers.h"
#include "MediaConversion/MediaPipeline/Formats.h"
#include "tests/MediaFile/FakeFile.h"
#include "tests/MediaFile/TemporaryFolder.h"
#include "tests/support/ExpectError.h"
#include "tests/support/Pools.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <exception>
#include <functional>
#include <map>
#include <utility>

using namespace MediaConversion;
using namespace MediaFileTests;
using namespace Velmora::Formats;

namespace {

const std::string corrupt = "Media file is corrupt";
const std::string endOfFile = "Media file has unexpectedly reached End-Of-File";
const std::string noHeader = "Media header not available, check the file is open";
const std::string notDirectly = "Failed to open file for direct reading";

// A reader of files in memory, and the words to tell a test about it.
class VelmoraMediaFileReaderTest : public testing::Test
{
protected:
    // A file that the next open finds.
    void giveFile(const MediaFileBytes& content) { file.bytes = content.bytes(); }
    void open() { reader.open(L"name"); }

    template <class Exception = MediaFileAccessException>
    void expectReadError(const std::string& text)
    {
        expectError<Exception>(text, [&] { reader.readFrame(); });
    }
    void expectClosed()
    {
        expectError<MediaFileAccessException>(noHeader, [&] { reader.mediaHeader(); });
        expectError<MediaFileAccessException>("Frame header not available, check the file is open",
                                              [&] { reader.frameHeader(); });
        expectReadError(noHeader);
    }

    // Opens a file whose frame cannot be read.
    template <class Exception = MediaFileAccessException>
    void expectFrameError(const std::string& text)
    {
        open();
        expectReadError<Exception>(text);
        expectClosed();
    }
    // Opens a file and expects these bytes in its frame.
    void expectFrame(const Velmora::FrameFormat& format, int rows, int columns,
                     const std::string& bytes)
    {
        open();
        const auto frame = reader.readFrame();
        EXPECT_EQ(frame->format(), format);
        const auto& image = dynamic_cast<const Velmora::IImageFrame&>(*frame).image();
        EXPECT_EQ(image.size(), cv::Size(columns, rows));
        ASSERT_EQ(image.total() * image.elemSize(), bytes.size());
        EXPECT_TRUE(std::equal(bytes.begin(), bytes.end(), image.ptr<char>()));
        expectClosed();
    }
    void expectSmallPicture() { expectFrame(RGB_U8(), 2, 3, smallPicture().data); }

    InstalledPool installed;
    FakeFile file;
    FakeFileFactory factory{file};
    VelmoraMediaFileReader reader{factory};
};

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

TEST_F(VelmoraMediaFileReaderTest, tellsBeforeReadingWhatIsWrongWithTheFrame)
{
    giveFile(smallPicture());
    open();
    reader.checkFrame();
    EXPECT_EQ(reader.readFrame()->format(), RGB_U8());
    auto cut = smallPicture();
    cut.data.pop_back();
    giveFile(cut);
    open();
    for (int again = 0; again < 2; ++again)
        expectError<MediaFileAccessException>(endOfFile, [&] { reader.checkFrame(); });
    expectReadError(endOfFile);
    expectError<MediaFileAccessException>(noHeader, [&] { reader.checkFrame(); });
    giveFile(MediaFileBytes::picture(ZEQ_420.mediaCode, 4, 3, ""));
    open();
    expectError(
        "Frame format row pixel packing of 2 pixels is incompatible with supplied image rows "
        "of 3",
        [&] { reader.checkFrame(); });
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
    expectError("Raw frame creator not available for frame format  RGBA_U16_RGBA",
                [&] { rawFrameCreator(format); });
}

struct DirectReading : VelmoraMediaFileReaderTest
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

TEST_F(DirectReading, isRefusedForOtherStreams)
{
    FileStreamFactory buffered;
    VelmoraMediaFileReader refusing(buffered);
    refusing.setReadMethod(false, true);
    refusing.open(wideFileName(PROJECT_FOLDER "/tests/data/cat.rgb-u8.zeq"));
    expectError<MediaFileAccessException>(notDirectly, [&] { refusing.readFrame(); });
    EXPECT_NO_THROW(refusing.frameHeader()) << "Nothing was read";
}

using StreamFaults = VelmoraMediaFileReaderTest;

// How often the frame, or which text, is what comes of a call that fails at once, and of one that
// sets the fail bit, the bad bit or the end-of-file bit afterwards.
using Outcomes = std::vector<std::map<std::string, int>>;

const std::string frame = "the frame";
const std::string isBad = "Media file is bad";
const std::string noOffset = "Pixel data offset (18446744073709551615) exceeds data size (48)";

// A file is opened by both methods. Each header ends with a check, where alone the last bit shows.
const std::map<std::string, Outcomes> expected = {
    // clang-format off
    {"opening, open",           {{{frame, 2}},     {{frame, 2}},      {{frame, 2}},      {{frame, 2}}}},
    {"opening, clear",          {{{corrupt, 2}},   {{corrupt, 2}},    {{corrupt, 2}},    {{frame, 2}}}},
    {"opening, seek",           {{{corrupt, 2}},   {{corrupt, 2}},    {{corrupt, 2}},    {{corrupt, 2}}}},
    {"opening, read",           {{{corrupt, 2}, {endOfFile, 26}},
                                                   {{endOfFile, 28}}, {{endOfFile, 28}}, {{endOfFile, 24}, {isBad, 4}}}},
    {"reading, tell",           {{{frame, 2}},     {{frame, 2}},      {{frame, 2}},      {{frame, 2}}}},
    {"reading, seek",           {{{frame, 2}},     {{frame, 2}},      {{frame, 2}},      {{frame, 1}, {endOfFile, 1}}}},
    {"reading, read",           {{{endOfFile, 1}}, {{endOfFile, 1}},  {{endOfFile, 1}},  {{isBad, 1}}}},
    {"reading directly, tell",  {{{noOffset, 1}},  {{endOfFile, 1}},  {{endOfFile, 1}},  {{endOfFile, 1}}}},
    {"reading directly, close", {{{endOfFile, 1}}, {{endOfFile, 1}},  {{endOfFile, 1}},  {{endOfFile, 1}}}},
    {"reading directly, open",  {{{endOfFile, 1}}, {{endOfFile, 1}},  {{endOfFile, 1}},  {{endOfFile, 1}}}},
    {"reading directly, read",  {{{endOfFile, 1}}, {{frame, 1}},      {{frame, 1}},      {{frame, 1}}}},
    {"reading directly, clear", {{{endOfFile, 1}}, {{endOfFile, 1}},  {{endOfFile, 1}},  {{isBad, 1}}}},
    // clang-format on
};

TEST_F(StreamFaults, bringTheFrameOrTheTextOfTheStepWhicheverCallFails)
{
    const auto faults = {std::ios::failbit, std::ios::failbit, std::ios::badbit, std::ios::eofbit};
    std::map<std::string, Outcomes> outcomes;
    for (const std::string method : {"reading", "reading directly"})
        for (std::size_t fault = 0; fault < 4; ++fault)
            for (std::size_t call = 1, calls = 1; call <= calls; ++call) {
                file = {};
                reader.setReadMethod(false, method != "reading");
                open();
                const auto opening = file.streamCalls.size();
                reader.readFrame();
                calls = file.streamCalls.size();
                file = {
                    .faultyCall = call, .faultBits = faults.begin()[fault], .isUndone = fault == 0};
                auto outcome = frame;
                try {
                    expectSmallPicture();
                } catch (const std::exception& exception) {
                    outcome = exception.what();
                }
                expectClosed();
                for (int acquisition = 0; acquisition < 4; ++acquisition)
                    Velmora::PooledBuffer(installed.pool(), 1);
                EXPECT_EQ(installed.pool()->count(), 1u) << "Only what is lent is kept";
                auto& row = outcomes[(call > opening ? method : "opening") + ", " +
                                     file.streamCalls[call - 1]];
                row.resize(4);
                ++row[fault][outcome];
            }
    EXPECT_EQ(outcomes, expected);
}

}
