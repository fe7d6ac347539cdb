#include "tests/reader/ReaderTest.h"

#include <opencv2/core.hpp>
#include <opencv2/core/utility.hpp>

#include <malloc.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <barrier>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <mutex>
#include <random>
#include <system_error>

using namespace Headless;

using namespace testing;

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
    cv::glob(SAMPLES "/*.zeq", paths);
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

    // Loads the plug-in and unloads it again; the reader is of this one or of another. What is kept
    // outlives that, and stays as it was; the first is opened again and again.
    static void show(const File& file, int number, std::vector<Kept>& kept)
    {
        const HeadlessHost host(PLUG_IN);
        const auto plugIns = DD::Image::Reader::Description::all();
        const auto& plugIn = *plugIns[number % plugIns.size()];
        kept.push_back({file, HostedReader(plugIn, file.path), matrixOf(number % 555 + 1)});
        for (auto* opened : {&kept.back(), &kept.front()}) {
            opened->reader.open();
            EXPECT_EQ(opened->reader.takeMessages(), opened->file.messages) << opened->file.path;
        }
        for (auto& [shown, reader, matrix] : kept) {
            EXPECT_TRUE(!shown.messages.empty() || reader.picture().pixels == shown.pixels)
                << shown.path;
            EXPECT_TRUE(isIntact(matrix));
        }
        if (kept.size() == 4)
            kept.clear();
    }
};

class Threads : public ReaderTest
{
protected:
    // Constructs a reader, opens it and pulls its rows on the calling thread. Gives whether they
    // show exactly the uniform picture.
    static bool isShown(const std::string& file, int size, int byte)
    {
        auto reader = opened(file);
        DD::Image::Row row(0, size);
        bool isRight = true;
        for (int y = 0; y < size; ++y) {
            reader.reader().engine(y, 0, size, DD::Image::Mask_RGBA, row);
            for (int x = 0; x < size; ++x)
                isRight &= std::abs(row[DD::Image::Chan_Red][x] - byte / 255.0) < 1e-6;
        }
        return isRight && reader.takeMessages().empty();
    }
};

// What is resident, or used of the heap.
long kilobytes(bool areResident)
{
    long pages = 0;
    std::ifstream("/proc/self/statm") >> pages >> pages;
    const auto heap = ::mallinfo2();
    return areResident ? pages * 4 : static_cast<long>((heap.uordblks + heap.hblkhd) >> 10);
}

}

// A thousand times, or for as many minutes as HOST_LIFE_MINUTES says, with two plug-ins at once,
// whose readers take turns. The viewers' threads stay as a host's do: OpenCV keeps a little memory
// for every thread that ever ran a parallel loop.
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
    std::filesystem::copy_file(PLUG_IN, path("another.so"));
    const HeadlessHost another(path("another.so"));
    // A plug-in's first reader sets OpenCV's allocator, which other threads read without a lock.
    for (const auto* plugIn : DD::Image::Reader::Description::all())
        HostedReader(*plugIn, files[0].path);
    std::atomic<int> filesShown = 0;
    int period = 0;
    long firstMemory = 0;
    std::ptrdiff_t firstDescriptors = 0;
    const auto measure = [&]() noexcept {
        ::malloc_trim(0);
        const auto memory = kilobytes(minutes);
        const auto descriptors = entryCount("/proc/self/fd");
        if (++period <= 1 + periods / 10) {
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
    };

    constexpr int viewerCount = 3;
    std::barrier hasShown(viewerCount);
    std::barrier isAtRest(viewerCount, measure);
    std::mutex restMutex;
    const auto view = [&](unsigned seed) {
        std::minstd_rand random(seed);
        std::vector<Kept> kept;
        for (int turn = 0; turn < periods; ++turn) {
            const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
            for (int cycle = 0; minutes ? std::chrono::steady_clock::now() < end : cycle < 70;
                 ++cycle)
                show(files[random() % files.size()], ++filesShown, kept);
            hasShown.arrive_and_wait();
            {
                // The pools keep some idle blocks, however large. After a clip that nobody else is
                // shown meanwhile, with matrices as large as its files, they are those of it.
                const std::lock_guard lock(restMutex);
                kept.clear();
                for (int frame = 0; frame < 16; ++frame)
                    show(files[0], 554 + 555 * frame, kept);
            }
            isAtRest.arrive_and_wait();
        }
    };
    std::vector<std::jthread> viewers;
    for (unsigned seed = 1; seed <= viewerCount; ++seed)
        viewers.emplace_back(view, seed);
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
        const int status = exitStatusOf([&] {
            const rlimit none{0, 0};
            EXPECT_EQ(::setrlimit(RLIMIT_NPROC, &none), 0);
            // To the superuser, the limit would not apply.
            constexpr uid_t nobody = 65534;
            EXPECT_TRUE(::geteuid() != 0 || ::setuid(nobody) == 0);
            EXPECT_THROW(std::jthread([] {}), std::system_error);
            return isShown(file, size, 0x33) && !HasFailure() ? 0 : 1;
        });
        return status == 0;
    });
}
