#include "imaging/PictureWriter.h"
#include "tests/MediaFile/FileSizeLimit.h"
#include "tests/MediaFile/TemporaryFolder.h"
#include "tools/Files.h"

#include <OpenImageIO/imageio.h>

#include <gmock/gmock.h>
#include <opencv2/core.hpp>
#include <opencv2/core/utility.hpp>

#include <algorithm>

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
