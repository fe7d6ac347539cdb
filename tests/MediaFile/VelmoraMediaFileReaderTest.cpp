#include "MediaConversion/MediaFile/VelmoraMediaFileReader.h"

#include "MediaConversion/MediaPipeline/Formats.h"
#include "tests/MediaFile/ReaderFixture.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>

using namespace MediaConversion;
using namespace MediaFileTests;
using namespace Velmora::Formats;

namespace {

using VelmoraMediaFileReaderTest = ReaderFixture;

TEST_F(VelmoraMediaFileReaderTest, keepsTheFieldsOfBothHeaders)
{
    MediaFileBytes content;
    content.headerByte0 = 0x81;
    content.headerByte1 = 0x82;
    content.headerByte3 = 0x84;
    content.mediaFormatCode = 0x98765432;
    content.width = 0xA1A2;
    content.height = 0xB1B2;
    content.frameWidth = 0xC1C2;
    content.frameField1 = 0xD1D2;
    content.frameHeight = 0xE1E2;
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
    file.bytes[6] = 1;
    open();
    EXPECT_EQ(reader.frameHeader(), (FrameHeader{0xEEEE, 0xEEEE, 0xEEEE}))
        << "Without the extension block the frame header stands at offset 20";
}

TEST_F(VelmoraMediaFileReaderTest, readsAFrameInEveryFormat)
{
    const struct
    {
        std::uint32_t code;
        Velmora::FrameFormat format;
        int rows, columns;
        std::size_t byteCount;
    } cases[] = {
        // clang-format off
        {0x00000008, YUYV_422(),        4, 4, 4 * 4 * 4 },
        {0x00000040, ZEQ_420(),         2, 4, 2 * 4 * 6 },
        {0x00000200, RGB_U8(),          4, 8, 4 * 8 * 3 },
        {0x00000202, BGR_U8(),          4, 8, 4 * 8 * 3 },
        {0x00000204, RGBA_U8(),         4, 8, 4 * 8 * 4 },
        {0x00000206, BGRA_U8(),         4, 8, 4 * 8 * 4 },
        {0x00001108, ZEQ_422(),         4, 4, 4 * 4 * 5 },
        {0x00001200, RGB_DPX_FILLED(),  4, 8, 4 * 8 * 4 },
        {0x00001202, BGR_DPX_FILLED(),  4, 8, 4 * 8 * 4 },
        {0x0001100C, ZEQ_4224_HYBRID(), 4, 4, 4 * 4 * 8 },
        {0x00010200, RGB_SMPTE_2110(),  4, 4, 4 * 4 * 9 },
        {0x00010202, BGR_SMPTE_2110(),  4, 4, 4 * 4 * 9 },
        {0x20000000, YCoCg_DXT5(),      1, 2, 1 * 2 * 16},
        // clang-format on
    };
    for (const auto& [code, format, rows, columns, byteCount] : cases)
        for (const bool directReading : {false, true}) {
            SCOPED_TRACE(toString(format));
            giveFile(MediaFileBytes::picture(code, 8, 4, noise(byteCount)));
            reader.setReadMethod(false, directReading);
            open();
            expectFrame(format, rows, columns, noise(byteCount));
        }
}

TEST_F(VelmoraMediaFileReaderTest, takesTheFramesSizeAndIgnoresWhatFollowsTheFrame)
{
    auto content = smallPicture();
    content.width = content.height = 1000;
    content.data += "more";
    giveFile(content);
    open();
    expectFrame(RGB_U8(), 2, 3, noise(18));
    EXPECT_EQ(file.reads.back(), 18) << "The frame is one read";
    EXPECT_EQ(pool->largest, 18u);
}

TEST_F(VelmoraMediaFileReaderTest, readsFromWhereverTheStreamStands)
{
    giveFile(smallPicture());
    file.opensFailedAtItsEnd = true;
    open();
    expectFrame(RGB_U8(), 2, 3, noise(18));
    file.seeksToItsEnd = false;
    open();
    expectFrame(RGB_U8(), 2, 3, noise(18));
}

TEST_F(VelmoraMediaFileReaderTest, readsAFrameOfNoPixels)
{
    giveFile(MediaFileBytes::picture(0x206, 0, 0, ""));
    open();
    expectFrame(BGRA_U8(), 0, 0, "");
}

TEST_F(VelmoraMediaFileReaderTest, aFileCutAnywhereIsCorruptOrTooShort)
{
    for (const auto& [revision, headerSize] : {std::pair{0, 28u}, {1, 28u}, {2, 48u}})
        for (const bool seeks : {false, true})
            for (std::size_t size = 0; size < headerSize + 18; ++size) {
                SCOPED_TRACE(size);
                file = {.bytes = smallPicture(static_cast<std::uint8_t>(revision)).bytesCutTo(size),
                        .seeksToItsEnd = seeks};
                if (size < 4)
                    expectOpenError(corrupt);
                else if (size < headerSize)
                    expectOpenError(endOfFile);
                else {
                    open();
                    expectReadError(endOfFile);
                    expectClosed();
                }
            }
}

TEST_F(VelmoraMediaFileReaderTest, everyOtherMagicIsCorrupt)
{
    for (const char* magic : {"zeqz", "ZEQ ", "zeq\n", " qez", "Zqez", "zzzz"}) {
        giveFile(smallPicture());
        file.bytes.replace(0, 4, magic);
        expectOpenError(corrupt);
        cutTo(4);
        expectOpenError(corrupt);
    }
}

// The checks stand behind the media header (the last of 10 reads, or of 12 with the extension
// block), behind the 4 fields of the frame header and behind the data. A set end-of-file bit makes
// the next read fail, so that only the last read before a check can show it alone.
TEST_F(VelmoraMediaFileReaderTest, everyReadThatGoesWrongIsNoticed)
{
    for (const auto& [revision, mediaReads] : {std::pair{0, 10}, {2, 12}})
        for (const auto bits : {std::ios::badbit, std::ios::failbit, std::ios::eofbit})
            for (int read = 1; read <= mediaReads + 5; ++read) {
                SCOPED_TRACE(read);
                file = {.bytes = smallPicture(static_cast<std::uint8_t>(revision)).bytes(),
                        .faultyRead = read,
                        .faultBits = bits};
                const bool last = read == mediaReads || read >= mediaReads + 4;
                const auto& text = bits == std::ios::eofbit && last ? bad : endOfFile;
                if (read < mediaReads + 5) {
                    expectOpenError(text);
                    continue;
                }
                open();
                expectReadError(text);
                expectClosed();
            }
}

TEST_F(VelmoraMediaFileReaderTest, unsupportedCodesAreRefusedWhenTheFrameIsRead)
{
    const std::pair<std::uint32_t, std::string> cases[] = {
        {0x201, "0201"}, {0x110C, "110c"}, {0, "0000"}, {0xFFFFFFFF, "ffffffff"}};
    for (const auto& [code, digits] : cases) {
        giveFile(MediaFileBytes::picture(code, 8, 4, ""));
        open();
        for (const bool directReading : {false, true}) {
            reader.setReadMethod(false, directReading);
            expectReadError("Frame reading is not supported for media header format 0x" + digits);
        }
        EXPECT_EQ(reader.mediaHeader().mediaFormatCode, code) << "The file stays open";
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
        bool isFramesOwn;
    } cases[] = {
        {0x206, 65535, 65535, "Expecting input data byte count 17179344900, got 4294443012", true},
        {0x206, 32768, 32768, "Expecting input data byte count 4294967296, got 0", true},
        {0x200, 65535, 65535, "Expecting input data byte count 12884508675, got 4294574083", true},
        {0x10200, 65534, 65534,
         "Expecting input byte count 19326173202 (65534x32767x9 matrix), got 2146304018 bytes",
         true},
        {0x1108, 1921, 1,
         "Frame format column pixel packing of 2 pixels is incompatible with supplied image "
         "columns of 1921",
         true},
        {0x20000000, 65535, 65535,
         "Frame format column pixel packing of 4 pixels is incompatible with supplied image "
         "columns of 65535",
         true},
        {0x40, 2, 65535,
         "Frame format row pixel packing of 2 pixels is incompatible with supplied image rows of "
         "65535",
         true},
        {0x40, 2, 1,
         "Frame format row pixel packing of 2 pixels is incompatible with supplied image rows of 1",
         true},
        {0x20000000, 65532, 65532, endOfFile, false},
        {0x206, 32767, 32767, endOfFile, false},
        {0x200, 1, 1, endOfFile, false},
    };
    for (const auto& [code, width, height, text, isFramesOwn] : cases) {
        giveFile(MediaFileBytes::picture(code, width, height, ""));
        open();
        if (isFramesOwn)
            expectReadError<std::runtime_error>(text);
        else
            expectReadError(text);
        expectClosed();
        EXPECT_EQ(pool->largest, 0u);
    }
}

TEST_F(VelmoraMediaFileReaderTest, anUnwillingFrameClosesTheFileAlsoWhenItsDataIsThere)
{
    giveFile(MediaFileBytes::picture(0x1108, 3, 1, noise(5)));
    file.faultyRead = 15;
    file.faultBits = std::ios_base::badbit;
    open();
    expectReadError<std::runtime_error>(
        "Frame format column pixel packing of 2 pixels is incompatible with supplied image columns "
        "of 3");
    expectClosed();
}

TEST_F(VelmoraMediaFileReaderTest, staysOpenWhileThereIsNoMemory)
{
    giveFile(smallPicture());
    open();
    Velmora::ImageFrame::setMemoryPool(nullptr);
    expectReadError<std::runtime_error>(noPool);
    const InstalledPool again;
    expectFrame(RGB_U8(), 2, 3, noise(18));

    giveFile(smallPicture());
    cutTo(28);
    open();
    Velmora::ImageFrame::setMemoryPool(nullptr);
    expectReadError<std::runtime_error>(noPool);
    expectStillOpen();
}

TEST_F(VelmoraMediaFileReaderTest, failuresCarryTheNameOfTheFile)
{
    const auto expectName = [](const std::string& name, const std::string& text, auto operation) {
        try {
            operation();
            ADD_FAILURE() << "Nothing was thrown";
        } catch (const MediaFileAccessException& exception) {
            EXPECT_EQ(exception.fileName(), name);
            EXPECT_EQ(exception.message(), text);
            EXPECT_EQ(exception.what(), text);
        }
    };
    const auto header = [&] { reader.mediaHeader(); };
    expectName("", noHeader, header);
    file.hasStreams = false;
    expectName("\xC3\xA9", "Could not create filestream object", [&] { reader.open(L"\x00E9"); });
    file = {.openings = 0};
    expectName("\xFF?", "Failed to open file", [&] { reader.open(std::wstring(L"\xDCFF\0", 2)); });
    expectName("", noHeader, header);
    file = {};
    expectName("opened", corrupt, [&] { reader.open(L"opened"); });
    file = {.openings = 0};
    expectName("other", "Failed to open file", [&] { reader.open(L"other"); });
    expectName("opened", noHeader, header);
}

TEST_F(VelmoraMediaFileReaderTest, everyOpenForgetsTheFileBefore)
{
    const std::pair<std::string, FakeFile> cases[] = {
        {"Could not create filestream object", {.hasStreams = false}},
        {"Failed to open file", {.openings = 0}},
        {corrupt, {}},
        {endOfFile, {.bytes = smallPicture().bytesCutTo(27)}},
    };
    for (const auto& [text, next] : cases) {
        file = {.bytes = smallPicture().bytes()};
        open();
        file = next;
        expectOpenError(text);
    }
}

TEST_F(VelmoraMediaFileReaderTest, readsByTheMethodThatWasSet)
{
    for (const bool directReading : {false, true}) {
        reader.setReadMethod(true, directReading);
        giveFile(smallPicture());
        open();
        expectReadError<std::runtime_error>(noTextures);
        expectClosed();
        auto content = smallPicture();
        content.frameHeight = 3;
        giveFile(content);
        open();
        // The frame is read before it would become a texture.
        if (directReading)
            expectReadError<std::runtime_error>("Expecting input data byte count 27, got 18");
        else
            expectReadError(endOfFile);
    }
}

TEST_F(VelmoraMediaFileReaderTest, takesAnyReadMethod)
{
    VelmoraMediaFileReader* given = nullptr;
    reader.setReadMethod([&](VelmoraMediaFileReader& self) {
        given = &self;
        return std::unique_ptr<Velmora::IFrame>();
    });
    EXPECT_EQ(reader.readFrame(), nullptr);
    EXPECT_EQ(given, &reader);
    reader.setReadMethod({});
    EXPECT_THROW(reader.readFrame(), std::bad_function_call);
}

}
