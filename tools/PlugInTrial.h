#pragma once

#include <string>

namespace Zeq {

// Loads a plug-in in a process of its own, as it may bring its process down. Gives what went wrong;
// empty when it loads.
std::string tryPlugIn(const std::string& fileName);

}
