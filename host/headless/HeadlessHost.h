#pragma once

#include "imaging/HostPicture.h"

#include <DDImage/Reader.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Headless {

// A knob as a format object asked for it; texts that it left out are empty.
struct Knob
{
    int type;
    int store;
    void* pointer;
    std::optional<std::string> name;
    std::optional<std::string> label;
    std::optional<std::string> extra;
};

// The knobs that a file format adds to the panel of the read operator.
std::vector<Knob> formatPanel(const DD::Image::Reader::Description& description);

// A host that loads a reader plug-in as any other does, at run time and through what it registers,
// and reads whole pictures with it.
class HeadlessHost
{
public:
    // Throws a std::runtime_error with the loader's reason when the plug-in cannot be loaded.
    explicit HeadlessHost(const std::filesystem::path& plugIn);

    // The picture of a file, by the reader that takes its first bytes. Throws a std::runtime_error
    // with what the reader reported when it reported anything.
    Imaging::HostPicture read(const std::string& fileName) const;

    // The texts that the registered formats show in their panels, one knob after the other.
    std::string panelText() const;

private:
    std::unique_ptr<void, int (*)(void*)> m_plugIn;  // unloaded with the host
};

}
