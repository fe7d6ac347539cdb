#include "MediaConversion/MediaFile/VelmoraMediaFileReader.h"

#include "MediaConversion/MediaFile/FileNames.h"
#include "MediaConversion/MediaFile/FileStreams.h"
#include "tests/MediaFile/ReaderFixture.h"
#include "tests/MediaFile/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <initializer_list>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

using namespace MediaConversion;
using namespace MediaFileTests;
using namespace Velmora::Formats;

namespace {

using VelmoraMediaFileReaderTest = ReaderFixture;

// A pool that knows how many bytes it has lent at most.
class CountingPool final : public Velmora::IMemoryPool
{
public:
    Velmora::IMemoryResource* acquire(std::uint64_t size) override
    {
        auto* const resource = m_pool.acquire(size);
        mostLent = std::max(mostLent, m_lent += resource->size());
        return resource;
    }
    void release(Velmora::IMemoryResource* resource) override
    {
        m_lent -= resource->size();
        m_pool.release(resource);
    }
    std::uint64_t count() const override { return m_pool.count(); }

    std::uint64_t mostLent = 0;

private:
    std::uint64_t m_lent = 0;
    Velmora::SelfPruningMemoryPool<Velmora::HostMemoryResource> m_pool;
};

TEST_F(VelmoraMediaFileReaderTest, keepsTheFieldsOfBothHeadersBehindEitherMagic)
{
    MediaFileBytes content{"zeq ", 0x81,   0x82,   0,      0x84,   0x98765432,
                           0xA1A2, 0xB1B2, 0xC1C2, 0xD1D2, 0xE1E2, ""};
    for (const auto revision : std::initializer_list<std::uint8_t>{0, 1, 2, 255})
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

TEST_F(VelmoraMediaFileReaderTest, isClosedByASizeThatIsNoPicture)
{
    auto oddWidth = smallPicture();
    oddWidth.mediaFormatCode = 0x8;
    for (const auto* data : {"", "more than enough"}) {
        oddWidth.data = data;
        giveFile(oddWidth);
        expectFrameError<std::runtime_error>(
            "Frame format column pixel packing of 2 pixels is incompatible with supplied image "
            "columns of 3");
    }
}

// A stream that cannot tell what is left gives it all the same. One that ends before the place
// where it stands was cut, or is of a system that calls every file empty.
TEST_F(VelmoraMediaFileReaderTest, takesMemoryForBytesThatAreThere)
{
    const auto pool = std::make_shared<CountingPool>();
    const InstalledPool counting(pool);
    const auto claim = MediaFileBytes::picture(0x8, 65534, 32767, "four");
    file.tellsItsEnd = false;
    giveFile(claim);
    expectFrameError(endOfFile);
    auto oddClaim = claim;
    oddClaim.frameWidth = 65535;
    giveFile(oddClaim);
    expectFrameError<std::runtime_error>(
        "Frame format column pixel packing of 2 pixels is incompatible with supplied image "
        "columns of 65535");

    const TemporaryFolder folder;
    const auto name = folder.file("cut.zeq");
    FileStreamFactory streams;
    VelmoraMediaFileReader cutMeanwhile(streams);
    for (const auto size : {0, 27, 28, 31}) {
        writeFile(name, claim.bytes());
        cutMeanwhile.open(wideFileName(name));
        std::filesystem::resize_file(name, static_cast<std::uintmax_t>(size));
        expectError<MediaFileAccessException>(endOfFile, [&] { cutMeanwhile.readFrame(); });
    }
    EXPECT_LE(pool->mostLent, 1u << 20);

    const auto large = MediaFileBytes::picture(0x200, 1500, 1000, noise(4500000));
    giveFile(large);
    expectFrame(RGB_U8(), 1000, 1500, large.data);
    EXPECT_LE(pool->mostLent, 3 * large.data.size());
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
