#pragma once

#include <atomic>
#include <cstddef>

// What this program's operator new has done, and what it shall do.
namespace Allocations {

inline std::atomic<long> living = 0;  // blocks that are not deleted yet

// Blocks so far that are as large as those of frames. Nothing else that showing a frame needs is.
constexpr std::size_t leastLargeSize = 1 << 14;
inline std::atomic<int> large = 0;

// The bytes of those that are not deleted yet, and the most that there have been.
inline std::atomic<std::size_t> largeBytes = 0;
inline std::atomic<std::size_t> mostLargeBytes = 0;

// Set to n, lets the n-th allocation of this thread fail, and is 0 from then on.
inline thread_local int untilFailure = 0;

}
