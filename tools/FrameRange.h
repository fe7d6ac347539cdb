#pragma once

#include <string>
#include <vector>

namespace Zeq {

// The frames that a text like "1-100x2,200" names, in order and each once: every second one from 1
// to 100, and 200. Throws a UsageError.
std::vector<int> parseFrames(const std::string& text);

}
