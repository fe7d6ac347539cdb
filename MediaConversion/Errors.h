#pragma once

#include <concepts>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>

namespace MediaConversion {

namespace Detail {

inline std::string text(std::string_view piece)
{
    return std::string(piece);
}

// std::to_string rather than a stream: a host may have set a locale that groups digits.
template <std::integral Number>
std::string text(Number piece)
{
    return std::to_string(piece);
}

// Formats, channel types and colourspaces have a text form beside them, found by argument.
template <class Value>
requires requires(const Value& value)
{
    toString(value);
}
std::string text(const Value& piece)
{
    return toString(piece);
}

}

// Joins fixed texts, decimal numbers and the text forms of formats to one message.
template <class... Pieces>
std::string joined(const Pieces&... pieces)
{
    return (std::string() + ... + Detail::text(pieces));
}

// Throws a std::runtime_error with the joined pieces as its message.
template <class... Pieces>
[[noreturn]] void fail(const Pieces&... pieces)
{
    throw std::runtime_error(joined(pieces...));
}

}
