#include "MediaConversion/MediaFile/FrameHeader.h"
#include "MediaConversion/MediaFile/MediaFormatCodes.h"
#include "tests/reader/MemoryTest.h"

#include <sys/resource.h>

#include <algorithm>
#include <deque>
#include <initializer_list>
#include <random>
#include <utility>
#include <vector>

namespace {

long pageFaults()
{
    rusage usage;
    ::getrusage(RUSAGE_SELF, &usage);
    return usage.ru_minflt;
}

}

using ClipMemory = MemoryTest;

// Clips of all formats and of several sizes follow each other in a random order, shown by a host
// that keeps some readers with their frames.
TEST_F(ClipMemory, growsNoMoreAfterFiveFrames)
{
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
                    blocksBefore = Allocations::large;
                    faultsBefore = pageFaults();
                }
            }
            EXPECT_EQ(Allocations::large - blocksBefore, 0) << format.pixelFormat << ' ' << height;
            // The system takes one away now and then. A fresh block has several, in every frame.
            EXPECT_LT(pageFaults() - faultsBefore, 10) << format.pixelFormat << ' ' << height;
            EXPECT_THAT(readers.back().takeMessages(), testing::IsEmpty());
        }
    }
}
