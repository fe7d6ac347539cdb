#include "tools/Progress.h"

#include "tools/Messages.h"
#include "tools/Report.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <iostream>

namespace Zeq {

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
