#include "tools/Report.h"

#include "MediaConversion/MediaFile/FileNames.h"

#include <opencv2/core.hpp>

#include <cstdio>
#include <filesystem>
#include <iostream>
#include <new>

namespace Zeq {

namespace {

// Those of ASCII and those that are one character of Unicode each. A byte that is no UTF-8 is a
// character of its own from U+DC80 on.
bool isShownAsItIs(wchar_t character)
{
    const bool isControl = character < L' ' || (0x7F <= character && character < 0xA0);
    const bool isByte = 0xDC80 <= character && character <= 0xDCFF;
    return !isControl && !isByte && character != L'\\';
}

std::string escaped(unsigned char byte)
{
    constexpr char digits[] = "0123456789abcdef";
    switch (byte) {
        case '\n':
            return "\\n";
        case '\t':
            return "\\t";
        case '\\':
            return "\\\\";
        default:
            return {'\\', 'x', digits[byte >> 4], digits[byte & 0xF]};
    }
}

}

std::string shown(const std::string& text)
{
    std::string result;
    for (const auto character : MediaConversion::wideFileName(text)) {
        const auto bytes = MediaConversion::narrowFileName({&character, 1});
        if (isShownAsItIs(character))
            result += *bytes;
        else
            for (const char byte : bytes.value_or(std::string(1, '\0')))
                result += escaped(static_cast<unsigned char>(byte));
    }
    return result;
}

std::string text(double number)
{
    char digits[32];
    std::snprintf(digits, sizeof digits, "%.6g", number);
    return digits;
}

std::string messageOf(const std::exception& error)
{
    const auto* const ofOpenCv = dynamic_cast<const cv::Exception*>(&error);
    if (dynamic_cast<const std::bad_alloc*>(&error) ||
        (ofOpenCv && ofOpenCv->code == cv::Error::StsNoMem))
        return "Not enough memory";
    if (ofOpenCv)
        return "OpenCV cannot work on it: " + ofOpenCv->err;
    if (const auto* const ofFile = dynamic_cast<const std::filesystem::filesystem_error*>(&error))
        return ofFile->path1().native() + ": " + ofFile->code().message();
    return error.what();
}

void reportError(const std::string& text)
{
    const auto line = "zeq: " + shown(text) + "\n";
    std::fwrite(line.data(), 1, line.size(), stderr);
}

bool flushOutput()
{
    if (std::cout.flush())
        return true;
    reportError("The output could not be written");
    return false;
}

}
