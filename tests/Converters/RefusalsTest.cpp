#include "MediaConversion/Converters/ImageProcessors.h"
#include "tests/Converters/ConvertedFrames.h"
#include "tests/MediaPipeline/Fakes.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

// What the converters refuse. Most frames are wrong in several ways: the check that comes first has
// the word.
namespace MediaConversion {
namespace {

using namespace Velmora::Formats;
using Velmora::ChannelType;
using Velmora::FrameFormat;

auto frame(const FrameFormat& format, int columns = 3, int rows = 3)
{
    return frameOver(format, randomMatrix(format, rows, columns));
}

struct Refusal
{
    std::shared_ptr<const Velmora::IImageFrame> frame;
    FrameFormat destination;
    std::string text;
};

template <class Processor>
void expectRefused(const std::vector<Refusal>& refusals)
{
    for (const auto& row : refusals)
        expectError(row.text, [&] { Processor(row.destination).onNewImage(row.frame); });
}

const std::string fullOnly = "Can only convert FullFrame images";
const std::string packedOnly = "Can only convert PackedFrame images";
const std::string noData = "no image data in frame";

// clang-format off

TEST(Refusals, ofUnpackingAndPacking)
{
    const std::string unpacking = "Unpacking is not supported from ";
    expectRefused<ImageToFullFrame>({
        {frame(YUYV_422(), 0, 0),   BGRA_U8(),    unpacking + "YCbCr_ITU_T871_U8_YUYV-422 to RGBA_U8_BGRA"},
    });
    const std::string packing = "Packing is not supported from ";
    expectRefused<ImageToPackedFrame>({
        {std::make_shared<OtherImage>(cv::Mat(), RGB_U8()), RGB_DPX_FILLED(), fullOnly},
        {nullptr,                   RGB_DPX_FILLED(), fullOnly},
        {frame(RGB_DPX_FILLED()),   RGB_DPX_FILLED(), packing + "RGB_U10_RGB-DPX-FILLED to RGB_U10_RGB-DPX-FILLED"},
        {frame(RGB_U10(), 0, 0),    BGR_DPX_FILLED(), packing + "RGB_U10_RGB to RGB_U10_BGR-DPX-FILLED"},
        {frame(RGB_U8(), 1, 2),     RGB_SMPTE_2110(), "Frame format column pixel packing of 2 pixels is incompatible with supplied image columns of 1"},
    });
}

TEST(Refusals, ofDecoding)
{
    const std::string pair = "RGB conversion is not supported from ";
    expectRefused<ImageYCbCr42xToRGB>({
        {frame(BGR_U8(), 0, 0),          RGB_U8(),   packedOnly},
        {frame(ZEQ_4224_HYBRID(), 0, 0), BGRA_U16(), pair + "YCbCrA_ITU_T871_U12_ZEQ-4224-HYBRID to RGBA_U16_BGRA"},
        {frame(YUYV_422(), 0, 3),        RGB_U8(),   noData},
        {frame(ZEQ_422(), 3, 0),         RGB_U16(),  noData},
    });
    expectRefused<ImageYCoCgDXT5toRGB>({
        {frame(CoCgAY_U8(), 0, 0),  RGB_U8(),     packedOnly},
        {frame(RGB_DXT1(), 0, 0),   BGR_U16(),    pair + "RGB_U8_RGB-DXT1 to RGB_U16_BGR"},
        {frame(YCoCg_DXT5(), 0, 3), BGRA_U8(),    noData},
    });
}

TEST(Refusals, ofEncoding)
{
    const std::string yCbCr = "YCbCr 4:2:2 conversion is not supported from ";
    const std::string odd = "is incompatible with supplied image ";
    expectRefused<ImageRGBtoYCbCr42x>({
        {frame(ARGB_U8(), 0, 0),  ZEQ_420(),         yCbCr + "RGBA_U8_ARGB to YCbCr_ITU_T871_U8_ZEQ-420"},
        {frame(RGB_U8(), 0, 3),   YUYV_422(),        noData},
        {frame(RGB_U8(), 3, 3),   ZEQ_420(),         "Frame format column pixel packing of 2 pixels " + odd + "columns of 3"},
        {frame(RGB_U8(), 4, 3),   ZEQ_420(),         "Frame format row pixel packing of 2 pixels " + odd + "rows of 3"},
    });
    const std::string dxt = "DXT conversion is not supported from ";
    expectRefused<ImageRGBtoYCoCgDXT5>({
        {frame(RGB_U8(), 0, 0),  RGB_DXT1(),   dxt + "RGB_U8_RGB to RGB_U8_RGB-DXT1"},
        {frame(RGBA_U8(), 0, 3), RGB_DXT1(),   noData},
        {frame(BGRA_U8(), 8, 7), YCoCg_DXT5(), "Frame format row pixel packing of 4 pixels " + odd + "rows of 7"},
    });
    // Each conversion of the table by itself, before the frame's size is looked at.
    for (const auto& [pair, encode] : ImageRGBtoYCoCgDXT5::conversions()) {
        const bool isDxt1 = pair.second == RGB_DXT1();
        const Velmora::FullFrame odd3(pair.first, randomMatrix(pair.first, 3, 3));
        expectError(
            isDxt1 ? "DXT1 conversion destination format only supports RGB_U8_RGB-DXT1, no support for  YCoCg_U8_YCoCg-DXT5"
                   : "DXT5 conversion destination format only supports YCoCg_U8_YCoCg-DXT5, no support for  RGB_U8_RGB-DXT1",
            [&, &convert = encode] { convert(odd3, isDxt1 ? YCoCg_DXT5() : RGB_DXT1()); });
    }
}

TEST(Refusals, ofChangesBetweenFullFrames)
{
    const std::string pair = "Colourspace conversion is not supported from ";
    expectRefused<ImageColourspace>({
        {frame(RGB_DXT1()),   BGR_U8(),   fullOnly},
        {frame(BGRA_F32()),   BGR_F32(),  pair + "RGBA_F32_BGRA to RGB_F32_BGR"},
    });
    const auto withType = [](FrameFormat format, ChannelType channelType, std::uint32_t bytes) {
        format.channelType = channelType;
        format.pixelPacking.bytesPerGroup = bytes;
        return format;
    };
    const std::string types = "Bit depth conversion is not supported from ";
    expectRefused<ImageBitDepth>({
        {frame(RGB_DXT1()),     BGRA_U16(),  fullOnly},
        {frame(BGRA_U8()),      BGR_U16(),   "Source colourspace RGBA does not match destination colourspace RGB"},
        {frame(BGR_U10()),      RGB_U16(),   "Source channel format BGR does not match destination channel format RGB"},
        {frame(RGB_U10()),      RGB_U16(),   types + "U10 to U16"},
        {frame(RGB_U8()),       withType(RGB_U8(), static_cast<ChannelType>(6), 3), types + "U8 to (Unknown ChannelType 6)"},
        // The types convert, but there is no such frame.
        {frame(ARGB_U8()),      withType(ARGB_U8(), ChannelType::U12, 8), "OpenCV type not defined for frame format RGBA_U12_ARGB"},
    });
}

// clang-format on

}
}
