#include "MediaConversion/MediaPipeline/FrameFormat.h"

#include <gtest/gtest.h>

namespace Velmora {
namespace {

using enum Colourspace;
using enum ChannelType;

TEST(FrameFormat, namesChannelTypesAndColourspaces)
{
    struct Case
    {
        std::uint32_t value;
        const char* channelType;
        const char* colourspace;
    };
    // clang-format off
    for (const auto& [value, channelType, colourspace] : {
             Case{0,          "U8",                               "RGB"},
             Case{1,          "U10",                              "RGBA"},
             Case{2,          "U12",                              "YCbCr_ITU_T871"},
             Case{3,          "U15plus1",                         "YCbCrA_ITU_T871"},
             Case{4,          "U16",                              "YCoCg"},
             Case{5,          "F32",                              "YCoCgA"},
             Case{6,          "(Unknown ChannelType 6)",          "(Unknown Colourspace 6)"},
             Case{4294967295, "(Unknown ChannelType 4294967295)", "(Unknown Colourspace 4294967295)"},
         }) {
        // clang-format on
        EXPECT_EQ(toString(ChannelType{value}), channelType);
        EXPECT_EQ(toString(Colourspace{value}), colourspace);
    }
}

TEST(FrameFormat, isWrittenWithoutItsPacking)
{
    const FrameFormat unknown{Colourspace{7}, ChannelType{9}, {1, 2, 3, 4}, "any text"};
    EXPECT_EQ(toString(unknown), "(Unknown Colourspace 7)_(Unknown ChannelType 9)_any text");
    EXPECT_EQ(toString(FrameFormat{YCoCg, U8, {0, 0, 0, 0}, ""}), "YCoCg_U8_");
}

// In every row the field named decides, and all later fields say the opposite.
TEST(FrameFormat, ordersByOneFieldAfterTheOther)
{
    struct Case
    {
        const char* field;
        FrameFormat lesser;
        FrameFormat greater;
    };
    const auto text = [](std::string pixelFormat) {
        return FrameFormat{RGB, U8, {3, 3, 1, 1}, std::move(pixelFormat)};
    };
    // clang-format off
    const Case cases[] = {
        {"colourspace",      {RGBA, F32, {9, 9, 9, 9}, "z"},  {YCoCg, U8,  {1, 1, 1, 1}, "a"}},
        {"channel type",     {RGBA, U8,  {9, 9, 9, 9}, "z"},  {RGBA,  U10, {1, 1, 1, 1}, "a"}},
        {"bytes",            {RGBA, U8,  {1, 9, 9, 9}, "z"},  {RGBA,  U8,  {2, 1, 1, 1}, "a"}},
        {"channels",         {RGBA, U8,  {1, 1, 9, 9}, "z"},  {RGBA,  U8,  {1, 2, 1, 1}, "a"}},
        {"rows",             {RGBA, U8,  {1, 1, 1, 9}, "z"},  {RGBA,  U8,  {1, 1, 2, 1}, "a"}},
        {"columns",          {RGBA, U8,  {1, 1, 1, 1}, "z"},  {RGBA,  U8,  {1, 1, 1, 2}, "a"}},
        {"pixel format",     text("BGR"),                     text("RGB")},
        {"empty text",       text(""),                        text(std::string(1, '\0'))},
        {"proper prefix",    text("RGB"),                     text("RGBA")},
        {"length last",      text("BGRA"),                    text("RGB")},
        {"unsigned bytes",   text("\x7F"),                    text("\x80")},
        {"highest byte",     text("zz"),                      text("\xFF")},
        {"unsigned packing", {RGB, U8, {1, 1, 1, 1}, ""},     {RGB, U8, {0x80000000, 1, 1, 1}, ""}},
        {"unsigned channel", {RGB, F32, {1, 1, 1, 1}, ""},    {RGB, ChannelType{0x80000000}, {1, 1, 1, 1}, ""}},
        {"unsigned colours", {YCoCgA, U8, {1, 1, 1, 1}, ""},  {Colourspace{0x80000000}, U8, {1, 1, 1, 1}, ""}},
    };
    // clang-format on
    for (const auto& [field, lesser, greater] : cases) {
        SCOPED_TRACE(field);
        EXPECT_TRUE(lesser < greater);
        EXPECT_FALSE(greater < lesser);
        EXPECT_FALSE(lesser == greater);
        const FrameFormat copy = lesser;
        EXPECT_TRUE(copy == lesser);
        EXPECT_FALSE(copy < lesser);
    }
}

}
}
