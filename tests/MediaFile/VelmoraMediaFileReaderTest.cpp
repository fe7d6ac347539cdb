#include "MediaConversion/MediaFile/VelmoraMediaFileReader.h"

#include "tests/MediaFile/ReaderFixture.h"

#include <gmock/gmock.h>

#include <functional>

using namespace MediaConversion;
using namespace MediaFileTests;
using namespace Velmora::Formats;

namespace {

using VelmoraMediaFileReaderTest = ReaderFixture;

TEST_F(VelmoraMediaFileReaderTest, keepsTheFieldsOfBothHeadersBehindEitherMagic)
{
    MediaFileBytes content{"zeq ", 0x81,   0x82,   0,      0x84,   0x98765432,
                           0xA1A2, 0xB1B2, 0xC1C2, 0xD1D2, 0xE1E2, ""};
    for (const auto revision : std::initializer_list<std::uint8_t>{0, 1, 2, 255})
        for (const char* magic : {"zeq ", "zeqZ"}) {
            content.magic = magic;
            content.headerRevision = revision;
            giveFile(content);
            open();
            EXPECT_EQ(reader.mediaHeader(),
                      (MediaHeader{0x81, 0x82, revision, 0x84, 0x98765432, 0xA1A2, 0xB1B2}));
            EXPECT_EQ(reader.frameHeader(), (FrameHeader{0xC1C2, 0xD1D2, 0xE1E2}));
        }
    for (const char* magic : {"zeqz", "ZEQ ", "zeq\n", " qez", "Zqez", "zzzz"}) {
        file.bytes.replace(0, 4, magic);
        expectOpenError(corrupt);
    }
}

TEST_F(VelmoraMediaFileReaderTest, takesTheFramesSizeAndIgnoresWhatFollowsTheFrame)
{
    auto content = smallPicture();
    content.width = content.height = 1000;
    content.data += "more";
    giveFile(content);
    expectSmallPicture();
    giveFile(MediaFileBytes::picture(0x206, 0, 0, ""));
    expectFrame(BGRA_U8(), 0, 0, "");
}

TEST_F(VelmoraMediaFileReaderTest, aFileCutAnywhereIsCorruptOrTooShort)
{
    for (const auto& [revision, headerSize] : {std::pair{1, 28u}, {2, 48u}})
        for (std::size_t size = 0; size < headerSize + 18; ++size) {
            SCOPED_TRACE(size);
            file.bytes = smallPicture(revision).bytesCutTo(size);
            if (size < headerSize)
                expectOpenError(size < 4 ? corrupt : endOfFile);
            else
                expectFrameError(endOfFile);
        }
    EXPECT_EQ(installed.pool()->count(), 0u) << "Memory was taken for what is not there";
}

// The checks stand behind the media header (the last of 10 reads, or of 12 with the extension
// block), behind the 4 fields of the frame header and behind the data. A set end-of-file bit makes
// the next read fail, so that only the last read before a check can show it alone.
TEST_F(VelmoraMediaFileReaderTest, everyReadThatGoesWrongIsNoticed)
{
    for (const auto& [revision, mediaReads] : {std::pair{0, 10u}, {2, 12u}})
        for (const auto bits : {std::ios::badbit, std::ios::failbit, std::ios::eofbit})
            for (std::size_t read = 1; read <= mediaReads + 5; ++read) {
                SCOPED_TRACE(read);
                file = {.faultyRead = read, .faultBits = bits};
                giveFile(smallPicture(revision));
                const bool isLast = read == mediaReads || read >= mediaReads + 4;
                const bool isBad = bits == std::ios::eofbit && isLast;
                const auto text = isBad ? "Media file is bad" : endOfFile;
                if (read < mediaReads + 5)
                    expectOpenError(text);
                else
                    expectFrameError(text);
            }
}

// Files of 28 bytes. None of them is worth a block of memory.
TEST_F(VelmoraMediaFileReaderTest, claimedSizesCostNoMemoryAndTheFramesComplaintsComeFirst)
{
    const struct
    {
        std::uint32_t code;
        std::uint16_t width, height;
        std::string text;
    } cases[] = {
        // clang-format off
        {0x20000000, 65532, 65532, endOfFile},
        {0x00000206, 32767, 32767, endOfFile},
        {0x00000200, 65535, 65535, "Expecting input data byte count 12884508675, got 4294574083"},
        {0x00010200, 65534, 65534, "Expecting input byte count 19326173202 (65534x32767x9 matrix), got 2146304018 bytes"},
        {0x00000040, 2,     3,     "Frame format row pixel packing of 2 pixels is incompatible with supplied image rows of 3"},
        // clang-format on
    };
    for (const auto& [code, width, height, text] : cases) {
        giveFile(MediaFileBytes::picture(code, width, height, ""));
        if (text == endOfFile)
            expectFrameError(text);
        else
            expectFrameError<std::runtime_error>(text);
        EXPECT_EQ(installed.pool()->count(), 0u) << text;
    }
    // This one claims no bytes at all, and reading them fails.
    file = {.faultyRead = 15, .faultBits = std::ios::badbit};
    giveFile(MediaFileBytes::picture(0x206, 32768, 32768, ""));
    expectFrameError<std::runtime_error>("Expecting input data byte count 4294967296, got 0");
}

TEST_F(VelmoraMediaFileReaderTest, staysOpenWhileThereIsNoMemory)
{
    file.bytes.resize(28);
    open();
    Velmora::ImageFrame::setMemoryPool(nullptr);
    expectReadError<std::runtime_error>(
        "ImageFrame has no memory pool - did you forget to set it?");
    EXPECT_NO_THROW(reader.frameHeader());
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

}
