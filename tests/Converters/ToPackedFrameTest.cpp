#include "MediaConversion/Converters/ImageToFullFrame.h"
#include "MediaConversion/Converters/ImageToPackedFrame.h"
#include "MediaConversion/MediaPipeline/Formats.h"
#include "tests/Converters/EncodedFrames.h"

#include <cmath>
#include <limits>

namespace MediaConversion {
namespace {

using namespace Velmora::Formats;
using Velmora::FrameFormat;

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

TEST(ToPackedFrame, hasItsTableOfPairs)
{
    std::vector<ConversionRow> rows{{RGB_U10(), {RGB_DPX_FILLED()}},
                                    {RGB_U12(), {RGB_SMPTE_2110()}},
                                    {BGR_U12(), {RGB_SMPTE_2110(), BGR_SMPTE_2110()}}};
    for (const auto& source : {RGB_U8(), BGR_U8(), BGR_U16(), BGR_F32(), BGRA_U8(), BGRA_U16(),
                               BGRA_F32(), ARGB_U8(), ARGB_U15plus1()})
        rows.push_back(
            {source, {RGB_DPX_FILLED(), BGR_DPX_FILLED(), RGB_SMPTE_2110(), BGR_SMPTE_2110()}});
    expectPairs(ImageToPackedFrame::conversions(), rows);
    EXPECT_EQ(ImageToPackedFrame::conversions().size(), 40u);
}

TEST(ToPackedFrame, refusesWhatItCannotPack)
{
    const std::string packing = "Packing is not supported from ";
    // clang-format off
    expectRefused<ImageToPackedFrame>({
        {std::make_shared<ForeignImageFrame>(RGB_U8(), cv::Mat()), RGB_DPX_FILLED(), "Can only convert FullFrame images"},
        {std::make_shared<ForeignImageFrame>(RGB_U8(), cv::Mat()), RGB_DPX_PACKED(), "Can only convert FullFrame images"},
        {randomFrame(RGB_DPX_FILLED(), 2, 2), RGB_DPX_FILLED(), "Can only convert FullFrame images"},
        {randomFrame(RGB_U8(), 3, 3),  RGB_DPX_PACKED(), packing + "RGB_U8_RGB to RGB_U12_RGB-DPX-PACKED"},
        {randomFrame(RGB_U8(), 0, 0),  YUYV_422(),       packing + "RGB_U8_RGB to YCbCr_ITU_T871_U8_YUYV-422"},
        {randomFrame(RGB_U10(), 3, 3), BGR_DPX_FILLED(), packing + "RGB_U10_RGB to RGB_U10_BGR-DPX-FILLED"},
        {randomFrame(RGB_U12(), 3, 3), BGR_SMPTE_2110(), packing + "RGB_U12_RGB to RGB_U12_BGR-SMPTE-2110"},
        {randomFrame(RGBA_U8(), 3, 3), RGB_SMPTE_2110(), packing + "RGBA_U8_RGBA to RGB_U12_RGB-SMPTE-2110"},
        {randomFrame(RGB_U8(), 1, 2),    RGB_SMPTE_2110(), "Frame format column pixel packing of 2 pixels is incompatible with supplied image columns of 1"},
    });
    // clang-format on
}

TEST(ToPackedFrame, packsChannelsByTheirRule)
{
    // clang-format off
    expectEncoded<ImageToPackedFrame>({
        {"firstOnTop",     RGB_U10(),       {1, 2, 4},             RGB_DPX_FILLED(), {0x10, 0x20, 0x40, 0x00}},
        {"redFirst",       BGRA_U8(),       {0, 0, 255, 255},      RGB_DPX_FILLED(), {0x00, 0x00, 0xC0, 0xFF}},
        {"rounded8To10",   RGB_U8(),        {128, 1, 254},         RGB_DPX_FILLED(), {0xEC, 0x4F, 0x80, 0x80}},  // 514 4 1019
        {"beyond10",       RGB_U10(),       {1024, 65535, 1022},   RGB_DPX_FILLED(), {0xF8, 0xFF, 0xFF, 0xFF}},
        {"plus1",          ARGB_U15plus1(), {0, 16384, 32769, 17}, RGB_DPX_FILLED(), {0x04, 0xF0, 0x3F, 0x80}},  // 512 1023 1
        {"specials",       BGR_F32(),       {notANumber, infinity, -infinity}, BGR_DPX_FILLED(), {0x00, 0xF0, 0x3F, 0x00}},
        {"halfUp",         BGRA_F32(),      {0.5, 0.25, 0.125, 0}, BGR_DPX_FILLED(), {0x00, 0x02, 0x10, 0x80}},  // 512 256 128
        {"highBitsFirst",  RGB_U12(),       {0x123, 0x456, 0x789, 0xABC, 0xDEF, 0x012}, RGB_SMPTE_2110(),
         {0x12, 0x34, 0x56, 0x78, 0x9A, 0xBC, 0xDE, 0xF0, 0x12}},
        {"redAndBlue12",   BGR_U12(),       {0x123, 0x456, 0x789, 0xABC, 0xDEF, 0x012}, RGB_SMPTE_2110(),
         {0x78, 0x94, 0x56, 0x12, 0x30, 0x12, 0xDE, 0xFA, 0xBC}},
        {"specialsTo12",   BGR_F32(),       {notANumber, infinity, -infinity, 0.5, -1, 2}, BGR_SMPTE_2110(),
         {0x00, 0x0F, 0xFF, 0x00, 0x08, 0x00, 0x00, 0x0F, 0xFF}},
    });
    // clang-format on
}

// Odd multipliers run through all values that 16 bits can store, in each channel in another order.
// Floats are every tie between two codes of either depth and its two neighbours, then random bits.
TEST(ToPackedFrame, packsEveryValueOfEveryChannel)
{
    for (const auto& source : sourcesOf<ImageToPackedFrame>()) {
        cv::Mat pixels = randomMatrix(source, 256, 256);
        for (int index = 0; index < 65536 * pixels.channels(); ++index) {
            const int channel = index % pixels.channels();
            const int value = index / pixels.channels() * (2 * channel + 1) & 0xFFFF;
            const float tie = (float(value / 6) + 0.5f) / (value / 3 % 2 ? 1023.0f : 4095.0f);
            if (pixels.depth() == CV_8U)
                pixels.data[index] = static_cast<std::uint8_t>(value);
            else if (pixels.depth() == CV_16U)
                pixels.ptr<std::uint16_t>()[index] = static_cast<std::uint16_t>(value);
            else if (value < 6 * 4096)
                pixels.ptr<float>()[index] = std::nextafter(tie, tie + float(value % 3 - 1));
        }
        expectEncodedAsPlain<ImageToPackedFrame>(source, pixels);
    }
}

TEST(ToPackedFrame, packsFramesOfAllShapes)
{
    expectAllShapesEncodedAsPlain<ImageToPackedFrame>();
}

TEST(ToPackedFrame, packsWhatWasUnpacked)
{
    int ways = 0;
    for (const auto& entry : ImageToPackedFrame::conversions()) {
        const auto& [full, packing] = entry.first;
        if (full.channelType == Velmora::ChannelType::U8 ||
            !ImageToFullFrame::conversions().contains({packing, full}))
            continue;
        ++ways;
        cv::Mat groups = randomMatrix(packing, 256, 512);
        if (groups.type() == CV_32SC1)
            for (auto* byte = groups.data; byte < groups.dataend; byte += 4)
                *byte &= 0xFC;
        EXPECT_TRUE(sameBytes(
            groups, encoded<ImageToPackedFrame>(
                        full, converted<ImageToFullFrame>(packing, groups, full), packing)))
            << toString(packing) << " by " << toString(full);
    }
    EXPECT_EQ(ways, 16);
}

}
}
