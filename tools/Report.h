#pragma once

#include <chrono>
#include <cstddef>
#include <exception>
#include <mutex>
#include <stdexcept>
#include <string>

// What the tool tells people and scripts. Each call writes whole lines, also when several threads
// write at once.
namespace Zeq {

namespace ExitStatus {

inline constexpr int success = 0;
inline constexpr int failure = 1;
inline constexpr int usage = 2;

}

// Says what is wrong with a command line. It is thrown before anything is done.
class UsageError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

// A text for people, of one line, with the names in it: control characters, bytes that are no
// UTF-8 and backslashes are written as printf's %b reads them, "\n", "\x1b", "\\". A name cannot
// give orders to a terminal that way, and can still be told from any other.
std::string shown(const std::string& text);

// The text of an exception, or a better one where its own is for developers.
std::string messageOf(const std::exception& error);

// Writes "zeq: text" to the error stream.
void reportError(const std::string& text);

// Writes "zeq: FILE: text" to the error stream.
void reportError(const std::string& file, const std::string& text);

// Gives false, and reports it, when what was printed could not be written.
bool flushOutput();

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
