#include "tests/MediaFile/FakeFile.h"
#include "tests/reader/ReaderTest.h"

#include <sys/resource.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <latch>
#include <random>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

using namespace testing;

namespace {

class Threads : public ReaderTest
{
protected:
    static constexpr int threadCount = 8;

    // Runs the work on several threads that start together, each with a number of its own.
    template <class Work>
    static void onThreads(const Work& work)
    {
        std::latch start(threadCount);
        std::vector<std::jthread> threads;
        for (int number = 0; number < threadCount; ++number)
            threads.emplace_back([&, number] {
                start.arrive_and_wait();
                work(number);
            });
    }

    // Constructs a reader, opens it and pulls its rows on the calling thread. Gives whether they
    // show exactly the uniform picture.
    static bool isShown(const std::string& file, int size, int byte)
    {
        auto reader = opened(file);
        DD::Image::Row row(0, size);
        bool isRight = reader.reader().width() == size;
        for (int y = 0; y < size; ++y) {
            reader.reader().engine(y, 0, size, DD::Image::Mask_RGBA, row);
            for (const auto channel : channels)
                for (int x = 0; x < size; ++x)
                    isRight &= std::abs(row[channel][x] - byte / 255.0) < 1e-6;
        }
        return isRight && reader.takeMessages().empty();
    }

    // The calling process can start no more threads afterwards. To the superuser, the limit would
    // not apply.
    static bool startsNoMoreThreads()
    {
        const rlimit none{0, 0};
        constexpr uid_t nobody = 65534;
        if (::setrlimit(RLIMIT_NPROC, &none) || (::geteuid() == 0 && ::setuid(nobody)))
            return false;
        try {
            std::jthread([] {});
            return false;
        } catch (const std::system_error&) {
            return true;
        }
    }
};

}

TEST_F(Threads, mayOpenReadersOfAllFormatsAgainAndAgain)
{
    std::vector<std::pair<std::string, std::vector<float>>> shown;
    for (const auto& [code, format] : MediaConversion::mediaFormatCodes())
        for (const auto size : std::to_array<std::uint16_t>({4, 60, 132})) {
            auto picture = uniformPicture(code, size, size, 0);
            picture.data = MediaConversion::MediaFileTests::noise(picture.data.size());
            const auto file = write(std::to_string(shown.size()), picture.bytes());
            shown.emplace_back(file, opened(file).picture().pixels);
        }
    std::atomic<int> failures = 0;
    onThreads([&](unsigned number) {
        std::minstd_rand random(number + 1);
        for (int repetition = 0; repetition < 30; ++repetition) {
            const auto& [file, pixels] = shown[random() % shown.size()];
            auto reader = construct(file);
            for (auto opens = random() % 3 + 1; opens > 0; --opens) {
                reader.open();
                failures += reader.picture().pixels != pixels;
            }
            failures += !reader.takeMessages().empty();
        }
    });
    EXPECT_EQ(failures, 0);
}

// In processes that have made no reader yet, so that the first ones meet at the memory pool.
TEST_F(Threads, mayConstructTheFirstReadersAtOnce)
{
    for (int number = 0; number < threadCount; ++number)
        write(std::to_string(number), uniformPicture(rgbaU8, 64, 64, number).bytes());
    expectAtFirst([&] {
        int shown = threadCount;
        for (int process = 0; process < 500 && shown == threadCount; ++process)
            shown = exitStatusOf([&] {
                std::atomic<int> shownHere = 0;
                onThreads([&](int number) {
                    shownHere += isShown(path(std::to_string(number)), 64, number);
                });
                return shownHere.load();
            });
        return shown == threadCount;
    });
}

TEST_F(Threads, areNotNeeded)
{
    constexpr int size = 1200;  // for pages to be fetched by several threads
    const auto file = write(uniformPicture(rgbaU8, size, size, 0x33));
    std::filesystem::permissions(path(""), std::filesystem::perms::all);
    expectAtFirst([&] {
        return exitStatusOf(
                   [&] { return startsNoMoreThreads() && isShown(file, size, 0x33) ? 0 : 1; }) == 0;
    });
}
