#pragma once

#include <string>

// What the tool says. Each call writes whole lines, also when several threads speak at once.
namespace Zeq {

// "zeq: text" on the error stream.
void reportError(const std::string& text);

// "zeq: FILE: text" on the error stream.
void reportError(const std::string& file, const std::string& text);

// Fails, and says so, when what was printed could not be written.
bool flushOutput();

}
