#include "MediaConversion/MediaFile/FileNames.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <stdexcept>

namespace MediaConversion {

namespace {

constexpr char32_t undecodable = 0xDC00;

// A form of UTF-8: the first byte tells how many bytes a character takes, and only the characters
// of the range may take so many.
struct Form
{
    unsigned leadMask;
    unsigned lead;
    std::size_t size;
    char32_t first;
    char32_t last;
};

// clang-format off
constexpr Form forms[] = {
    // mask, lead, bytes, first and last character
    {0x80,   0x00, 1,     0,       0x7F    },
    {0xE0,   0xC0, 2,     0x80,    0x7FF   },
    {0xF0,   0xE0, 3,     0x800,   0xFFFF  },
    {0xF8,   0xF0, 4,     0x10000, 0x10FFFF},
};
// clang-format on

bool isSurrogate(char32_t character)
{
    return character >= 0xD800 && character <= 0xDFFF;
}

struct Decoded
{
    char32_t character;
    std::size_t size;
};

unsigned byteAt(std::string_view text, std::size_t index)
{
    return static_cast<unsigned char>(text[index]);
}

// Decodes the character at the start of a text, which is not empty.
Decoded decodeFirst(std::string_view text)
{
    const Decoded nothing{undecodable + byteAt(text, 0), 1};
    for (const auto& form : forms) {
        if ((byteAt(text, 0) & form.leadMask) != form.lead)
            continue;
        if (text.size() < form.size)
            return nothing;
        char32_t character = byteAt(text, 0) & ~form.leadMask;
        for (std::size_t index = 1; index < form.size; ++index) {
            if ((byteAt(text, index) & 0xC0) != 0x80)
                return nothing;
            character = character << 6 | (byteAt(text, index) & 0x3F);
        }
        if (character < form.first || character > form.last || isSurrogate(character))
            return nothing;
        return {character, form.size};
    }
    return nothing;
}

// Appends the character's bytes. False for a character that has none.
bool encode(wchar_t wide, std::string& narrow)
{
    const auto character = static_cast<char32_t>(wide);
    if (character >= undecodable + 0x80 && character <= undecodable + 0xFF) {
        narrow += static_cast<char>(character - undecodable);
        return true;
    }
    if (character == 0 || isSurrogate(character))
        return false;
    for (const auto& form : forms) {
        if (character > form.last)
            continue;
        auto shift = 6 * (form.size - 1);
        narrow += static_cast<char>(form.lead | character >> shift);
        while (shift > 0) {
            shift -= 6;
            narrow += static_cast<char>(0x80 | (character >> shift & 0x3F));
        }
        return true;
    }
    return false;
}

}

std::wstring wideFileName(std::string_view narrow)
{
    if (narrow.size() > std::numeric_limits<std::int32_t>::max())
        throw std::invalid_argument("File name is too long");
    std::wstring wide;
    wide.reserve(narrow.size());
    while (!narrow.empty()) {
        const auto [character, size] = decodeFirst(narrow);
        wide += static_cast<wchar_t>(character);
        narrow.remove_prefix(size);
    }
    return wide;
}

std::optional<std::string> narrowFileName(std::wstring_view wide)
{
    std::string narrow;
    for (const auto character : wide)
        if (!encode(character, narrow))
            return std::nullopt;
    return narrow;
}

std::string displayFileName(std::wstring_view wide)
{
    std::string narrow;
    for (const auto character : wide)
        if (!encode(character, narrow))
            narrow += '?';
    return narrow;
}

}
