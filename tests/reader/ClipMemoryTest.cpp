#include "MediaConversion/MediaFile/Headers.h"
#include "tests/reader/MemoryTest.h"

#include <sys/resource.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <deque>
#include <filesystem>
#include <initializer_list>
#include <iostream>
#include <random>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace {

long pageFaults()
{
    rusage usage;
    ::getrusage(RUSAGE_SELF, &usage);
    return usage.ru_minflt;
}

class ClipMemory : public MemoryTest
{
protected:
    // In a process that has shown nothing yet: whether opening a file takes as many times its size,
    // and again with the picture before in hand. What the pool keeps idle counts as well.
    int hasTaken(const std::string& file, double size, double opened, double openedAgain)
    {
        return exitStatusOf([&] {
            auto reader = construct(file);
            bool isRight = true;
            for (const auto expected : {opened, openedAgain, openedAgain}) {
                reader.open();
                const auto taken = static_cast<double>(Allocations::mostLargeBytes) / size;
                isRight &= expected - 0.1 < taken && taken < expected + 0.1;
                std::cerr << taken << " of " << expected << ", ";
            }
            return isRight && reader.takeMessages().empty() ? 0 : 1;
        });
    }

    [[noreturn]] void exitAfterAllFormats()
    {
        // clang-format off
        const std::tuple<std::uint32_t, double, double> cases[] = {
            // code,      opened, again
            {0x00000008,  9.0, 17.0},  // YUYV-422
            {0x00000040, 11.7, 22.3},  // ZEQ-420
            {0x00000200,  7.7, 13.0},  // RGB
            {0x00000202,  7.7, 13.0},  // BGR
            {0x00000204,  6.0, 10.0},  // RGBA
            {0x00000206,  5.0,  9.0},  // BGRA
            {0x00001108,  7.4, 13.8},  // ZEQ-422
            {0x00001200,  5.0,  9.0},  // RGB-DPX-FILLED
            {0x00001202,  5.0,  9.0},  // BGR-DPX-FILLED
            {0x00010200,  4.6,  8.1},  // RGB-SMPTE-2110
            {0x00010202,  4.6,  8.1},  // BGR-SMPTE-2110
            {0x0001100C,  5.0,  9.0},  // ZEQ-4224-HYBRID
            {0x20000000, 21.0, 37.0},  // YCoCg-DXT5
        };
        // clang-format on
        int status = std::size(cases) == MediaConversion::mediaFormatCodes().size() ? 0 : 1;
        for (const auto& [code, opened, openedAgain] : cases) {
            const auto& format = MediaConversion::mediaFormatCodes().at(code);
            const auto size = MediaConversion::frameDataSize(format, 1024, 1024);
            const auto file =
                write(MediaFileBytes::picture(code, 1024, 1024, std::string(size, 'z')));
            std::cerr << format.pixelFormat << ": ";
            status |= hasTaken(file, size, opened, openedAgain);
        }
        std::filesystem::remove_all(path(""));
        std::exit(status);
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

// SECURITY.md promises the largest of these.
TEST_F(ClipMemory, isBoundedByTheSizeOfTheFile)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(exitAfterAllFormats(), testing::ExitedWithCode(0), "");
}
