#include "MediaConversion/MediaFile/Headers.h"

#include "MediaConversion/MediaFile/VelmoraMediaFileReader.h"
#include "tests/MediaFile/ReaderFixture.h"

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <stdexcept>
#include <string>
#include <utility>

using namespace MediaConversion;
using namespace MediaFileTests;
using namespace Velmora::Formats;

namespace {

using MediaFormatCodesTest = ReaderFixture;

TEST_F(MediaFormatCodesTest, areThirteenAndEachMakesItsFrame)
{
    EXPECT_EQ(mediaFormatCodes().size(), 13u);
    for (const auto& [code, format] : mediaFormatCodes()) {
        SCOPED_TRACE(toString(format));
        const auto& packing = format.pixelPacking;
        const auto rows = static_cast<int>(4 / packing.rowsPerGroup);
        const auto columns = static_cast<int>(8 / packing.columnsPerGroup);
        const auto data = noise(std::size_t(rows * columns) * packing.bytesPerGroup);
        giveFile(MediaFileBytes::picture(code, 8, 4, data));
        expectFrame(format, rows, columns, data);
    }
}

TEST_F(MediaFormatCodesTest, othersAreRefusedWhenTheFrameIsReadAndTheFileStaysOpen)
{
    const std::string text = "Frame reading is not supported for media header format 0x";
    for (const auto& [code, digits] : {std::pair{0x201u, "0201"}, {0xABCD1234u, "abcd1234"}}) {
        giveFile(MediaFileBytes::picture(code, 8, 4, ""));
        open();
        expectReadError(text + digits);
        EXPECT_EQ(reader.mediaHeader().mediaFormatCode, code);
    }
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

}
