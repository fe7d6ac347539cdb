#pragma once

#include "tests/reader/Allocations.h"
#include "tests/reader/ReaderTest.h"

#include <opencv2/core/utility.hpp>

#include <cstdint>

// Watches what the plug-in keeps. On one thread: a worker that comes late brings blocks of its own.
class MemoryTest : public ReaderTest
{
protected:
    static constexpr std::uint32_t rgbDpxFilled = 0x1200;

    MemoryTest() { cv::setNumThreads(1); }
    ~MemoryTest() override { cv::setNumThreads(-1); }

    // The number of blocks once a few tiny pictures have been shown: the pool has let go of all
    // that it had for others by then, unless somebody still holds it. Their format is one that
    // takes two blocks at once and no third, whatever the pool has left.
    long settledBlocks() const
    {
        const auto file =
            write("tiny.zeq", MediaFileBytes::picture(rgbDpxFilled, 1, 1, "four").bytes());
        for (int picture = 0; picture < 4; ++picture)
            construct(file).open();
        return Allocations::living;
    }
};
