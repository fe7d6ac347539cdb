#include "MediaConversion/MediaFile/FrameHeader.h"
#include "MediaConversion/MediaFile/MediaFormatCodes.h"
#include "tests/reader/ReaderTest.h"

#include <opencv2/core/utility.hpp>

#include <sys/resource.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <deque>
#include <initializer_list>
#include <new>
#include <random>
#include <utility>
#include <vector>

namespace {

// The blocks of frames are as large in this test, and nothing else that showing a frame needs is.
constexpr std::size_t leastBlockSize = 1 << 14;
std::atomic<int> newBlocks = 0;

long pageFaults()
{
    rusage usage;
    ::getrusage(RUSAGE_SELF, &usage);
    return usage.ru_minflt;
}

}

void* operator new(std::size_t size)
{
    newBlocks += size >= leastBlockSize;
    if (void* const memory = std::malloc(size))
        return memory;
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}

using ClipMemory = ReaderTest;

// Clips of all formats and of several sizes follow each other in a random order, shown by a host
// that keeps some readers with their frames.
TEST_F(ClipMemory, growsNoMoreAfterFiveFrames)
{
    cv::setNumThreads(1);  // a second one may come late, and then touches its stack
    std::mt19937 random(1);
    DD::Image::Row row(0, 512);
    std::vector<std::pair<std::uint32_t, std::uint16_t>> clips;
    for (const auto& [code, format] : MediaConversion::mediaFormatCodes())
        for (const auto height : std::initializer_list<std::uint16_t>{64, 72, 128, 256})
            clips.emplace_back(code, height);
    for (const std::size_t keptReaders : {1, 2, 4}) {
        std::deque<HostedReader> readers;
        std::ranges::shuffle(clips, random);
        for (const auto& [code, height] : clips) {
            const auto& format = MediaConversion::mediaFormatCodes().at(code);
            const auto size = MediaConversion::frameDataSize(format, 512, height);
            const auto file =
                write(MediaFileBytes::picture(code, 512, height, std::string(size, 'z')));
            int blocksBefore = 0;
            long faultsBefore = 0;
            for (int frame = 1; frame <= 15; ++frame) {
                readers.push_back(construct(file));
                auto& reader = readers.back().reader();
                reader.open();
                for (int y = 0; y < height; ++y)
                    reader.engine(y, 0, 512, DD::Image::Mask_RGBA, row);
                if (readers.size() > keptReaders)
                    readers.pop_front();
                if (frame == 5) {
                    blocksBefore = newBlocks;
                    faultsBefore = pageFaults();
                }
            }
            EXPECT_EQ(newBlocks - blocksBefore, 0) << format.pixelFormat << ' ' << height;
            EXPECT_EQ(pageFaults() - faultsBefore, 0) << format.pixelFormat << ' ' << height;
            EXPECT_THAT(readers.back().takeMessages(), testing::IsEmpty());
        }
    }
    cv::setNumThreads(-1);
}
