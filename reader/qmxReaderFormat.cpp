#include "reader/qmxReaderFormat.h"

#include "MediaConversion/Errors.h"
#include "MediaConversion/Version.h"

#include <string>

namespace {

constexpr int majorVersion = 2;
constexpr int minorVersion = 3;
constexpr int patchVersion = 1;

// A read-only line of text that is stored nowhere, in the host's numbers.
constexpr int textKnob = 26;
constexpr int notStored = 19;

// Never destroyed: a host may keep the pointer for as long as it shows the panel.
const std::string& versionText()
{
    static const auto& text = *new std::string(MediaConversion::joined(
        "Reader Plugin version = ", majorVersion, ".", minorVersion, ".", patchVersion,
        "\nMediaConversion Library version = ", MediaConversion::Version::text()));
    return text;
}

}

qmxReaderFormat::~qmxReaderFormat() = default;

void qmxReaderFormat::knobs(DD::Image::Knob_Closure& closure)
{
    closure(textKnob, notStored, nullptr, nullptr, nullptr, versionText().c_str());
}
