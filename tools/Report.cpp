#include "tools/Report.h"

#include "MediaConversion/MediaFile/FileNames.h"

#include <unistd.h>
#include <opencv2/core.hpp>

#include <algorithm>
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

std::string messageOf(const std::exception& error)
{
    const auto* const ofOpenCv = dynamic_cast<const cv::Exception*>(&error);
    if (dynamic_cast<const std::bad_alloc*>(&error) ||
        (ofOpenCv && ofOpenCv->code == cv::Error::StsNoMem))
        return "Not enough memory";
    if (const auto* const ofFile = dynamic_cast<const std::filesystem::filesystem_error*>(&error))
        return ofFile->path1().native() + ": " + ofFile->code().message();
    return error.what();
}

void reportError(const std::string& text)
{
    const auto line = "zeq: " + shown(text) + "\n";
    std::fwrite(line.data(), 1, line.size(), stderr);
}

void reportError(const std::string& file, const std::string& text)
{
    reportError(file + ": " + text);
}

bool flushOutput()
{
    if (std::cout.flush())
        return true;
    reportError("The output could not be written");
    return false;
}

Progress::Progress(std::size_t total, bool isQuiet)
    : m_total(total),
      m_showsBar(!isQuiet && total > 1 && ::isatty(STDERR_FILENO) && ::isatty(STDOUT_FILENO)),
      m_showsLines(!isQuiet && !m_showsBar)
{
    showBar();
}

Progress::~Progress()
{
    hideBar();
}

void Progress::succeeded(const std::string& line)
{
    const std::lock_guard lock(m_outputMutex);
    ++m_done;
    if (m_showsLines && !line.empty())
        std::cout << shown(line) << std::endl;
    showBar();
}

void Progress::failed(const std::string& text)
{
    const std::lock_guard lock(m_outputMutex);
    ++m_done;
    hideBar();
    reportError(text);
    showBar();
}

void Progress::showBar() const
{
    if (!m_showsBar)
        return;
    constexpr std::size_t width = 40;
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - m_start;
    const auto filled = m_done * width / m_total;
    const double rate = static_cast<double>(m_done) / std::max(elapsed.count(), 1e-3);
    std::fprintf(stderr, "\r[%s%s] %zu of %zu, %.1f a second ", std::string(filled, '#').c_str(),
                 std::string(width - filled, '.').c_str(), m_done, m_total, rate);
    std::fflush(stderr);
}

void Progress::hideBar() const
{
    if (m_showsBar)
        std::fputs("\r\033[K", stderr);
}

}
