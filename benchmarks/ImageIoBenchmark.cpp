// What reading through OpenImageIO costs: a 4K picture of 10 bits from a media file, beside the
// same picture from a DPX file by OpenImageIO's own reader. The processor's time of both in turn;
// the median of their ratios and of our milliseconds.
//
//   OIIO_LIBRARY_PATH=FOLDER_OF_THE_PLUG_IN imageIoBenchmark [FORMAT...]

#include "tests/MediaFile/TemporaryFolder.h"

#include <OpenImageIO/imageio.h>

#include <sys/resource.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

constexpr int width = 3840;
constexpr int height = 2160;
constexpr int rounds = 15;

void check(bool isWell)
{
    if (!isWell)
        throw std::runtime_error(OIIO::geterror());
}

void writeNoise(const std::string& fileName, const std::string& format)
{
    std::mt19937 random(1);
    std::vector<std::uint16_t> samples(std::size_t{width} * height * 3);
    std::ranges::generate(samples, [&] { return static_cast<std::uint16_t>(random()); });
    OIIO::ImageSpec description(width, height, 3, OIIO::TypeDesc::UINT16);
    description["oiio:BitsPerSample"] = 10;
    description["zeq:format"] = format;
    const auto output = OIIO::ImageOutput::create(fileName);
    check(output && output->open(fileName, description) &&
          output->write_image(OIIO::TypeDesc::UINT16, samples.data()) && output->close());
}

// Of this process, in milliseconds.
double processorTime()
{
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    const auto milliseconds = [](const timeval& time) {
        return 1e3 * static_cast<double>(time.tv_sec) + 1e-3 * static_cast<double>(time.tv_usec);
    };
    return milliseconds(usage.ru_utime) + milliseconds(usage.ru_stime);
}

double timeToRead(const std::string& fileName, OIIO::TypeDesc type, std::vector<char>& pixels)
{
    const double start = processorTime();
    const auto input = OIIO::ImageInput::open(fileName);
    check(input && input->read_image(0, 0, 0, -1, type, pixels.data()) && input->close());
    return processorTime() - start;
}

double median(std::vector<double> values)
{
    std::ranges::sort(values);
    return values[values.size() / 2];
}

}

int main(int count, char** arguments)
try {
    const MediaConversion::MediaFileTests::TemporaryFolder folder;
    const auto dpx = folder.file("picture.dpx");
    const auto zeq = folder.file("picture.zeq");
    writeNoise(dpx, "");
    std::vector<std::string> formats(arguments + 1, arguments + count);
    if (formats.empty())
        formats = {"RGB-DPX-FILLED", "RGB-SMPTE-2110", "RGB-U8", "YUYV-422", "YCoCg-DXT5"};
    std::printf("%-16s %-7s %s\n", "", "threads", "float: ratio, ms; native: ratio, ms");
    for (const auto& format : formats) {
        writeNoise(zeq, format);
        for (const int threads : {1, 4}) {
            OIIO::attribute("threads", threads);
            std::printf("%-16s %d     ", format.c_str(), threads);
            for (const OIIO::TypeDesc type : {OIIO::TypeDesc::FLOAT, OIIO::TypeDesc::UNKNOWN}) {
                std::vector<char> pixels(std::size_t{width} * height * 4 * sizeof(float));
                std::vector<double> ratios;
                std::vector<double> times;
                for (int round = 0; round < rounds; ++round) {
                    times.push_back(timeToRead(zeq, type, pixels));
                    ratios.push_back(times.back() / timeToRead(dpx, type, pixels));
                }
                std::printf("  %.2f %6.1f", median(ratios), median(times));
            }
            std::printf("\n");
        }
    }
} catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
}
