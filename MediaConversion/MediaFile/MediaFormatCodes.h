#pragma once

#include "MediaConversion/MediaPipeline/FrameFormat.h"

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <map>
#include <string>

namespace MediaConversion {

// The frame formats of media files by the code in the media header. Codes are looked up as they
// stand; their bits have no meaning of their own.
const std::map<std::uint32_t, Velmora::FrameFormat>& mediaFormatCodes();

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
