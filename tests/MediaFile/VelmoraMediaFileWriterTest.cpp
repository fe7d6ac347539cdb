#include "MediaConversion/MediaFile/VelmoraMediaFileWriter.h"

#include "MediaConversion/MediaFile/AtomicFile.h"
#include "MediaConversion/MediaFile/DirectFileStreams.h"
#include "MediaConversion/MediaFile/Headers.h"
#include "MediaConversion/MediaFile/VelmoraMediaFileReader.h"
#include "MediaConversion/MediaPipeline/Formats.h"
#include "tests/MediaFile/FakeFile.h"
#include "tests/MediaFile/FileSizeLimit.h"
#include "tests/MediaFile/TemporaryFolder.h"
#include "tests/support/Pools.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <array>
#include <tuple>

using namespace MediaConversion;
using namespace MediaFileTests;
using namespace Velmora::Formats;
namespace fs = std::filesystem;

struct VelmoraMediaFileWriterTest : testing::Test
{
    // Writes `pixels`, with `rest` groups behind each row of the frame; returns the failure's text.
    std::string write(const std::string& fileName, const Velmora::FrameFormat& format, int rows,
                      int columns, const MediaFileOptions& options = {}, int rest = 0)
    try {
        const int type = CV_8UC(static_cast<int>(format.pixelPacking.bytesPerGroup));
        const auto image = cv::Mat(rows, columns + rest, type, pixels.data()).colRange(0, columns);
        const Velmora::ImageFrame frame({{format, type}}, format, image, false);
        writer.write(wideFileName(fileName), frame, options);
        return "";
    } catch (const MediaFileAccessException& exception) {
        EXPECT_EQ(exception.fileName(), displayFileName(wideFileName(fileName)));
        return exception.what();
    }

    TemporaryFolder folder;
    // Not UTF-8, and as long as a name can be.
    std::string name = folder.file("\xFF\xC3(" + std::string(252, 'n'));
    VelmoraMediaFileWriter writer;
    std::string pixels = "first row...the other...";
};

// With its headers, a file of four bytes for each group has 4096 bytes.
TEST_F(VelmoraMediaFileWriterTest, everyFormatAndKindOfFileIsReadBack)
{
    const InstalledPool installed;
    DirectFileStreamFactory streams;
    VelmoraMediaFileReader reader(streams);
    reader.setCachingMode(CachingMode::Cached);
    EXPECT_EQ(mediaFormatCodes().size(), 13u);
    for (const auto& [code, format] : mediaFormatCodes())
        for (const auto revision : std::to_array<std::uint8_t>({0, 1, 2, 255})) {
            const bool isOdd = revision % 2 != 0;
            const auto magic = isOdd ? MediaFileMagic::ZeqZ : MediaFileMagic::Zeq;
            pixels = noise(1017 * format.pixelPacking.bytesPerGroup);
            write(name, format, 1, 1017, {magic, 1, 2, revision, 4, 0xA1A2, 0xB1B2, 0xC1C2});
            EXPECT_EQ(folder.content(name).substr(0, 4), isOdd ? "zeqZ" : "zeq ");
            reader.setReadMethod(false, !isOdd);
            reader.open(wideFileName(name));
            EXPECT_EQ(reader.mediaHeader(),
                      (MediaHeader{1, 2, revision, 4, code, 0xB1B2, 0xC1C2, magic}));
            EXPECT_EQ(reader.frameHeader().frameField1, 0xA1A2);
            const auto frame = reader.readFrame();
            EXPECT_EQ(frame->format(), format);
            const auto& image = dynamic_cast<Velmora::ImageFrame&>(*frame).image();
            EXPECT_EQ(image.size(), cv::Size(1017, 1));
            EXPECT_EQ(std::string(image.datastart, image.dataend), pixels);
        }
}

TEST_F(VelmoraMediaFileWriterTest, replacesFilesAndKeepsTheirPermissionsAndLinks)
{
    const std::string start("zeq \0\0\0\0\0\2\0\0\3\0\0\0\2\0\0\0", 20);
    const auto end = std::string("\3\0\0\0\2\0\0\0", 8) + "first rowthe other";
    const auto umask = ::umask(027);
    write(name, RGB_U8(), 2, 3, {}, 1);
    ::umask(umask);
    EXPECT_EQ(folder.content(name), start + end);
    EXPECT_EQ(fs::status(name).permissions(), fs::perms{0640});

    fs::permissions(name, fs::perms{0606});
    fs::create_symlink(name, folder.file("link"));
    write(folder.file("link"), RGB_U8(), 2, 3, {.headerRevision = 2}, 1);
    EXPECT_TRUE(fs::is_symlink(folder.file("link")));
    EXPECT_EQ(folder.content(name),
              std::string(start).replace(6, 1, "\2") + std::string(20, '\0') + end);
    EXPECT_THAT(folder.files(), testing::SizeIs(2));
    EXPECT_EQ(fs::status(name).permissions(), fs::perms{0606});
}

TEST_F(VelmoraMediaFileWriterTest, whatCannotBeWrittenLeavesTheFolderAsItWas)
{
    const std::tuple<std::string, Velmora::FrameFormat, int, int, std::string> cases[] = {
        // clang-format off
        {"",                   RGB_U10(),     0, 65536, "Frame writing is not supported for frame format RGB_U10_RGB"},
        {"",                   RGB_U8(),      0, 65536, "Frame has no pixels"},
        {"",                   RGB_U8(),  65536,     1, "Media file cannot hold a frame of 1x65536 pixels"},
        {"",                   ZEQ_420(),     1, 32768, "Media file cannot hold a frame of 65536x2 pixels"},
        {"",                   BGRA_U8(), 32768, 32768, "Media file cannot hold a frame of 4294967296 bytes"},
        {"",                   BGRA_U8(), 16384, 65535, "Failed to create file: Not a file name"},
        {name + '\0',          RGB_U8(),  65535,     1, "Failed to create file: Not a file name"},
        {folder.file("d"),     ZEQ_420(),     1, 32767, "Failed to create file: Is a directory"},
        {folder.file("fifo"),  RGB_U8(),      1,     1, "Failed to create file: Not a regular file"},
        {folder.file("link"),  RGB_U8(),      1,     1, "Failed to create file: No such file or directory"},
        // clang-format on
    };
    writeFile(name, "old");
    ::mkfifo(folder.file("fifo").c_str(), 0666);
    fs::create_symlink("nothing", folder.file("link"));
    fs::create_directory(folder.file("d"));
    for (const auto& [fileName, format, rows, columns, text] : cases)
        EXPECT_EQ(write(fileName, format, rows, columns), text);

    for (rlim_t size = 0; size < 28 + 18; ++size) {
        const FileSizeLimit limit(size);
        EXPECT_EQ(write(name, RGB_U8(), 2, 3), "Failed to write file: File too large");
    }
    for (const auto& [fileName, reason] : {std::pair{folder.file("d"), EISDIR},
                                           {folder.file("none/a"), ENOENT},
                                           {folder.file("fifo"), 0}})
        try {
            writer.write(wideFileName(fileName), Velmora::FullFrame(RGB_U8(), 1, 1));
            ADD_FAILURE() << fileName;
        } catch (const MediaFileAccessException& error) {
            EXPECT_EQ(error.reason().value(), reason);
        }
    writer = VelmoraMediaFileWriter([](const std::wstring& fileName) {
        auto created = std::make_unique<AtomicFile>(fileName);
        fs::create_directory(narrowFileName(fileName).value());
        return created;
    });
    EXPECT_EQ(write(folder.file("new"), RGB_U8(), 2, 3), "Failed to write file: Is a directory");
    EXPECT_EQ(folder.content(name), "old");
    EXPECT_THAT(folder.files(), testing::SizeIs(5));
    EXPECT_THAT(folder.descriptorFlags(), testing::IsEmpty());
}
