#pragma once

#include <span>
#include <string>

// Standard input and standard output as files. A file of this name is "./-".
namespace Zeq {

inline const std::string standardFile = "-";

// The path by which a file is opened. Standard input is read to its end with the first call, into
// memory. Throws a UsageError when it is a terminal, and a std::runtime_error.
std::string pathOf(const std::string& fileName);

// Writes all bytes to standard output. Gives false when nobody reads any more; throws a
// std::runtime_error with the reason alone when they cannot be written.
bool writeToOutput(std::span<const char> bytes);

}
