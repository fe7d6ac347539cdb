#include "imaging/PictureFiles.h"
#include "tests/MediaFile/TemporaryFolder.h"
#include "tools/Files.h"

#include <OpenImageIO/imageio.h>

#include <gmock/gmock.h>
#include <opencv2/core.hpp>
#include <opencv2/core/utility.hpp>

#include <sys/resource.h>

#include <algorithm>
#include <csignal>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <vector>

using namespace testing;
namespace fs = std::filesystem;

namespace {

struct OutputFile : Test
{
    OutputFile()
    {
        std::signal(SIGXFSZ, SIG_IGN);
        for (const auto* const attribute : {"threads", "exr_threads"})
            OIIO::attribute(attribute, 1);
        cv::setNumThreads(1);
        cv::theRNG().state = 1;
        cv::randu(pixels, 0, 1);
    }
    ~OutputFile() override { cv::setNumThreads(-1); }

    // As on a disk that is full when a file has so many bytes.
    static void limitFiles(rlim_t size)
    {
        rlimit limit;
        ::getrlimit(RLIMIT_FSIZE, &limit);
        limit.rlim_cur = std::min(size, limit.rlim_max);
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }

    // Gives the failure's text.
    std::string write(const std::string& extension, rlim_t limit = RLIM_INFINITY)
    {
        using enum Imaging::SampleDepth;
        const Imaging::Picture picture{
            pixels, {}, pixels.size(), extension == "exr" ? F16 : U8, false};
        std::string failure;
        limitFiles(limit);
        try {
            Zeq::writeOutput(name, [&](const std::string& temporaryName) {
                Imaging::writePicture(temporaryName, picture, "a");
            });
        } catch (const Zeq::OutputError& error) {
            failure = error.what();
        }
        limitFiles(RLIM_INFINITY);
        return failure;
    }

    // In memory: many thousand files are written.
    MediaConversion::MediaFileTests::TemporaryFolder folder{"/dev/shm"};
    std::string name;
    cv::Mat pixels = cv::Mat(16, 20, CV_32FC4);
};

}

// Whichever bytes do not fit, those of the last buffer among them and a header that is written once
// more at the end.
TEST_F(OutputFile, isWholeOrNotThereWhereverTheDiskIsFull)
{
    for (const std::string extension : {"exr", "tif", "dpx", "png", "jpg", "tga", "bmp"}) {
        name = folder.file("a." + extension);
        ASSERT_EQ(write(extension), "");
        const auto size = fs::file_size(name);
        std::ofstream(name) << "old";
        std::vector<std::size_t> lost;
        std::set<std::string> texts;
        for (auto limit = size - std::min<std::size_t>(size, 8192); limit < size; ++limit) {
            texts.insert(write(extension, limit));
            if (fs::file_size(name) != 3) {
                lost.push_back(limit);
                std::ofstream(name) << "old";
            }
        }
        EXPECT_THAT(lost, IsEmpty()) << extension << " of " << size << " bytes";
        EXPECT_THAT(texts, ElementsAre(name + ": File too large"));
        EXPECT_EQ(write(extension, size), "");
        EXPECT_EQ(fs::file_size(name), size) << extension;
        EXPECT_EQ(std::distance(fs::directory_iterator(folder.file("")), {}), 1);
        fs::remove(name);
    }
}
