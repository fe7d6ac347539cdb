#include "MediaConversion/MediaFile/MediaFormatCodes.h"

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
    // The matrix of a picture of 8 x 4 pixels.
    const struct
    {
        std::uint32_t code;
        Velmora::FrameFormat format;
        int rows, columns, bytesPerElement;
    } cases[] = {
        // clang-format off
        {0x00000008, YUYV_422(),        4, 4, 4 },
        {0x00000040, ZEQ_420(),         2, 4, 6 },
        {0x00000200, RGB_U8(),          4, 8, 3 },
        {0x00000202, BGR_U8(),          4, 8, 3 },
        {0x00000204, RGBA_U8(),         4, 8, 4 },
        {0x00000206, BGRA_U8(),         4, 8, 4 },
        {0x00001108, ZEQ_422(),         4, 4, 5 },
        {0x00001200, RGB_DPX_FILLED(),  4, 8, 4 },
        {0x00001202, BGR_DPX_FILLED(),  4, 8, 4 },
        {0x0001100C, ZEQ_4224_HYBRID(), 4, 4, 8 },
        {0x00010200, RGB_SMPTE_2110(),  4, 4, 9 },
        {0x00010202, BGR_SMPTE_2110(),  4, 4, 9 },
        {0x20000000, YCoCg_DXT5(),      1, 2, 16},
        // clang-format on
    };
    EXPECT_EQ(mediaFormatCodes().size(), std::size(cases));
    for (const auto& [code, format, rows, columns, bytesPerElement] : cases) {
        SCOPED_TRACE(toString(format));
        const auto data = noise(static_cast<std::size_t>(rows * columns * bytesPerElement));
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
