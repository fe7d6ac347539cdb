#include "imaging/PictureWriter.h"
#include "tests/MediaFile/FileSizeLimit.h"
#include "tests/MediaFile/TemporaryFolder.h"
#include "tools/Files.h"

#include <OpenImageIO/imageio.h>

#include <gmock/gmock.h>
#include <opencv2/core.hpp>
#include <opencv2/core/utility.hpp>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

using namespace MediaConversion::MediaFileTests;
using namespace testing;
namespace fs = std::filesystem;

// Whichever bytes do not fit, those of the last buffer among them and a header that is written once
// more at the end.
TEST(OutputFile, isWholeOrNotThereWhereverTheDiskIsFull)
{
    using enum Imaging::SampleDepth;
    for (const auto* const attribute : {"threads", "exr_threads"})
        OIIO::attribute(attribute, 1);
    cv::setNumThreads(1);
    cv::Mat pixels(16, 20, CV_32FC4);
    cv::theRNG().state = 1;
    cv::randu(pixels, 0, 1);
    const TemporaryFolder folder("/dev/shm");  // in memory: many thousand files are written

    for (const std::string extension : {"exr", "tif", "dpx", "png", "jpg", "tga", "bmp"}) {
        const auto name = folder.file("a." + extension);
        const Imaging::Picture picture{
            pixels, {}, pixels.size(), extension == "exr" ? F16 : U8, false};
        // Gives the failure's text.
        const auto write = [&](std::uintmax_t limit) -> std::string {
            const FileSizeLimit limited(limit);
            try {
                Zeq::writeOutput(name, [&](const std::string& temporaryName) {
                    Imaging::writePicture(temporaryName, picture, "a");
                });
            } catch (const Zeq::OutputError& error) {
                return error.what();
            }
            return "";
        };
        ASSERT_EQ(write(1 << 20), "");
        const auto size = fs::file_size(name);
        std::ofstream(name) << "old";
        for (auto limit = size - std::min<std::uintmax_t>(size, 8192); limit < size; ++limit) {
            ASSERT_EQ(write(limit), name + ": File too large") << limit << " of " << size;
            ASSERT_EQ(fs::file_size(name), 3u) << limit << " of " << size;
        }
        EXPECT_EQ(write(size), "");
        EXPECT_EQ(fs::file_size(name), size) << extension;
        EXPECT_THAT(folder.files(), SizeIs(1));
        fs::remove(name);
    }
}

TEST(OutputFile, hasTheSameBytesEachTimeUnlessItIsToHaveATime)
{
    using enum Imaging::SampleDepth;
    const std::tuple<std::string, std::vector<Imaging::SampleDepth>, bool> kinds[] = {
        // clang-format off
        // kind  depths              can have a time
        {"png",  {U8, U16},           true},
        {"exr",  {F16, F32},          true},
        {"tif",  {U8, U16, F32},      true},
        {"dpx",  {U8, U10, U12, U16}, true},
        {"jpg",  {U8},                true},
        {"tga",  {U8},                true},
        {"bmp",  {U8},                false},
        // clang-format on
    };
    const TemporaryFolder folder;
    const auto write = [&](const std::string& when, const std::string& time) {
        for (const auto& [kind, depths, hasTime] : kinds)
            for (const auto depth : depths) {
                const cv::Mat pixels(2, 3, CV_32FC4, cv::Scalar::all(0.5));
                const Imaging::Picture picture{pixels, {}, pixels.size(), depth, false, time};
                const auto name = when + Imaging::factsOf(depth).name + "." + kind;
                Imaging::writePicture(folder.file(name), picture, "held." + kind);
            }
    };
    write("first", "");
    write("timed", "2001:02:03 04:05:06");
    // Until the clock's seconds are others.
    for (const auto start = std::time(nullptr); std::time(nullptr) == start;)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    write("second", "");
    for (const auto& [kind, depths, hasTime] : kinds)
        for (const auto depth : depths) {
            const auto name = Imaging::factsOf(depth).name + ("." + kind);
            const auto timeIn = [&](const std::string& when) {
                const auto file = OIIO::ImageInput::open(folder.file(when + name));
                return file ? file->spec().get_string_attribute("DateTime") : "no file";
            };
            EXPECT_TRUE(folder.content("first" + name) == folder.content("second" + name)) << name;
            EXPECT_EQ(timeIn("first"), "") << name;
            EXPECT_EQ(timeIn("timed"), hasTime ? "2001:02:03 04:05:06" : "") << name;
        }
}
