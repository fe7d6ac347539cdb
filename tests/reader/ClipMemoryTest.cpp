#include "tests/reader/MemoryTest.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <initializer_list>
#include <random>
#include <set>
#include <utility>
#include <vector>

using namespace Headless;

using MediaConversion::mediaFormatCodes;

namespace {

class ClipMemory : public MemoryTest
{
protected:
    // In a process that has shown nothing yet: whether opening a picture takes the bytes of the
    // file, of the frame for the host and of one that some formats need between the two; and again,
    // with the picture before in hand, another frame. What the pool keeps idle counts as well.
    bool takesWhatItNeeds(std::uint32_t code) const
    {
        constexpr double pixels = 1024 * 1024;
        constexpr double frame = 16 * pixels;
        const std::set<std::uint32_t> inTwoSteps{0x200, 0x202, 0x204, 0x20000000};
        const double between = inTwoSteps.contains(code) ? 4 * pixels : 0;
        const auto file = write(uniformPicture(code, 1024, 1024, 'z'));
        const auto atFirst =
            static_cast<double>(std::filesystem::file_size(file)) + between + frame;
        auto reader = construct(file);
        Allocations::mostLargeBytes = 0;
        for (const auto expected : {atFirst, atFirst + frame, atFirst + frame}) {
            reader.open();
            const auto taken = static_cast<double>(Allocations::mostLargeBytes);
            EXPECT_NEAR(taken, expected, 0.1 * pixels) << std::hex << code;
        }
        EXPECT_THAT(reader.takeMessages(), testing::IsEmpty());
        return !HasFailure();
    }
};

}

// Clips of all formats and of several sizes follow each other in a random order, shown by a host
// that keeps some readers with their frames.
TEST_F(ClipMemory, growsNoMoreAfterFiveFrames)
{
    std::mt19937 random(1);
    DD::Image::Row row(0, 512);
    std::vector<std::pair<std::uint32_t, std::uint16_t>> clips;
    for (const auto& [code, format] : mediaFormatCodes())
        for (const auto height : std::initializer_list<std::uint16_t>{64, 72, 128, 256})
            clips.emplace_back(code, height);
    for (const std::size_t keptReaders : {1, 2, 4}) {
        std::deque<HostedReader> readers;
        std::ranges::shuffle(clips, random);
        for (const auto& [code, height] : clips) {
            const auto file = write(uniformPicture(code, 512, height, 'z'));
            int blocksBefore = 0;
            for (int frame = 1; frame <= 15; ++frame) {
                readers.push_back(opened(file));
                for (int y = 0; y < height; ++y)
                    readers.back().reader().engine(y, 0, 512, DD::Image::Mask_RGBA, row);
                if (readers.size() > keptReaders)
                    readers.pop_front();
                if (frame == 5)
                    blocksBefore = Allocations::large;
            }
            EXPECT_EQ(Allocations::large, blocksBefore) << std::hex << code << ' ' << height;
            EXPECT_THAT(readers.back().takeMessages(), testing::IsEmpty());
        }
    }
}

// SECURITY.md promises the largest of these: 37 times the file for DXT5, whose pixels have a byte.
TEST_F(ClipMemory, isBoundedByTheSizeOfTheFile)
{
    expectAtFirst([&] {
        return std::ranges::all_of(mediaFormatCodes(), [&](const auto& format) {
            return exitStatusOf([&] { return takesWhatItNeeds(format.first) ? 0 : 1; }) == 0;
        });
    });
}
