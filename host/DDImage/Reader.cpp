#include "DDImage/Reader.h"

#include "DDImage/FileReader.h"

#include <unistd.h>

#include <algorithm>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <mutex>

namespace DD::Image {

Op::~Op() = default;

// NOLINTNEXTLINE(cert-dcl50-cpp): it is the SDK that has this form
void Op::critical(const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    std::va_list sameArguments;
    va_copy(sameArguments, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, arguments);
    va_end(arguments);

    std::string message(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
    std::vsnprintf(message.data(), message.size() + 1, format, sameArguments);
    va_end(sameArguments);
    onCritical(message);
}

void Op::onCritical(const std::string& message)
{
    std::fprintf(stderr, "%s\n", message.c_str());
}

Read::~Read() = default;

Row::Row(int x, int r) : m_x(x), m_r(r)
{
    // Never without an element, so that there is an address to count from.
    const int columns = std::max(r - x, 1);
    for (auto& channel : m_channels)
        channel.resize(static_cast<std::size_t>(columns));
}

float* Row::writable(Channel channel)
{
    return m_channels.at(channel).data() - m_x;
}

const float* Row::operator[](Channel channel) const
{
    return m_channels.at(channel).data() - m_x;
}

void ReaderFormat::knobs(Knob_Closure&) {}

ReaderFormat::~ReaderFormat() = default;

Reader::Reader(Read* readOperator) : m_readOperator(readOperator) {}

Reader::~Reader() = default;

void Reader::open() {}

const char* Reader::filename() const
{
    return m_readOperator ? m_readOperator->filename() : nullptr;
}

void Reader::set_info(int width, int height, int depth, double)
{
    info_.size(width, height);
    m_depth = depth;
}

void Reader::from_float(Channel, float* to, const float* from, const float*, int count, int delta)
{
    for (int sample = 0; sample < count; ++sample, from += delta)
        to[sample] = *from;
}

FileReader::FileReader(Read* readOperator, int descriptor, const unsigned char*, int)
    : Reader(readOperator), m_descriptor(descriptor)
{
}

FileReader::~FileReader()
{
    if (m_descriptor >= 0)
        ::close(m_descriptor);
}

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
    const auto found = std::ranges::find_if(descriptions, predicate);
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
    return findFirst([name](const Description* description) {
        const auto names = description->names();
        return std::ranges::find(names, name) != names.end();
    });
}

const Reader::Description* Reader::Description::find(int descriptor, const unsigned char* block,
                                                     int length)
{
    return findFirst([=](const Description* description) {
        return description->accepts(descriptor, block, length);
    });
}

}
