#include "tests/Converters/ConvertedFrames.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

namespace MediaConversion {
namespace {

using namespace Velmora::Formats;
using Velmora::FrameFormat;

TEST(Colourspace, movesChannelsAndAddsOpaqueAlpha)
{
    // clang-format off
    expectCases<ImageColourspace>({
        {"swapped",       RGB_U8(),  {1, 2, 3},    BGR_U8(),   {3, 2, 1}},
        {"added",         RGB_U8(),  {1, 2, 3},    RGBA_U8(),  {1, 2, 3, 255}},
        {"swappedAdded",  RGB_U8(),  {1, 2, 3},    BGRA_U8(),  {3, 2, 1, 255}},
        {"swapped",       RGBA_U8(), {1, 2, 3, 4}, BGRA_U8(),  {3, 2, 1, 4}},
        {"addedToFloats", BGR_F32(), {-1, 0.5, 2}, BGRA_F32(), {-1, 0.5, 2, 1}},
    });
    // clang-format on
}

TEST(BitDepth, scalesRoundsAndSaturates)
{
    const FrameFormat yCbCrU8{
        Velmora::Colourspace::YCbCr_ITU_T871, Velmora::ChannelType::U8, {3, 3, 1, 1}, "YCbCr"};
    const FrameFormat yCbCrF32{
        Velmora::Colourspace::YCbCr_ITU_T871, Velmora::ChannelType::F32, {12, 3, 1, 1}, "YCbCr"};
    // Integers saturate at what their storage holds, not at full scale; ties go to the even number.
    // clang-format off
    expectCases<ImageBitDepth>({
        {"U8 to U12",        BGR_U8(),       {1, 128, 255},      BGR_U12(),      {16, 2056, 4095}},
        {"U8 to U15plus1",   ARGB_U8(),      {255, 0, 1, 2},     ARGB_U15plus1(), {32768, 0, 129, 257}},
        {"U12 to U8",        RGB_U12(),      {2048, 4095, 65535}, RGB_U8(),      {128, 255, 255}},
        {"U12 to U15plus1",  RGB_U12(),      {4095, 8190, 65535}, RGB_U15plus1(), {32768, 65535, 65535}},
        {"U15plus1 to U12",  RGB_U15plus1(), {32768, 4, 5},      RGB_U12(),      {4095, 0, 1}},
        {"U16 to U8",        BGRA_U16(),     {65535, 257, 128, 129}, BGRA_U8(),  {255, 1, 0, 1}},
        {"F32 to U8",        BGRA_F32(),     {1.5, -0.2, 0.5, 1}, BGRA_U8(),     {255, 0, 128, 255}},
        {"F32 to U10",       BGR_F32(),      {1, 0.5, 1.5},      BGR_U10(),      {1023, 512, 1534}},
        {"far beyond",       BGR_F32(),      {100, -1, 0},       BGR_U10(),      {65535, 0, 0}},
        {"other colours",    yCbCrU8,        {0, 255, 0},        yCbCrF32,       {0, 1, 0}},
        {"other colours",    CoCgAY_U8(),    {1, 2, 3, 4},       CoCgAY_U8(),    {1, 2, 3, 4}},
    });
    // clang-format on
}

// Neighbours run through all values, so that each value meets each channel.
TEST(BitDepth, convertsEveryStoredInteger)
{
    for (const auto& [source, destination] : pairsOf<ImageBitDepth>()) {
        cv::Mat pixels = randomMatrix(source, 257, 256);
        for (std::size_t index = 0; index < pixels.total() * pixels.channels(); ++index)
            if (pixels.depth() == CV_8U)
                pixels.ptr<std::uint8_t>()[index] = static_cast<std::uint8_t>(index);
            else if (pixels.depth() == CV_16U)
                pixels.ptr<std::uint16_t>()[index] = static_cast<std::uint16_t>(index);
        expectAsReference<ImageBitDepth>(source, pixels, {destination});
    }
}

// What OpenCV makes of floats that are no colours has to be made of them as well.
TEST(BitDepth, convertsFloatsOfAllKinds)
{
    std::vector<float> unusual{0, 1e9f, 3e7f, 1e-45f, 3.4e38f, float(infinity), float(notANumber)};
    // Where the product comes close to what 32 and 16 bits hold.
    for (const float limit : {2147483648.0f, 4294967296.0f, 65536.0f, 65535.5f, 256.0f, 255.5f})
        for (const float scale : {255.0f, 1023.0f, 4095.0f})
            unusual.push_back(limit / scale);
    std::mt19937 random(7);
    cv::Mat pixels(300, 301, CV_32FC4);
    for (int row = 0; row < pixels.rows; ++row)
        for (int index = 0; index < pixels.cols * 4; ++index) {
            auto& value = pixels.ptr<float>(row)[index];
            const auto bits = static_cast<std::uint32_t>(random());
            if (row % 3 == 0)
                value = std::bit_cast<float>(bits);
            else if (row % 3 == 1)  // on and beside ties
                value = (float(bits % 10000) + 0.5f) / (bits & 1 ? 1023.0f : 4095.0f);
            else
                value = unusual[bits % unusual.size()] * (bits >> 31 ? 1.0f : -1.0f);
        }
    expectAsReference<ImageBitDepth>(BGRA_F32(), pixels);
    expectAsReference<ImageBitDepth>(BGR_F32(), pixels.reshape(3, 4 * pixels.rows / 3));
}

}
}
