#pragma once

#include "MediaConversion/Errors.h"
#include "MediaConversion/MediaPipeline/FrameFormat.h"

#include <map>
#include <string_view>
#include <utility>

// The words in which a converter states the pairs that it supports:
//
//     conversionTable<Kernel>(from<SourceA, SourceB>(to<DestinationC, DestinationD>), ...)
//
// stands for the four pairs. Sources and destinations are types with a static format();
// Kernel::entry<Source, Destination> is what the table holds for a pair.
namespace MediaConversion {

// Source first, destination second.
using FormatPair = std::pair<Velmora::FrameFormat, Velmora::FrameFormat>;

template <class Entry>
using ConversionTable = std::map<FormatPair, Entry>;

template <class... Types>
struct TypeList
{
};

template <class... Destinations>
inline constexpr TypeList<Destinations...> to{};

template <class Sources, class Destinations>
struct TableRow
{
};

template <class... Sources, class... Destinations>
constexpr TableRow<TypeList<Sources...>, TypeList<Destinations...>> from(TypeList<Destinations...>)
{
    return {};
}

namespace Detail {

template <class Kernel, class Source, class Table, class... Destinations>
void addSource(Table& table, TypeList<Destinations...>)
{
    (table.emplace(FormatPair{Source::format(), Destinations::format()},
                   Kernel::template entry<Source, Destinations>),
     ...);
}

template <class Kernel, class Table, class... Sources, class Destinations>
void addRow(Table& table, TableRow<TypeList<Sources...>, Destinations>)
{
    (addSource<Kernel, Sources>(table, Destinations{}), ...);
}

}

template <class Kernel, class... Rows>
auto conversionTable(Rows... rows)
{
    ConversionTable<typename Kernel::Entry> table;
    (Detail::addRow<Kernel>(table, rows), ...);
    return table;
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
