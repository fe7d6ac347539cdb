#pragma once

#include "MediaConversion/Errors.h"
#include "MediaConversion/MediaPipeline/Formats.h"

#include <array>
#include <cstddef>
#include <map>
#include <string_view>
#include <type_traits>
#include <utility>

// The words in which a converter states the pairs that it supports:
//
//     from<SourceA, SourceB>(to<DestinationC, DestinationD>) + ...
//
// stands for the four pairs. Sources and destinations are types with a static format().
namespace MediaConversion {

// The conversions between packed formats of one kind and full ones, and those of bytes to floats.
enum class Family
{
    RgbUnpacking,
    RgbPacking,
    YCbCrDecoding,
    YCbCrEncoding,
    BlockDecoding,
    BlockEncoding,
    BytesToFloats,
};

// Source first, destination second.
using FormatPair = std::pair<Velmora::FrameFormat, Velmora::FrameFormat>;

template <class Entry>
using ConversionTable = std::map<FormatPair, Entry>;

template <class SourceType, class DestinationType>
struct Conversion
{
    using Source = SourceType;
    using Destination = DestinationType;
};

template <class... Conversions>
struct Pairs
{
    static constexpr std::size_t count = sizeof...(Conversions);
};

template <class... One, class... Other>
constexpr Pairs<One..., Other...> operator+(Pairs<One...>, Pairs<Other...>)
{
    return {};
}

template <class... Types>
struct TypeList
{
};

template <class... Destinations>
inline constexpr TypeList<Destinations...> to{};

namespace Detail {

template <class Source, class... Destinations>
constexpr Pairs<Conversion<Source, Destinations>...> fromOne(TypeList<Destinations...>)
{
    return {};
}

template <class Entries, class... Conversions, std::size_t... indices>
auto conversionTable(Pairs<Conversions...>, std::index_sequence<indices...>)
{
    ConversionTable<typename Entries::Entry> table;
    (table.emplace(FormatPair{Conversions::Source::format(), Conversions::Destination::format()},
                   Entries::template entry<Conversions, indices>),
     ...);
    return table;
}

}

template <class... Sources, class Destinations>
constexpr auto from(Destinations destinations)
{
    return (Detail::fromOne<Sources>(destinations) + ...);
}

// The place of a conversion among pairs that have it.
template <class Wanted, class... Conversions>
constexpr std::size_t indexIn(Pairs<Conversions...>)
{
    std::size_t index = 0;
    static_cast<void>(((std::is_same_v<Wanted, Conversions> || (++index, false)) || ...));
    return index;
}

// Entries::entry<Conversion, index> is what the table holds for the pair at that place.
template <class Entries, class... Conversions>
auto conversionTable(Pairs<Conversions...> pairs)
{
    return Detail::conversionTable<Entries>(pairs, std::index_sequence_for<Conversions...>{});
}

// The table's entry for the pair; without one, fails with the text and both formats.
template <class Entry>
const Entry& findConversion(const ConversionTable<Entry>& table, const Velmora::FrameFormat& source,
                            const Velmora::FrameFormat& destination, std::string_view refusal)
{
    const auto entry = table.find({source, destination});
    if (entry == table.end())
        fail(refusal, source, " to ", destination);
    return entry->second;
}

}
