#pragma once

#include <cstddef>

namespace Zeq {

// Whether so many threads more can be started at once. What OpenCV, OpenImageIO and the libraries
// behind them do where a thread cannot be started is to fail, or to end the program.
bool canStartThreads(std::size_t count);

}
