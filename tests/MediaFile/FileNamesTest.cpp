#include "MediaConversion/MediaFile/FileNames.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <utility>

using namespace MediaConversion;

namespace {

TEST(FileNames, areUtf8AndOtherBytesKeepTheirValue)
{
    const std::pair<std::string, std::wstring> cases[] = {
        {"", L""},
        {"\x01 plain.zeq\x7F", L"\x01 plain.zeq\x7F"},
        {"\xC2\x80\xDF\xBF", L"\x80\x7FF"},  // the first and the last of two bytes
        {"\xE0\xA0\x80\xED\x9F\xBF", L"\x800\xD7FF"},
        {"\xEE\x80\x80\xEF\xBF\xBF", L"\xE000\xFFFF"},
        {"\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", L"\x10000\x10FFFF"},
        {"\x80\xFF", L"\xDC80\xDCFF"},
        {"\xE2\x82\xC3\xA9", L"\xDCE2\xDC82\x00E9"},  // cut by another character
        {"\xC1\xBF", L"\xDCC1\xDCBF"},                // in more bytes than it needs
        {"\xED\xA0\x80", L"\xDCED\xDCA0\xDC80"},      // a surrogate
    };
    for (const auto& [narrow, wide] : cases) {
        EXPECT_EQ(wideFileName(narrow), wide);
        EXPECT_EQ(narrowFileName(wide), narrow);
        EXPECT_EQ(displayFileName(wide), narrow);
    }
}

// Starts of every length of character before every byte, so that pairs are split everywhere.
TEST(FileNames, everyShortStringComesBack)
{
    for (const std::string start : {"", "\xC3", "\xE0", "\xE2\x82", "\xED", "\xF0\x8F", "\xF4\x90"})
        for (int first = 1; first < 256; ++first)
            for (int second = 1; second < 256; ++second) {
                const auto narrow = start + static_cast<char>(first) + static_cast<char>(second);
                ASSERT_EQ(narrowFileName(wideFileName(narrow)), narrow) << first << ' ' << second;
            }
}

TEST(FileNames, whatNoFileCanBeCalledIsRefusedAndShownAsQuestionMark)
{
    for (const wchar_t character : {0x0, 0xD800, 0xDBFF, 0xDC7F, 0xDD00, 0xDFFF, 0x110000}) {
        const auto wide = std::wstring(L"a") + character + L"\x00E9" + character;
        EXPECT_EQ(narrowFileName(wide), std::nullopt) << long{character};
        EXPECT_EQ(displayFileName(wide), "a?\xC3\xA9?") << long{character};
    }
}

}
