#include "tests/reader/ReaderTest.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <clocale>
#include <filesystem>
#include <memory>
#include <string>

using namespace testing;

using Construction = ReaderTest;

namespace {

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

TEST_F(Construction, refusesWhatIsNotAFileAndDoesNotWait)
{
    std::filesystem::create_directory(path("folder.zeq"));
    ASSERT_EQ(::mkfifo(path("pipe.zeq").c_str(), 0600), 0);
    for (const auto& name : {path("missing.zeq"), path("missing/file.zeq"), path("folder.zeq"),
                             path("pipe.zeq"), std::string(), std::string("/dev/zero")}) {
        auto reader = construct(name);
        EXPECT_THAT(reader.takeMessages(), ElementsAre("Failed to open file")) << name;
        EXPECT_EQ(reader.reader().depth(), 0);
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

// It is no business of the reader's, which only closes what it has taken over.
TEST_F(Construction, lettingOtherExceptionsThroughLeavesNothingOpen)
{
    class ThrowingOperator final : public DD::Image::Read
    {
        const char* filename() const override { throw 7; }
    } readOperator;
    const int descriptor = ::open(PLUG_IN, O_RDONLY);
    EXPECT_THROW(description().newReader(&readOperator, descriptor, nullptr, 0), int);
    EXPECT_EQ(::fcntl(descriptor, F_GETFD), -1);
}
