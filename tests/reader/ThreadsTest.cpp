#include "tests/reader/ReaderTest.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdlib>
#include <latch>
#include <thread>

using namespace testing;

namespace {

class Threads : public ReaderTest
{
protected:
    static constexpr int readerCount = 8;

    // Eight readers, each on a thread of its own, start together on pictures of their own. Gives
    // the number of those that showed exactly their picture.
    int readTogether()
    {
        std::vector<std::string> files;
        for (int index = 0; index < readerCount; ++index)
            files.push_back(write(std::to_string(index), picture(index).bytes()));

        std::atomic<int> right = 0;
        std::latch start(readerCount);
        {
            std::vector<std::jthread> threads;
            for (int index = 0; index < readerCount; ++index)
                threads.emplace_back([&, index] {
                    start.arrive_and_wait();
                    auto reader = construct(files[static_cast<std::size_t>(index)]);
                    reader.open();
                    const auto pixels = reader.picture().pixels;
                    const auto isRight = [&](float sample) {
                        return std::abs(sample - expectedSample(index)) < 1e-6f;
                    };
                    if (reader.takeMessages().empty() && pixels.size() == size * size * 4 &&
                        std::ranges::all_of(pixels, isRight))
                        ++right;
                });
        }
        return right;
    }

private:
    static constexpr std::uint16_t size = 64;

    static MediaFileBytes picture(int index)
    {
        const auto sample = static_cast<char>(16 * (index + 1));
        return MediaFileBytes::picture(rgbaU8, size, size,
                                       std::string(std::size_t{size} * size * 4, sample));
    }

    static float expectedSample(int index) { return static_cast<float>(16 * (index + 1)) / 255; }
};

}

TEST_F(Threads, mayOpenReadersAtOnce)
{
    EXPECT_EQ(readTogether(), readerCount);
}

// In a process that has made no reader yet, so that the first ones meet at the memory pool.
TEST_F(Threads, mayConstructTheFirstReadersAtOnce)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(std::exit(readTogether() == readerCount ? 0 : 1), ExitedWithCode(0), "");
}

TEST_F(Threads, mayPullRowsOfOneReaderAtOnce)
{
    auto reader = construct(write(tellingPicture(8, 7)));
    reader.open();
    for (int repetition = 0; repetition < 20; ++repetition) {
        const auto picture = reader.picture();
        for (int row = 0; row < 7; ++row)
            for (int column = 0; column < 8; ++column)
                for (int channel = 0; channel < 4; ++channel)
                    ASSERT_FLOAT_EQ(picture.pixel(column, row)[channel],
                                    tellingSample(channel, row, column));
    }
    EXPECT_THAT(reader.takeMessages(), IsEmpty());
}
