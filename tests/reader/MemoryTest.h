#pragma once

#include "tests/reader/ReaderTest.h"

#include <opencv2/core/utility.hpp>

#include <atomic>

// What this program's operator new has done, and what it shall do.
namespace Allocations {

inline std::atomic<long> living = 0;  // blocks that are not deleted yet

// The bytes of living blocks that are as large as those of frames, as nothing else is that showing
// a frame needs, and the most that there were when this thread got another since it set this to 0.
constexpr std::size_t leastLargeSize = 1 << 14;
inline std::atomic<std::size_t> largeBytes = 0;
inline thread_local std::size_t mostLargeBytes = 0;

// Set to n, lets the n-th allocation of this thread fail, and is 0 from then on.
inline thread_local int untilFailure = 0;

}

// Watches what the plug-in keeps. On one thread: a worker that comes late brings blocks of its own.
class MemoryTest : public ReaderTest
{
protected:
    MemoryTest() { cv::setNumThreads(1); }
    ~MemoryTest() override { cv::setNumThreads(-1); }

    // The number of blocks once a few tiny pictures have been shown: the pool has let go of all
    // that it had for others by then, unless somebody still holds it. Their format is one that
    // takes two blocks at once and no third, whatever the pool has left.
    long settledBlocks() const
    {
        constexpr std::uint32_t rgbDpxFilled = 0x1200;
        const auto file = write("tiny.zeq", uniformPicture(rgbDpxFilled, 1, 1, 'x').bytes());
        for (int picture = 0; picture < 4; ++picture)
            opened(file);
        return Allocations::living;
    }
};
