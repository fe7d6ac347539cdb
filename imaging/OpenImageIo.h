#pragma once

#include <opencv2/core/utility.hpp>

#include <algorithm>
#include <stdexcept>
#include <string>

// What reading and writing through OpenImageIO share.
namespace Imaging {

// Throws the first line of OpenImageIO's text, which may have several or none.
[[noreturn]] inline void failWith(const std::string& text, const char* otherwise)
{
    const auto line = text.substr(0, text.find('\n'));
    throw std::runtime_error(line.empty() ? otherwise : line);
}

// How many rows are read or written at once: enough for all threads, and few enough to be in a
// cache still when their channels are put in order. Files come in strips or tiles of `unit` rows.
inline int bandHeight(int unit)
{
    const int wanted = std::max(64, 32 * cv::getNumThreads());
    return std::max(1, wanted / unit) * unit;
}

template <class Operation>
void forEachBand(int height, int largestBand, const Operation& operation)
{
    for (int first = 0, end = 0; first < height; first = end) {
        end = first + std::min(largestBand, height - first);
        operation(first, end);
    }
}

}
