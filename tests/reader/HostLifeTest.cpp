#include "tests/reader/ReaderTest.h"

#include <opencv2/core.hpp>

#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <barrier>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <vector>

using namespace Headless;

using namespace testing;
using Description = DD::Image::Reader::Description;

namespace {

// It is filled with its number of rows.
cv::Mat matrixOf(int rows)
{
    return {rows, rows, CV_32SC1, cv::Scalar(rows)};
}

bool isIntact(const cv::Mat& matrix)
{
    return cv::countNonZero(matrix != matrix.rows) == 0;
}

std::vector<std::string> samples()
{
    std::vector<std::string> paths;
    for (const auto& entry : std::filesystem::directory_iterator(SAMPLES))
        if (entry.path().extension() == ".zeq")
            paths.push_back(entry.path());
    return paths;
}

// Has nothing of the plug-in at first.
class HostLife : public ReaderTest
{
protected:
    // A file, the messages that it causes, and what it shows.
    struct File
    {
        std::string path;
        Messages messages = {};
        std::vector<float> pixels = {};
    };

    struct Kept
    {
        const File& file;
        HostedReader reader;
        cv::Mat matrix;
    };

    HostLife() { m_host.reset(); }

    // The samples, each also cut short, and first a picture with blocks of more than 4 MiB, whose
    // pages are fetched by several threads.
    std::vector<File> clip() const
    {
        std::vector<File> files{{write(uniformPicture(rgbaU8, 640, 480, 'x'))}};
        for (const auto& sample : samples()) {
            const auto cut = path(std::to_string(files.size()));
            std::filesystem::copy_file(sample, cut);
            std::filesystem::resize_file(cut, std::filesystem::file_size(cut) * 2 / 3);
            files.push_back({sample});
            files.push_back({cut, {"Media file has unexpectedly reached End-Of-File"}});
        }
        const HeadlessHost host(PLUG_IN);
        for (auto& [path, messages, pixels] : files)
            if (messages.empty())
                pixels = host.read(path).pixels;
        return files;
    }

    // Loads the plug-in and unloads it again. What is kept outlives that, and stays as it was.
    static void show(const File& file, int number, std::vector<Kept>& kept)
    {
        const HeadlessHost host(PLUG_IN);
        kept.push_back({file, opened(file.path), matrixOf(number % 500 + 1)});
        EXPECT_EQ(kept.back().reader.takeMessages(), file.messages) << file.path;
        for (auto* each : {&kept.front(), &kept.back()}) {
            EXPECT_TRUE(!each->file.messages.empty() ||
                        each->reader.picture().pixels == each->file.pixels)
                << each->file.path;
            EXPECT_TRUE(isIntact(each->matrix));
        }
        if (kept.size() == 4)
            kept.clear();
    }
};

long heapKilobytes()
{
    const auto heap = ::mallinfo2();
    return static_cast<long>((heap.uordblks + heap.hblkhd) >> 10);
}

long residentKilobytes()
{
    long pages = 0;
    std::ifstream("/proc/self/statm") >> pages >> pages;
    return pages * 4;
}

}

// A thousand times, or for as many minutes as HOST_LIFE_MINUTES says. The viewers' threads stay as
// a host's do: OpenCV keeps a little memory for every thread that ever ran a parallel loop.
TEST_F(HostLife, isTheSameForAsLongAsItLasts)
{
    const char* const minutes = std::getenv("HOST_LIFE_MINUTES");
    const int periods = minutes ? std::max(std::atoi(minutes), 2) : 5;
    if (minutes) {
        // Large blocks go back to the system when they are freed: what is resident is what is held.
        ::mallopt(M_MMAP_THRESHOLD, 1 << 17);
        ::mallopt(M_ARENA_MAX, 1);
        std::puts("| minute | files shown | memory, KiB | descriptors | threads |");
        std::puts("|---|---|---|---|---|");
    }

    const auto files = clip();
    std::atomic<int> filesShown = 0;
    std::mutex restMutex;
    std::barrier turn(4);
    const auto view = [&](unsigned seed) {
        std::minstd_rand random(seed);
        std::vector<Kept> kept;
        for (int period = 1; period <= periods; ++period) {
            const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
            for (int cycle = 0; minutes ? std::chrono::steady_clock::now() < end : cycle < 70;
                 ++cycle)
                show(files[random() % files.size()], ++filesShown, kept);
            turn.arrive_and_wait();
            {
                // The pool keeps some idle blocks, however large. After a clip that nobody else is
                // shown meanwhile they are those of its frames.
                const std::lock_guard lock(restMutex);
                kept.clear();
                for (int frame = 0; frame < 8; ++frame)
                    show(files[0], frame, kept);
            }
            turn.arrive_and_wait();  // at rest
            turn.arrive_and_wait();
        }
    };
    const std::jthread viewers[]{std::jthread(view, 1), std::jthread(view, 2),
                                 std::jthread(view, 3)};

    long firstMemory = 0;
    std::ptrdiff_t firstDescriptors = 0;
    for (int period = 1; period <= periods; ++period) {
        turn.arrive_and_wait();
        turn.arrive_and_wait();
        ::malloc_trim(0);
        const auto memory = minutes ? residentKilobytes() : heapKilobytes();
        const auto descriptors = entryCount("/proc/self/fd");
        if (period <= 1 + periods / 10) {
            firstMemory = memory;
            firstDescriptors = descriptors;
        }
        EXPECT_LE(memory, firstMemory + (minutes ? 1024 : 128)) << period;
        EXPECT_EQ(descriptors, firstDescriptors) << period;
        if (minutes) {
            std::printf("| %d | %d | %ld | %td | %td |\n", period, filesShown.load(), memory,
                        descriptors, entryCount("/proc/self/task"));
            std::fflush(stdout);
        }
        turn.arrive_and_wait();
    }
}

// Static objects go in the reverse order of their making: the first of these after all that the
// plug-in has, the last before.
TEST_F(HostLife, mayExitWithFramesInHand)
{
    expectAtFirst([] {
        static std::vector<HostedReader> firstReaders;
        static cv::Mat firstMatrix;
        HeadlessHost(PLUG_IN);  // unloads it at once
        for (const auto& sample : samples())
            firstReaders.push_back(opened(sample));
        static const auto lastReader = opened(samples()[0]);
        static const auto lastMatrix = matrixOf(64);
        firstMatrix = lastMatrix.clone();
        return std::ranges::all_of(firstReaders,
                                   [](auto& reader) { return reader.takeMessages().empty(); });
    });
}

// The one that is loaded first makes the first reader of the two, and then the last.
TEST_F(HostLife, mayHaveTwoPlugInsAtOnce)
{
    const auto files = samples();
    std::vector<HeadlessHost> hosts;
    for (const std::size_t first : {1, 0}) {
        for (int copy = 0; copy < 2; ++copy) {
            const auto file = path(std::to_string(hosts.size()));
            std::filesystem::copy_file(PLUG_IN, file);
            hosts.emplace_back(file);
        }
        const auto plugIns = Description::all();  // the latest first
        const auto shown = [&](std::size_t plugIn, const std::string& file) {
            HostedReader reader(*plugIns[plugIn], file);
            reader.open();
            EXPECT_THAT(reader.takeMessages(), IsEmpty()) << file;
            return reader.picture().pixels;
        };
        HostedReader early(*plugIns[first], files[0]);
        early.open();
        auto earlyMatrix = matrixOf(64);
        const auto late = shown(1 - first, files[0]);
        EXPECT_TRUE(isIntact(earlyMatrix));
        earlyMatrix = matrixOf(65);
        early.open();
        EXPECT_EQ(early.picture().pixels, late);

        const auto compare = [&](std::size_t plugIn) {
            for (const auto& file : files)
                EXPECT_EQ(shown(plugIn, file), shown(1 - plugIn, file));
        };
        {
            const std::jthread threads[]{std::jthread(compare, 0), std::jthread(compare, 1),
                                         std::jthread(compare, 0), std::jthread(compare, 1)};
        }
        EXPECT_TRUE(isIntact(earlyMatrix));
    }
}
