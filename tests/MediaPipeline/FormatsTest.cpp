#include "MediaConversion/MediaPipeline/Formats.h"

#include "tests/MediaPipeline/Fakes.h"

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>

namespace Velmora {
namespace {

using enum Colourspace;
using enum ChannelType;

TEST(FrameFormat, isWrittenByItsColourspaceChannelTypeAndPixelFormat)
{
    const char* const channelTypes[] = {"U8", "U10", "U12", "U15plus1", "U16", "F32"};
    const char* const colourspaces[] = {"RGB",   "RGBA",  "YCbCr_ITU_T871", "YCbCrA_ITU_T871",
                                        "YCoCg", "YCoCgA"};
    for (std::uint32_t value = 0; value < 6; ++value) {
        EXPECT_EQ(toString(ChannelType{value}), channelTypes[value]);
        EXPECT_EQ(toString(Colourspace{value}), colourspaces[value]);
    }
    EXPECT_EQ(toString(Formats::ZEQ_4224_HYBRID()), "YCbCrA_ITU_T871_U12_ZEQ-4224-HYBRID");
    EXPECT_EQ(toString(FrameFormat{Colourspace{6}, ChannelType{4294967295}, {1, 2, 3, 4}, ""}),
              "(Unknown Colourspace 6)_(Unknown ChannelType 4294967295)_");
}

// Each format is greater than all before it. Where a field decides, the later ones are equal or say
// the opposite.
TEST(FrameFormat, ordersByOneFieldAfterTheOther)
{
    const FrameFormat ascending[] = {
        {RGB, U8, {1, 1, 1, 1}, ""},     {RGB, U8, {1, 1, 1, 1}, std::string(1, '\0')},
        {RGB, U8, {1, 1, 1, 1}, "BGRA"}, {RGB, U8, {1, 1, 1, 1}, "RGB"},
        {RGB, U8, {1, 1, 1, 1}, "RGBA"}, {RGB, U8, {1, 1, 1, 1}, "\x7F"},
        {RGB, U8, {1, 1, 1, 1}, "\x80"}, {RGB, U8, {1, 1, 1, 2}, "B"},
        {RGB, U8, {1, 1, 2, 1}, "A"},    {RGB, U8, {1, 2, 1, 1}, "A"},
        {RGB, U8, {2, 1, 1, 1}, "A"},    {RGB, U8, {0x80000000, 1, 1, 1}, "A"},
        {RGB, U10, {1, 1, 1, 1}, "A"},   {RGB, ChannelType{0x80000000}, {1, 1, 1, 1}, "A"},
        {RGBA, U8, {1, 1, 1, 1}, "A"},   {Colourspace{0x80000000}, U8, {1, 1, 1, 1}, "A"},
    };
    for (std::size_t first = 0; first < std::size(ascending); ++first)
        for (std::size_t second = 0; second < std::size(ascending); ++second) {
            SCOPED_TRACE(testing::Message() << first << " and " << second);
            EXPECT_EQ(ascending[first] < ascending[second], first < second);
            EXPECT_EQ(ascending[first] == ascending[second], first == second);
        }
}

TEST(CvTypes, refuseFormatsThatTheirTableLacks)
{
    for (const FrameFormat& gap : {FrameFormat{RGBA, U16, {8, 4, 1, 1}, "RGBA"},
                                   FrameFormat{YCbCr_ITU_T871, F32, {12, 3, 1, 1}, "YCrCb"},
                                   FrameFormat{RGB, U8, {3, 3, 1, 2}, "RGB"}, Formats::ZEQ_420()})
        expectFailure("OpenCV type not defined for frame format " + toString(gap),
                      [&] { openCvType(gap, FullFormatCvTypes()); });
}

}
}
