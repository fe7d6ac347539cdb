// What a user waits for who scrubs through a shot: a file is opened, its frame converted and all
// its rows pulled. In the steady state that is held against reading the file, the limit of the
// memory and the copying of the rows; the first frame against touching the pages that it is the
// first to use. Prints a table, marking with "!" what misses its target.

#include "MediaConversion/MediaFile/FileNames.h"
#include "MediaConversion/MediaFile/MediaFormatCodes.h"
#include "MediaConversion/MediaFile/VelmoraMediaFileWriter.h"
#include "MediaConversion/MediaPipeline/Formats.h"
#include "benchmarks/Limit.h"
#include "benchmarks/OurWork.h"
#include "benchmarks/Pictures.h"
#include "benchmarks/ScratchFolder.h"
#include "benchmarks/Timing.h"
#include "host/headless/HostedReader.h"

#include <opencv2/core/utility.hpp>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using Benchmarks::median;
using Benchmarks::secondsOf;
using Benchmarks::Setting;
using DD::Image::Row;
using Velmora::FrameFormat;

constexpr int warmUps = 5;
constexpr int rounds = 15;
constexpr int firstFrames = 7;

struct Clip
{
    FrameFormat format;
    Setting setting;
    std::string file;
};

double steadyTarget(const FrameFormat& format)
{
    return format == Velmora::Formats::YCoCg_DXT5() ? 1.5 : 1.2;
}

constexpr double firstFrameTarget = 1.2;

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

void readFile(const std::string& file, cv::Mat& bytes)
{
    const int descriptor = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
    const auto taken = ::read(descriptor, bytes.data, bytes.total());
    ::close(descriptor);
    if (taken != static_cast<ssize_t>(bytes.total()))
        throw std::runtime_error("cannot read " + file);
}

struct SteadyFigures
{
    double open, rows, fileRead, limit, rowCopy;  // milliseconds
    double ratio;
};

SteadyFigures measureSteadyState(const Clip& clip)
{
    Scrubbing scrubbing(clip);
    cv::Mat bytes(1, static_cast<int>(std::filesystem::file_size(clip.file)), CV_8U,
                  cv::Scalar::all(1));
    cv::Mat images[2];
    for (auto& image : images)
        image = cv::Mat(clip.setting.size(), CV_32FC4, cv::Scalar::all(0.5));
    std::array<std::vector<double>, 5> times;
    std::vector<double> ratios;
    for (int round = -warmUps; round < rounds; ++round) {
        cv::Mat& image = images[round & 1];
        RowCopy copy(image);
        const std::array now{
            secondsOf([&] { scrubbing.open(); }),
            secondsOf([&] { scrubbing.pullAllRows(); }),
            secondsOf([&] { readFile(clip.file, bytes); }),
            secondsOf([&] { readAndWrite(bytes, image); }),
            secondsOf([&] {
                pullRows(image.size(), [&](int y, Row& row) {
                    copy.engine(y, 0, row.r(), DD::Image::Mask_RGBA, row);
                });
            }),
        };
        if (round < 0)
            continue;
        for (std::size_t part = 0; part < now.size(); ++part)
            times[part].push_back(now[part] * 1e3);
        ratios.push_back((now[0] + now[1]) / (now[2] + now[3] + now[4]));
    }
    return {median(times[0]), median(times[1]), median(times[2]),
            median(times[3]), median(times[4]), median(ratios)};
}

std::size_t pageFaults()
{
    rusage usage;
    ::getrusage(RUSAGE_SELF, &usage);
    return static_cast<std::size_t>(usage.ru_minflt);
}

struct FirstFrame
{
    double seconds;
    std::size_t pages;
};

FirstFrame measureFirstFrame(const Clip& clip)
{
    // The workers are there already, as in a host that has shown another picture.
    cv::parallel_for_(cv::Range(0, 64), [](const cv::Range&) { ::usleep(100); });
    Scrubbing scrubbing(clip);
    const auto faults = pageFaults();
    const double time = secondsOf([&] { scrubbing.open(); });
    return {time, pageFaults() - faults};
}

double measureTouching(std::size_t pages)
{
    const auto pageSize = static_cast<std::size_t>(::getpagesize());
    void* const memory = ::mmap(nullptr, pages * pageSize, PROT_READ | PROT_WRITE,
                                MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED)
        throw std::runtime_error("no memory");
    const auto touch = [&](std::size_t first, std::size_t end) {
        for (std::size_t page = first; page < end; ++page)
            static_cast<volatile char*>(memory)[page * pageSize] = 1;
    };
    return secondsOf([&] {
        const std::jthread other(touch, pages / 2, pages);
        touch(0, pages / 2);
    });
}

// What an operation gives in a process of its own, whose memory nobody has touched and which has no
// other threads. This process must not start any.
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

struct FirstFrameFigures
{
    double first, touching;  // milliseconds
    double ratio;
};

FirstFrameFigures measureFirstFrames(const Clip& clip)
{
    std::vector<double> firsts;
    std::vector<double> touchings;
    std::vector<double> ratios;
    for (int repetition = 0; repetition < firstFrames; ++repetition) {
        const auto first = inNewProcess([&] { return measureFirstFrame(clip); });
        const double touching = inNewProcess([&] { return measureTouching(first.pages); });
        firsts.push_back(first.seconds * 1e3);
        touchings.push_back(touching * 1e3);
        ratios.push_back(first.seconds / touching);
    }
    return {median(firsts), median(touchings), median(ratios)};
}

int writeFile(const Clip& clip)
{
    const auto picture = Benchmarks::makePicture(clip.format, clip.setting);
    MediaConversion::VelmoraMediaFileWriter().write(MediaConversion::wideFileName(clip.file),
                                                    *Benchmarks::frameOf(clip.format, picture));
    return 0;
}

constexpr auto heading =
    "## From file to rows\n\n"
    "| file, height | file read, ms | limit, ms | row copy, ms | open and convert, ms "
    "| rows, ms | ours / the three | at most | first frame, ms | its pages, ms "
    "| first / pages | at most |\n"
    "|---|---|---|---|---|---|---|---|---|---|---|---|\n";

std::string marked(double ratio, double target)
{
    return cv::format("%.2f%s", ratio, ratio > target ? " !" : "");
}

void measure(const Clip& clip)
{
    inNewProcess([&] { return writeFile(clip); });
    const auto steady = inNewProcess([&] { return measureSteadyState(clip); });
    const auto first = measureFirstFrames(clip);
    std::printf(
        "| %s, %d | %.2f | %.2f | %.2f | %.2f | %.2f | %s | %.1f | %.1f | %.1f | %s | %.1f |\n",
        Benchmarks::shortName(clip.format).c_str(), clip.setting.height, steady.fileRead,
        steady.limit, steady.rowCopy, steady.open, steady.rows,
        marked(steady.ratio, steadyTarget(clip.format)).c_str(), steadyTarget(clip.format),
        first.first, first.touching, marked(first.ratio, firstFrameTarget).c_str(),
        firstFrameTarget);
    std::fflush(stdout);
    std::filesystem::remove(clip.file);
}

}

int main()
try {
    std::fputs(heading, stdout);
    const Benchmarks::ScratchFolder folder;
    for (const int height : {1080, 2160})
        for (const auto& [code, format] : MediaConversion::mediaFormatCodes())
            measure({format, {Benchmarks::Picture::Noise, height, 2}, folder.file("frame.zeq")});
} catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
}
