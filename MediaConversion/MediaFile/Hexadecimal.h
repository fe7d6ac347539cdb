#pragma once

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>

namespace MediaConversion {

// A code as messages show it: in lower case, without a prefix, filled with zeros to four digits.
inline std::string hexadecimal(std::uint32_t code)
{
    constexpr std::size_t shownDigits = 4;
    char digits[2 * sizeof code];
    auto* const end = std::to_chars(std::begin(digits), std::end(digits), code, 16).ptr;
    const std::string text(digits, end);
    return text.size() < shownDigits ? std::string(shownDigits - text.size(), '0') + text : text;
}

}
