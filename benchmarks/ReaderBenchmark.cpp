// What a user waits for who scrubs through a shot: a file is opened, its frame converted and all
// its rows pulled. In the steady state that is held against reading the file, the limit of the
// memory and the copying of the rows; the first frame against touching the pages that it is the
// first to use. Names are as those of the conversions' benchmarks.

#include "MediaConversion/MediaFile/FileNames.h"
#include "MediaConversion/MediaFile/MediaFormatCodes.h"
#include "MediaConversion/MediaFile/VelmoraMediaFileWriter.h"
#include "MediaConversion/MediaPipeline/Formats.h"
#include "benchmarks/Limit.h"
#include "benchmarks/Machine.h"
#include "benchmarks/Pictures.h"
#include "benchmarks/Work.h"
#include "host/headless/HostedReader.h"
#include "tests/MediaFile/TemporaryFolder.h"

#include <benchmark/benchmark.h>
#include <opencv2/core/utility.hpp>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>

namespace {

using namespace Benchmarks;
using DD::Image::Row;
using Velmora::FrameFormat;

constexpr int threads = 2;

// A file of noise, in memory.
struct Clip
{
    Clip(const FrameFormat& format, int height)
        : setting{Benchmarks::Picture::Noise, height, threads}, file(folder.file("frame.zeq"))
    {
        MediaConversion::VelmoraMediaFileWriter().write(
            MediaConversion::wideFileName(file), *frameOf(format, makePicture(format, setting)));
    }

    MediaConversion::MediaFileTests::TemporaryFolder folder{"/dev/shm"};
    Setting setting;
    std::string file;
};

template <class Operation>
double secondsOf(const Operation& operation)
{
    const auto start = std::chrono::steady_clock::now();
    operation();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// The rows of a frame as a host takes them that pulls with two threads.
template <class PullRow>
void pullRows(const cv::Size& size, const PullRow& pullRow)
{
    std::atomic<int> nextRow = 0;
    const auto pull = [&] {
        Row row(0, size.width);
        for (int y = nextRow++; y < size.height; y = nextRow++)
            pullRow(y, row);
    };
    const std::jthread other(pull);
    pull();
}

void throwMessages(HostedReader& reader)
{
    for (const auto& message : reader.takeMessages())
        throw std::runtime_error(message);
}

// The reader as the host makes it for a frame of a clip. It holds its frame until the next one has
// its own.
class Scrubbing
{
public:
    explicit Scrubbing(const Clip& clip) : m_clip(clip) {}

    void open()
    {
        const auto* const description = DD::Image::Reader::Description::find("zeq");
        auto next = std::make_unique<HostedReader>(*description, m_clip.file);
        next->open();
        throwMessages(*next);
        m_reader = std::move(next);
    }

    void pullAllRows()
    {
        pullRows(m_clip.setting.size(), [&](int y, Row& row) {
            m_reader->reader().engine(y, 0, row.r(), DD::Image::Mask_RGBA, row);
        });
        throwMessages(*m_reader);
    }

private:
    const Clip& m_clip;
    std::unique_ptr<HostedReader> m_reader;
};

// Hands out the rows of a matrix of float BGRA, channel by channel.
class RowCopy final : public DD::Image::Reader
{
public:
    explicit RowCopy(const cv::Mat& image) : Reader(nullptr), m_image(image) {}

    void engine(int y, int x, int r, DD::Image::ChannelMask, Row& row) override
    {
        using namespace DD::Image;
        const float* source = m_image.ptr<float>(m_image.rows - 1 - y, x);
        for (const auto channel : {Chan_Blue, Chan_Green, Chan_Red, Chan_Alpha})
            from_float(channel, row.writable(channel) + x, source++, nullptr, r - x, 4);
    }

private:
    const cv::Mat& m_image;
};

// A host that has shown a few frames of a clip, and what its work is measured beside.
class SteadyState
{
public:
    SteadyState(const FrameFormat& format, int height)
        : m_clip(format, height),
          m_scrubbing(m_clip),
          m_bytes(1, static_cast<int>(std::filesystem::file_size(m_clip.file)), CV_8U)
    {
        cv::setNumThreads(threads);
        for (auto& image : m_images)
            image = cv::Mat(m_clip.setting.size(), CV_32FC4, cv::Scalar::all(0.5));
        constexpr int framesUntilThePoolIsFilled = 5;
        for (int frame = 0; frame < framesUntilThePoolIsFilled; ++frame)
            m_scrubbing.open();
        readFile();
    }

    void open() { m_scrubbing.open(); }
    void pullAllRows() { m_scrubbing.pullAllRows(); }
    void limit(const Stores& stores) { readAndWrite(stores, m_bytes, m_images[m_turn ^= 1]); }

    void readFile()
    {
        const int descriptor = ::open(m_clip.file.c_str(), O_RDONLY | O_CLOEXEC);
        const auto taken = ::read(descriptor, m_bytes.data, m_bytes.total());
        ::close(descriptor);
        if (taken != static_cast<ssize_t>(m_bytes.total()))
            throw std::runtime_error("cannot read " + m_clip.file);
    }

    void copyRows()
    {
        const auto& image = m_images[m_turn ^= 1];
        RowCopy copy(image);
        pullRows(image.size(),
                 [&](int y, Row& row) { copy.engine(y, 0, row.r(), DD::Image::Mask_RGBA, row); });
    }

private:
    Clip m_clip;
    Scrubbing m_scrubbing;
    cv::Mat m_bytes;
    cv::Mat m_images[2];
    int m_turn = 0;
};

// What an operation gives in a process of its own, whose memory nobody has touched and which has no
// other threads. This process must not have started any.
template <class Operation>
auto inNewProcess(const Operation& operation)
{
    using Result = decltype(operation());
    Result result{};
    int pipe[2];
    if (::pipe(pipe) != 0)
        throw std::runtime_error("no pipe");
    const auto child = ::fork();
    if (child == 0) {
        try {
            result = operation();
            ::_exit(::write(pipe[1], &result, sizeof result) == sizeof result ? 0 : 1);
        } catch (const std::exception& error) {
            std::fprintf(stderr, "%s\n", error.what());
            ::_exit(1);
        }
    }
    ::close(pipe[1]);
    const auto taken = ::read(pipe[0], &result, sizeof result);
    ::close(pipe[0]);
    ::waitpid(child, nullptr, 0);
    if (taken != sizeof result)
        throw std::runtime_error("a measurement failed");
    return result;
}

struct FirstFrame
{
    double seconds;
    long pages;
};

FirstFrame measureFirstFrame(const Clip& clip)
{
    // The workers are there already, as in a host that has shown another picture.
    cv::setNumThreads(threads);
    cv::parallel_for_(cv::Range(0, 64), [](const cv::Range&) { ::usleep(100); });
    const auto pageFaults = [] {
        rusage usage;
        ::getrusage(RUSAGE_SELF, &usage);
        return usage.ru_minflt;
    };
    Scrubbing scrubbing(clip);
    const auto faults = pageFaults();
    const double time = secondsOf([&] { scrubbing.open(); });
    return {time, pageFaults() - faults};
}

double measureTouching(long pages)
{
    const long pageSize = ::getpagesize();
    void* const memory = ::mmap(nullptr, static_cast<std::size_t>(pages * pageSize),
                                PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED)
        throw std::runtime_error("no memory");
    const auto touch = [&](long first, long end) {
        for (long page = first; page < end; ++page)
            static_cast<volatile char*>(memory)[page * pageSize] = 1;
    };
    return secondsOf([&] {
        const std::jthread other(touch, pages / 2, pages);
        touch(0, pages / 2);
    });
}

void add(const std::string& name, const std::function<void(benchmark::State&)>& run)
{
    benchmark::RegisterBenchmark(name.c_str(), run)
        ->Iterations(1)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
}

void registerSteadyState(const FrameFormat& format, int height)
{
    const auto group = shortName(format) + " to rows/" +
                       nameOf(Setting{Benchmarks::Picture::Noise, height, threads}) + '/';
    const auto host = std::make_shared<std::optional<SteadyState>>();
    const auto ready = [=]() -> SteadyState& {
        if (!*host)
            host->emplace(format, height);
        return **host;
    };
    add(group + "ours", [=](benchmark::State& state) {
        auto& steady = ready();
        for (auto _ : state) {
            const double open = secondsOf([&] { steady.open(); });
            const double rows = secondsOf([&] { steady.pullAllRows(); });
            state.SetIterationTime(open + rows);
            state.counters["open"] = open * 1e3;
            state.counters["rows"] = rows * 1e3;
        }
        state.counters["target"] = format == Velmora::Formats::YCoCg_DXT5() ? 1.5 : 1.2;
    });
    const auto addPart = [&](const std::string& contender,
                             const std::function<void(SteadyState&)>& operation) {
        add(group + contender, [=](benchmark::State& state) {
            auto& steady = ready();
            for (auto _ : state)
                state.SetIterationTime(secondsOf([&] { operation(steady); }));
        });
    };
    addPart("file read", &SteadyState::readFile);
    addPart("row copy", &SteadyState::copyRows);
    for (const auto& stores : storesOfThisMachine())
        addPart(std::string("limit: ") + stores.name,
                [=](SteadyState& steady) { steady.limit(stores); });
}

void registerFirstFrame(const FrameFormat& format, int height)
{
    const auto group = shortName(format) + " first frame/" +
                       nameOf(Setting{Benchmarks::Picture::Noise, height, threads}) + '/';
    add(group + "ours", [=](benchmark::State& state) {
        const Clip clip(format, height);
        for (auto _ : state) {
            const auto first = inNewProcess([&] { return measureFirstFrame(clip); });
            const double pages = inNewProcess([&] { return measureTouching(first.pages); });
            state.SetIterationTime(first.seconds);
            state.counters["pages"] = pages * 1e3;
        }
        state.counters["target"] = 1.2;
    });
}

}

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    describeMachine();
    for (const int height : {1080, 2160})
        for (const auto& [code, format] : MediaConversion::mediaFormatCodes()) {
            registerSteadyState(format, height);
            registerFirstFrame(format, height);
        }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
