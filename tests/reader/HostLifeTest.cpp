#include "host/headless/HeadlessHost.h"
#include "host/headless/HostedReader.h"
#include "tests/MediaFile/TemporaryFolder.h"
#include "tests/support/MediaFileBytes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
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
#include <iterator>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <vector>

using namespace testing;
using Description = DD::Image::Reader::Description;
using MediaConversion::MediaFileTests::TemporaryFolder;

namespace {

using Messages = std::vector<std::string>;

HostedReader opened(const Description& description, const std::string& file,
                    const Messages& messages = {})
{
    HostedReader reader(description, file);
    reader.open();
    EXPECT_EQ(reader.takeMessages(), messages) << file;
    return reader;
}

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

// A file, the messages that it causes, and what it shows.
struct File
{
    std::string path;
    Messages messages = {};
    std::vector<float> pixels = {};
};

// The samples, each also cut short, and first a picture with blocks of more than 4 MiB, whose pages
// are fetched by several threads.
std::vector<File> clip(const TemporaryFolder& folder)
{
    std::vector<File> files{{folder.file("large")}};
    const std::string data(640 * 480 * 4, 'x');
    writeFile(files[0].path, MediaFileBytes::picture(0x204, 640, 480, data).bytes());
    for (const auto& sample : samples()) {
        const auto cut = folder.file(std::to_string(files.size()));
        std::filesystem::copy_file(sample, cut);
        std::filesystem::resize_file(cut, std::filesystem::file_size(cut) * 2 / 3);
        files.push_back({sample});
        files.push_back({cut, {"Media file has unexpectedly reached End-Of-File"}});
    }
    const HeadlessHost host(PLUG_IN);
    for (auto& [path, messages, pixels] : files) {
        auto reader = opened(*Description::find("zeq"), path, messages);
        if (messages.empty())
            pixels = reader.picture().pixels;
    }
    return files;
}

struct Kept
{
    const File& file;
    HostedReader reader;
    cv::Mat matrix;
};

// Loads the plug-in and unloads it again. What is kept outlives that, and stays as it was.
void show(const File& file, int number, std::vector<Kept>& kept)
{
    const HeadlessHost host(PLUG_IN);
    kept.push_back({file, opened(*Description::find("zeq"), file.path, file.messages),
                    matrixOf(number % 500 + 1)});
    for (auto* each : {&kept.front(), &kept.back()}) {
        EXPECT_TRUE(!each->file.messages.empty() ||
                    each->reader.picture().pixels == each->file.pixels)
            << each->file.path;
        EXPECT_TRUE(isIntact(each->matrix));
    }
    if (kept.size() == 4)
        kept.clear();
}

std::ptrdiff_t entries(const char* folder)
{
    return std::distance(std::filesystem::directory_iterator(folder), {});
}

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

// Static objects go in the reverse order of their making: the first of these after all that the
// plug-in has, the last before.
[[noreturn]] void exitWithFrames()
{
    static std::vector<HostedReader> firstReaders;
    static cv::Mat firstMatrix;
    HeadlessHost(PLUG_IN);  // unloads it at once
    const auto& description = *Description::find("zeq");
    for (const auto& sample : samples())
        firstReaders.push_back(opened(description, sample));
    static const auto lastReader = opened(description, samples()[0]);
    static const auto lastMatrix = matrixOf(64);
    firstMatrix = lastMatrix.clone();
    std::exit(Test::HasFailure());
}

}

// A thousand times, or for as many minutes as HOST_LIFE_MINUTES says. The viewers' threads stay as
// a host's do: OpenCV keeps a little memory for every thread that ever ran a parallel loop.
TEST(HostLife, isTheSameForAsLongAsItLasts)
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

    const TemporaryFolder folder;
    const auto files = clip(folder);
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
        const auto descriptors = entries("/proc/self/fd");
        if (period <= 1 + periods / 10) {
            firstMemory = memory;
            firstDescriptors = descriptors;
        }
        EXPECT_LE(memory, firstMemory + (minutes ? 1024 : 128)) << period;
        EXPECT_EQ(descriptors, firstDescriptors) << period;
        if (minutes) {
            std::printf("| %d | %d | %ld | %td | %td |\n", period, filesShown.load(), memory,
                        descriptors, entries("/proc/self/task"));
            std::fflush(stdout);
        }
        turn.arrive_and_wait();
    }
}

TEST(HostLife, mayExitWithFramesInHand)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(exitWithFrames(), ExitedWithCode(0), Eq(""));
}

// The one that is loaded first makes the first reader of the two, and then the last.
TEST(HostLife, mayHaveTwoPlugInsAtOnce)
{
    const TemporaryFolder folder;
    const auto files = samples();
    std::vector<std::unique_ptr<HeadlessHost>> hosts;
    for (const std::size_t first : {1, 0}) {
        for (int copy = 0; copy < 2; ++copy) {
            const auto file = folder.file(std::to_string(hosts.size()));
            std::filesystem::copy_file(PLUG_IN, file);
            hosts.push_back(std::make_unique<HeadlessHost>(file));
        }
        const auto plugIns = Description::all();  // the latest first
        auto early = opened(*plugIns[first], files[0]);
        auto earlyMatrix = matrixOf(64);
        auto late = opened(*plugIns[1 - first], files[0]);
        EXPECT_TRUE(isIntact(earlyMatrix));
        earlyMatrix = matrixOf(65);
        early.open();
        EXPECT_EQ(early.picture().pixels, late.picture().pixels);

        std::atomic<int> differences = 0;
        const auto compare = [&](std::size_t plugIn) {
            for (const auto& sample : files)
                differences += opened(*plugIns[plugIn], sample).picture().pixels !=
                               opened(*plugIns[1 - plugIn], sample).picture().pixels;
        };
        {
            const std::jthread threads[]{std::jthread(compare, 0), std::jthread(compare, 1),
                                         std::jthread(compare, 0), std::jthread(compare, 1)};
        }
        EXPECT_EQ(differences, 0);
        EXPECT_TRUE(isIntact(earlyMatrix));
    }
}
