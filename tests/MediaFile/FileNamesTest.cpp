#include "MediaConversion/MediaFile/FileNames.h"

#include <gtest/gtest.h>
#include <sys/mman.h>

#include <cstdint>
#include <limits>
#include <locale>
#include <stdexcept>

using namespace MediaConversion;

namespace {

// Asks the standard library for the bytes of a character.
std::string utf8(char32_t character)
{
    using Codec = std::codecvt<char32_t, char8_t, std::mbstate_t>;
    const auto& codec = std::use_facet<Codec>(std::locale::classic());
    std::mbstate_t state{};
    char8_t bytes[4];
    const char32_t* characterEnd;
    char8_t* end;
    codec.out(state, &character, &character + 1, characterEnd, bytes, bytes + 4, end);
    return std::string(bytes, end);
}

TEST(FileNames, everyCharacterGoesToItsUtf8BytesAndBack)
{
    for (char32_t character = 1; character <= 0x10FFFF; ++character) {
        if (character >= 0xD800 && character <= 0xDFFF)
            continue;
        const auto narrow = utf8(character);
        const std::wstring wide(1, static_cast<wchar_t>(character));
        ASSERT_EQ(wideFileName(narrow), wide) << std::uint32_t{character};
        ASSERT_EQ(narrowFileName(wide), narrow) << std::uint32_t{character};
        ASSERT_EQ(displayFileName(wide), narrow) << std::uint32_t{character};
    }
}

// Starts of every length of character before every byte, so that pairs are split everywhere.
TEST(FileNames, everyShortStringComesBack)
{
    for (const std::string start : {"", "a", "\xC3", "\xE2\x82", "\xF0\x9F\x98", "\xED", "\xF4"})
        for (int first = 1; first < 256; ++first)
            for (int second = 1; second < 256; ++second) {
                const auto narrow = start + static_cast<char>(first) + static_cast<char>(second);
                ASSERT_EQ(narrowFileName(wideFileName(narrow)), narrow) << first << ' ' << second;
            }
    EXPECT_EQ(narrowFileName(L""), "");
}

TEST(FileNames, bytesThatAreNotUtf8KeepTheirValue)
{
    const struct
    {
        std::string narrow;
        std::wstring wide;
    } cases[] = {
        {"", L""},
        {"plain/name.zeq", L"plain/name.zeq"},
        {"\x80", L"\xDC80"},
        {"a\xFFz", L"a\xDCFFz"},
        {"\xC3", L"\xDCC3"},                          // cut
        {"\xC3(", L"\xDCC3("},                        // cut by a character
        {"\xE2\x82\xC3\xA9", L"\xDCE2\xDC82\x00E9"},  // cut by a longer character
        {"\xF0\x9F\x98", L"\xDCF0\xDC9F\xDC98"},
        {"\xC0\x80", L"\xDCC0\xDC80"},  // overlong
        {"\xC1\xBF", L"\xDCC1\xDCBF"},
        {"\xE0\x9F\xBF", L"\xDCE0\xDC9F\xDCBF"},
        {"\xF0\x8F\xBF\xBF", L"\xDCF0\xDC8F\xDCBF\xDCBF"},
        {"\xED\xA0\x80", L"\xDCED\xDCA0\xDC80"},  // a surrogate
        {"\xED\xBF\xBF", L"\xDCED\xDCBF\xDCBF"},
        {"\xF4\x90\x80\x80", L"\xDCF4\xDC90\xDC80\xDC80"},  // after the last character
        {"\xF8\x88\x80\x80\x80", L"\xDCF8\xDC88\xDC80\xDC80\xDC80"},
    };
    for (const auto& [narrow, wide] : cases) {
        EXPECT_EQ(wideFileName(narrow), wide);
        EXPECT_EQ(narrowFileName(wide), narrow);
    }
    EXPECT_EQ(wideFileName(std::string_view("\xE2\x82\xAC", 2)), L"\xDCE2\xDC82");
}

TEST(FileNames, whatNoFileCanBeCalledIsRefusedAndShownAsQuestionMark)
{
    for (const wchar_t character :
         {L'\0', L'\xD800', L'\xDBFF', L'\xDC00', L'\xDC7F', L'\xDD00', L'\xDFFF',
          static_cast<wchar_t>(0x110000), std::numeric_limits<wchar_t>::min()}) {
        const auto wide = std::wstring(L"a") + character + L"\x00E9" + character;
        EXPECT_EQ(narrowFileName(wide), std::nullopt) << std::int64_t{character};
        EXPECT_EQ(displayFileName(wide), "a?\xC3\xA9?") << std::int64_t{character};
    }
}

TEST(FileNames, aNameTooLongToCountIsAnInvalidArgument)
{
    const auto size = std::size_t{std::numeric_limits<std::int32_t>::max()} + 1;
    void* const reserved =
        ::mmap(nullptr, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    ASSERT_NE(reserved, MAP_FAILED);
    const std::string_view narrow(static_cast<const char*>(reserved), size);
    EXPECT_THROW(wideFileName(narrow), std::invalid_argument);
    ::munmap(reserved, size);
}

}
