#include "tests/reader/ReaderTest.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <array>
#include <clocale>
#include <memory>

using namespace testing;

namespace {

const char* const corrupt = "Media file is corrupt";
const char* const endOfFile = "Media file has unexpectedly reached End-Of-File";
const char* const notOpened = "Failed to open file";

class Construction : public ReaderTest
{
protected:
    // The reader is there all the same, but knows of no picture.
    void expectFailure(const std::string& fileName, const std::string& message)
    {
        auto reader = construct(fileName);
        EXPECT_THAT(reader.takeMessages(), ElementsAre(message)) << fileName;
        EXPECT_EQ(reader.reader().width(), 0);
        EXPECT_EQ(reader.reader().height(), 0);
        EXPECT_EQ(reader.reader().depth(), 0);
        EXPECT_EQ(reader.reader().info().channels(), DD::Image::Mask_None);

        DD::Image::Row row(0, 1);
        reader.reader().engine(0, 0, 1, DD::Image::Mask_RGBA, row);
        EXPECT_THAT(reader.takeMessages(), ElementsAre("No input frame!"));
    }
};

// Names no file.
class NamelessOperator final : public DD::Image::Read
{
public:
    const char* filename() const override { return nullptr; }
    std::string messages;

private:
    void onCritical(const std::string& message) override { messages += message + "\n"; }
};

}

TEST_F(Construction, tellsTheHostSizeDepthAndChannels)
{
    const struct
    {
        std::uint32_t code;
        int depth;
    } cases[] = {
        {0x00000008, 8},  {0x00000040, 8},  {0x00000200, 8},  {0x00000202, 8},  {0x00000204, 8},
        {0x00000206, 8},  {0x00001108, 10}, {0x00001200, 10}, {0x00001202, 10}, {0x0001100C, 12},
        {0x00010200, 12}, {0x00010202, 12}, {0x20000000, 8},
    };
    for (const auto& [code, depth] : cases) {
        auto reader = construct(write(MediaFileBytes::picture(code, 4096, 2304, "")));
        EXPECT_THAT(reader.takeMessages(), IsEmpty()) << std::hex << code;
        const auto& info = reader.reader().info();
        EXPECT_EQ(info.width(), 4096);
        EXPECT_EQ(info.height(), 2304);
        EXPECT_EQ(info.pixelAspect(), 1.0);
        EXPECT_EQ(info.channels(), DD::Image::Mask_RGBA);
        EXPECT_EQ(reader.reader().depth(), depth) << std::hex << code;
    }
}

TEST_F(Construction, refusesCodesThatStandForNoFormat)
{
    const struct
    {
        std::uint32_t code;
        const char* digits;
    } cases[] = {
        {0x00000000, "0000"},
        {0x00000201, "0201"},
        {0x0001100D, "1100d"},
        {0xFFFFFFFF, "ffffffff"},
    };
    for (const auto& [code, digits] : cases)
        expectFailure(
            write(MediaFileBytes::picture(code, 4, 4, "")),
            std::string("Frame reading is not supported for zeq media header format 0x") + digits);
}

TEST_F(Construction, refusesWhatIsNotAFileAndDoesNotWait)
{
    std::filesystem::create_directory(path("folder.zeq"));
    ASSERT_EQ(::mkfifo(path("pipe.zeq").c_str(), 0600), 0);
    for (const auto* name : {"missing.zeq", "missing/file.zeq", "folder.zeq", "pipe.zeq"})
        expectFailure(path(name), notOpened);
    expectFailure("", notOpened);
    expectFailure("/dev/zero", notOpened);
}

TEST_F(Construction, refusesHeadersCutAnywhere)
{
    for (const auto revision : std::to_array<std::uint8_t>({0, 1, 2, 255})) {
        auto file = tellingPicture(2, 2);
        file.headerRevision = revision;
        const std::size_t headerSize = revision > 1 ? 48 : 28;
        for (std::size_t size = 0; size < headerSize; ++size) {
            SCOPED_TRACE(size);
            expectFailure(write("cut.zeq", file.bytesCutTo(size)), size < 4 ? corrupt : endOfFile);
        }
        EXPECT_THAT(construct(write("cut.zeq", file.bytesCutTo(headerSize))).takeMessages(),
                    IsEmpty());
    }
}

TEST_F(Construction, takesEveryFileNameInAnyLocale)
{
    ASSERT_STREQ(std::setlocale(LC_ALL, nullptr), "C");
    const auto bytes = tellingPicture(2, 2).bytes();
    for (const auto* name : {"plain.zeq", "two words.zeq", "gr\xC3\xBC\xC3\x9F.zeq",
                             "\xE6\x97\xA5\xF0\x9F\x8E\xAC.zeq", "caf\xE9.zeq", "\xFF\xFE.zeq",
                             "cut\xC3.zeq", "\xED\xA0\x80.zeq", "100%s%n.zeq"}) {
        auto reader = construct(write(name, bytes));
        reader.open();
        EXPECT_THAT(reader.takeMessages(), IsEmpty()) << name;
    }
}

TEST_F(Construction, withoutAFileNameIsReported)
{
    NamelessOperator readOperator;
    const std::unique_ptr<DD::Image::Reader> reader(
        description().newReader(&readOperator, -1, nullptr, 0));
    EXPECT_EQ(readOperator.messages, "Reader could not obtain filename\n");
    reader->open();
    EXPECT_EQ(readOperator.messages,
              "Reader could not obtain filename\nReader could not obtain filename\n");
}

TEST_F(Construction, withoutAnOperatorReportsToStandardError)
{
    internal::CaptureStderr();
    const std::unique_ptr<DD::Image::Reader> reader(
        description().newReader(nullptr, -1, nullptr, 0));
    DD::Image::Row row(0, 1);
    reader->engine(0, 0, 1, DD::Image::Mask_RGBA, row);
    reader->open();
    EXPECT_EQ(
        internal::GetCapturedStderr(),
        "Invalid Op passed to qmxReader\nNo input frame!\nReader could not obtain filename\n");
}

TEST_F(Construction, takesTheDescriptorOver)
{
    const int descriptor = ::open(write(tellingPicture(2, 2)).c_str(), O_RDONLY);
    ASSERT_GE(descriptor, 0);
    NamelessOperator readOperator;
    {
        const std::unique_ptr<DD::Image::Reader> reader(
            description().newReader(&readOperator, descriptor, nullptr, 0));
        EXPECT_NE(::fcntl(descriptor, F_GETFD), -1);
    }
    EXPECT_EQ(::fcntl(descriptor, F_GETFD), -1);
}
