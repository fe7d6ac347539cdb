#include "DDImage/Reader.h"

#include <algorithm>
#include <cstring>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace DD::Image {

namespace {

// Plug-ins register during their static initialisation, perhaps before this library's own: the list
// is there from the start and the mutex from its first use.
constinit Reader::Description* latest = nullptr;

std::mutex& descriptionsMutex()
{
    static std::mutex& mutex = *new std::mutex;
    return mutex;
}

template <class Predicate>
const Reader::Description* findFirst(const Predicate& predicate)
{
    const auto descriptions = Reader::Description::all();
    const auto found = std::ranges::find_if(
        descriptions, [&](const auto* description) { return predicate(*description); });
    return found == descriptions.end() ? nullptr : *found;
}

}

Reader::Description::Description(const char* names, const char* label,
                                 ReaderConstructor constructor, Test test,
                                 FormatConstructor formatConstructor)
    : m_names(names),
      m_label(label),
      m_constructor(constructor),
      m_test(test),
      m_formatConstructor(formatConstructor)
{
    const std::lock_guard lock(descriptionsMutex());
    m_next = latest;
    latest = this;
}

Reader::Description::~Description()
{
    const std::lock_guard lock(descriptionsMutex());
    Description** link = &latest;
    while (*link != this)
        link = &(*link)->m_next;
    *link = m_next;
}

std::vector<std::string> Reader::Description::names() const
{
    std::vector<std::string> names;
    for (const char* name = m_names; *name; name += std::strlen(name) + 1)
        names.emplace_back(name);
    return names;
}

Reader* Reader::Description::newReader(Read* readOperator, int descriptor,
                                       const unsigned char* block, int length) const
{
    return m_constructor(readOperator, descriptor, block, length);
}

bool Reader::Description::accepts(int descriptor, const unsigned char* block, int length) const
{
    return m_test(descriptor, block, length);
}

ReaderFormat* Reader::Description::newFormat(Read* readOperator) const
{
    return m_formatConstructor(readOperator);
}

std::vector<const Reader::Description*> Reader::Description::all()
{
    const std::lock_guard lock(descriptionsMutex());
    std::vector<const Description*> descriptions;
    for (const Description* description = latest; description; description = description->m_next)
        descriptions.push_back(description);
    return descriptions;
}

const Reader::Description* Reader::Description::find(std::string_view name)
{
    return findFirst([name](const Description& description) {
        const auto names = description.names();
        return std::ranges::find(names, name) != names.end();
    });
}

const Reader::Description* Reader::Description::find(int descriptor, const unsigned char* block,
                                                     int length)
{
    return findFirst([=](const Description& description) {
        return description.accepts(descriptor, block, length);
    });
}

}
