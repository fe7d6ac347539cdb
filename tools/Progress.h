#pragma once

#include <chrono>
#include <cstddef>
#include <mutex>
#include <string>

namespace Zeq {

// Shows how far a run has come: a bar on a terminal, otherwise a line for each file. Files that
// fail are named on the error stream either way. May be told from several threads.
class Progress
{
public:
    Progress(std::size_t total, bool isQuiet);
    ~Progress();

    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void succeeded(const std::string& line);
    void failed(const std::string& text);

private:
    void showBar() const;
    void hideBar() const;

    const std::size_t m_total;
    const bool m_showsBar;
    const bool m_showsLines;
    const std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
    std::size_t m_done = 0;
    std::mutex m_outputMutex;
};

}
