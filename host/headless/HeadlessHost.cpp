#include "host/headless/HeadlessHost.h"

#include "host/headless/FileBeginning.h"
#include "host/headless/FormatPanel.h"
#include "host/headless/HostedReader.h"

#include <dlfcn.h>

#include <stdexcept>
#include <utility>

namespace {

void throwMessages(HostedReader& reader)
{
    std::string text;
    for (const auto& message : reader.takeMessages())
        text += (text.empty() ? "" : "\n") + message;
    if (!text.empty())
        throw std::runtime_error(text);
}

}

HeadlessHost::HeadlessHost(const std::filesystem::path& plugIn)
    : m_plugIn(::dlopen(plugIn.c_str(), RTLD_NOW | RTLD_LOCAL))
{
    if (!m_plugIn)
        throw std::runtime_error(::dlerror());
}

Picture HeadlessHost::read(const std::string& fileName) const
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

void HeadlessHost::Unload::operator()(void* handle) const
{
    ::dlclose(handle);
}
