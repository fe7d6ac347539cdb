#pragma once

#include <cstddef>
#include <string>

namespace Zeq {

// In lower case and without the dot; empty when there is none.
std::string extensionOf(const std::string& fileName);

// False also where that cannot be told.
bool exists(const std::string& name);

// The first bytes of a regular file, fewer when it has no more; empty when it cannot be read.
std::string beginningOf(const std::string& fileName, std::size_t count);

bool hasMediaFileExtension(const std::string& fileName);

// Makes a folder, and those that it is in, unless they are there. Throws a std::runtime_error.
void makeFolder(const std::string& folder);

// The folder of the running program.
std::string programFolder();

}
