#include "MediaConversion/MediaFile/FileNames.h"
#include "fuzz/Fuzzing.h"

#include <algorithm>
#include <clocale>
#include <cstdlib>
#include <optional>
#include <string>

using namespace MediaConversion;

// Names of any bytes and of any wide characters, in both kinds of locale.

void fuzz(FuzzedDataProvider& input)
{
    require(std::setlocale(LC_ALL, input.ConsumeBool() ? "C.UTF-8" : "C"));
    auto name = input.ConsumeRemainingBytesAsString();
    const bool isName = name.find('\0') == std::string::npos;
    const auto wide = wideFileName(name);
    require(narrowFileName(wide) == (isName ? std::optional(name) : std::nullopt));
    // What is well-formed means the same to the C library, which also knows longer forms.
    std::wstring other(name.size() + 1, L'\0');
    const auto length = std::mbstowcs(other.data(), name.c_str(), other.size());
    if (isName && length <= name.size() && std::ranges::max(other) <= 0x10FFFF)
        require(wide == other.substr(0, length));
    std::ranges::replace(name, '\0', '?');
    requireText(name, displayFileName(wide));

    std::wstring any(name.size() / sizeof(wchar_t), L'\0');
    std::copy_n(name.data(), any.size() * sizeof(wchar_t), reinterpret_cast<char*>(any.data()));
    const auto shown = displayFileName(any);
    if (const auto narrow = narrowFileName(any))
        require(*narrow == shown && narrowFileName(wideFileName(shown)) == shown);
    else
        require(shown.find('?') != std::string::npos);
}
