// What a user waits for who scrubs through a shot: a file is opened, its frame converted and all
// its rows pulled. In the steady state that is held against reading the file, the limit of the
// memory and the copying of the rows; the first frame against touching as much memory as its file
// and its floats take, by pages of the usual size. Names are as those of the conversions'
// benchmarks.

#include "MediaConversion/MediaFile/Headers.h"
#include "MediaConversion/MediaPipeline/Formats.h"
#include "benchmarks/Machine.h"
#include "benchmarks/Work.h"
#include "host/headless/HostedReader.h"
#include "tests/MediaFile/TemporaryFolder.h"

#include <benchmark/benchmark.h>
#include <opencv2/core/utility.hpp>

#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>

using namespace Headless;

namespace {

using namespace Benchmarks;
using DD::Image::Row;
using Velmora::FrameFormat;

constexpr int threads = 2;

double secondsOf(const std::function<void()>& operation)
{
    const auto start = std::chrono::steady_clock::now();
    operation();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// The rows of a frame as a host takes them that pulls with two threads.
void pullRows(const cv::Size& size, const std::function<void(int, Row&)>& pullRow)
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

// A file of noise in memory, and the host that shows it. Like a host it holds a frame until the
// next one has its own.
class Scrubbing
{
public:
    Scrubbing(const FrameFormat& format, const Setting& setting)
        : m_size(setting.size()), m_file(m_folder.file("frame.zeq"))
    {
        // By a process of its own: this one's memory is still to be touched for the first time.
        const auto child = ::fork();
        if (child == 0) {
            writeMediaFile(m_file, *Velmora::frameOver(format, makePicture(format, setting)));
            ::_exit(0);
        }
        int status = 0;
        if (::waitpid(child, &status, 0) != child || status != 0)
            throw std::runtime_error("cannot write " + m_file);
        cv::setNumThreads(threads);
    }

    void open()
    {
        auto next =
            std::make_unique<HostedReader>(*DD::Image::Reader::Description::find("zeq"), m_file);
        next->open();
        m_reader = std::move(next);
        throwMessages();
    }

    void pullAllRows()
    {
        pullRows(m_size, [&](int y, Row& row) {
            m_reader->reader().engine(y, 0, row.r(), DD::Image::Mask_RGBA, row);
        });
        throwMessages();
    }

    const cv::Size& size() const { return m_size; }
    const std::string& file() const { return m_file; }

private:
    void throwMessages()
    {
        for (const auto& message : m_reader->takeMessages())
            throw std::runtime_error(message);
    }

    MediaConversion::MediaFileTests::TemporaryFolder m_folder{"/dev/shm"};
    cv::Size m_size;
    std::string m_file;
    std::unique_ptr<HostedReader> m_reader;
};

// A host that has shown a few frames, and what its work is measured beside.
struct SteadyState
{
    SteadyState(const FrameFormat& format, const Setting& setting)
        : host(format, setting),
          bytes(1, static_cast<int>(std::filesystem::file_size(host.file())), CV_8U, cv::Scalar(1))
    {
        for (auto& image : images)
            image = cv::Mat(host.size(), CV_32FC4, cv::Scalar::all(0.5));
        constexpr int framesUntilThePoolIsFilled = 5;
        for (int frame = 0; frame < framesUntilThePoolIsFilled; ++frame)
            host.open();
    }

    void readFile()
    {
        std::ifstream(host.file(), std::ios::binary)
            .read(reinterpret_cast<char*>(bytes.data), static_cast<std::streamsize>(bytes.total()));
    }

    // The rows of float BGRA, channel by channel.
    void copyRows()
    {
        using namespace DD::Image;
        const auto& image = images[turn ^= 1];
        pullRows(host.size(), [&](int y, Row& row) {
            const auto* pixels = image.ptr<cv::Vec4f>(image.rows - 1 - y);
            for (int channel = 0; channel < 4; ++channel) {
                constexpr Channel channels[] = {Chan_Blue, Chan_Green, Chan_Red, Chan_Alpha};
                float* const samples = row.writable(channels[channel]);
                for (int column = 0; column < image.cols; ++column)
                    samples[column] = pixels[column][channel];
            }
        });
    }

    Scrubbing host;
    cv::Mat bytes;
    cv::Mat images[2];
    int turn = 0;
};

void add(const std::string& name, const std::function<void(benchmark::State&)>& run)
{
    benchmark::RegisterBenchmark(name.c_str(), run)
        ->Iterations(1)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
}

void addSteadyState(const FrameFormat& format, const Setting& setting)
{
    const auto group = nameOf(format) + " to rows/" + nameOf(setting) + '/';
    const auto state = std::make_shared<std::optional<SteadyState>>();
    const auto steady = [=]() -> SteadyState& {
        return *state ? **state : state->emplace(format, setting);
    };
    add(group + "ours", [=](benchmark::State& run) {
        auto& host = steady().host;
        for (auto _ : run) {
            const double open = secondsOf([&] { host.open(); });
            const double rows = secondsOf([&] { host.pullAllRows(); });
            run.SetIterationTime(open + rows);
            run.counters["open"] = open * 1e3;
            run.counters["rows"] = rows * 1e3;
        }
        run.counters["target"] = 1.1;
    });
    const auto addPart = [&](const std::string& part,
                             const std::function<void(SteadyState&)>& operation) {
        add(group + part, [=](benchmark::State& run) {
            auto& itsState = steady();
            for (auto _ : run)
                run.SetIterationTime(secondsOf([&] { operation(itsState); }));
        });
    };
    addPart("file read", &SteadyState::readFile);
    addPart("row copy", &SteadyState::copyRows);
    for (const auto& stores : storesOfThisMachine())
        addPart(std::string("limit: ") + stores.name, [=](SteadyState& its) {
            readAndWrite(stores, its.bytes, its.images[its.turn ^= 1]);
        });
}

double secondsOfTouching(std::uintmax_t bytes)
{
    const long pageSize = ::getpagesize();
    const long pages = static_cast<long>(bytes) / pageSize;
    const std::unique_ptr<volatile char[]> memory(new char[bytes]);
    const auto touch = [&](long first, long end) {
        for (long page = first; page < end; ++page)
            memory[page * pageSize] = 1;
    };
    return secondsOf([&] {
        const std::jthread other(touch, pages / 2, pages);
        touch(0, pages / 2);
    });
}

// To be run once in a process.
void addFirstFrame(const FrameFormat& format, const Setting& setting)
{
    add(nameOf(format) + " first frame/" + nameOf(setting) + "/ours", [=](benchmark::State& run) {
        Scrubbing host(format, setting);
        // The workers are there already, as in a host that has shown another picture.
        cv::parallel_for_(cv::Range(0, 64), [](const cv::Range&) { ::usleep(100); });
        for (auto _ : run) {
            run.SetIterationTime(secondsOf([&] { host.open(); }));
            const auto bytes = std::filesystem::file_size(host.file()) +
                               static_cast<std::uintmax_t>(host.size().area()) * sizeof(cv::Vec4f);
            run.counters["pages"] = secondsOfTouching(bytes) * 1e3;
        }
        run.counters["target"] = 1.2;
    });
}

}

int main(int argc, char** argv)
{
    for (const int height : {1080, 2160})
        for (const auto& [code, format] : MediaConversion::mediaFormatCodes()) {
            addSteadyState(format, {PictureKind::Noise, height, threads});
            addFirstFrame(format, {PictureKind::Noise, height, threads});
        }
    return runBenchmarks(argc, argv);
}
