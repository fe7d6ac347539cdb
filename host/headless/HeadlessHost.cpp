#include "host/headless/HeadlessHost.h"

#include "host/headless/HostedReader.h"

#include <dlfcn.h>

#include <stdexcept>
#include <utility>

namespace Headless {

namespace {

struct KnobCollector final : DD::Image::Knob_Closure
{
    std::vector<Knob> knobs;

    void operator()(int type, int store, void* pointer, const char* name, const char* label,
                    const char* extra) override
    {
        const auto copy = [](const char* text) {
            return text ? std::optional<std::string>(text) : std::nullopt;
        };
        knobs.push_back({type, store, pointer, copy(name), copy(label), copy(extra)});
    }
};

void throwMessages(HostedReader& reader)
{
    std::string text;
    for (const auto& message : reader.takeMessages())
        text += (text.empty() ? "" : "\n") + message;
    if (!text.empty())
        throw std::runtime_error(text);
}

}

std::vector<Knob> formatPanel(const DD::Image::Reader::Description& description)
{
    const std::unique_ptr<DD::Image::ReaderFormat> format(description.newFormat(nullptr));
    KnobCollector collector;
    format->knobs(collector);
    return collector.knobs;
}

HeadlessHost::HeadlessHost(const std::filesystem::path& plugIn)
    : m_plugIn(::dlopen(plugIn.c_str(), RTLD_NOW | RTLD_LOCAL), ::dlclose)
{
    if (!m_plugIn)
        throw std::runtime_error(::dlerror());
}

Imaging::HostPicture HeadlessHost::read(const std::string& fileName) const
{
    FileBeginning beginning(fileName);
    if (!beginning.error().empty())
        throw std::runtime_error(beginning.error());
    const auto* const description = DD::Image::Reader::Description::find(
        beginning.descriptor(), beginning.block(), beginning.length());
    if (!description)
        throw std::runtime_error("No reader takes this file");

    HostedReader reader(*description, fileName, std::move(beginning));
    throwMessages(reader);
    reader.open();
    throwMessages(reader);
    auto picture = reader.picture();
    throwMessages(reader);
    return picture;
}

std::string HeadlessHost::panelText() const
{
    std::string text;
    for (const auto* description : DD::Image::Reader::Description::all())
        for (const auto& knob : formatPanel(*description))
            text += (text.empty() ? "" : "\n") + knob.extra.value_or("");
    return text;
}

}
