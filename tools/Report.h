#pragma once

#include <exception>
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

// A failure whose text begins with the name of the file that it is about.
class FileError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

// A text for people, of one line, with the names in it: control characters, bytes that are no
// UTF-8 and backslashes are written as printf's %b reads them, "\n", "\x1b", "\\". A name cannot
// give orders to a terminal that way, and can still be told from any other.
std::string shown(const std::string& text);

// A number with as many digits as other tools print.
std::string text(double number);

// The text of an exception, or a better one where its own is for developers.
std::string messageOf(const std::exception& error);

// Does this. What fails becomes a FileError about the file.
template <class Operation>
auto naming(const std::string& fileName, const Operation& operation)
{
    try {
        return operation();
    } catch (const std::exception& error) {
        throw FileError(fileName + ": " + messageOf(error));
    }
}

// Writes "zeq: text" to the error stream.
void reportError(const std::string& text);

// Gives false, and reports it, when what was printed could not be written.
bool flushOutput();

}
