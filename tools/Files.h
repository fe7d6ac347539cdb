#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace Zeq {

// In lower case and without the dot; empty when there is none.
std::string extensionOf(const std::string& fileName);

// The first bytes of a regular file, fewer when it has no more; empty when it cannot be read.
std::string beginningOf(const std::string& fileName, std::size_t count);

// The media files in a folder and in those inside it, by name.
std::vector<std::string> mediaFilesIn(const std::string& folder);

// The folder of the running program.
std::string programFolder();

}
