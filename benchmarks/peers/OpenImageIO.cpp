#include "MediaConversion/MediaPipeline/Formats.h"
#include "benchmarks/peers/Peers.h"
#include "tests/MediaFile/TemporaryFolder.h"

#include <OpenImageIO/imageio.h>
#include <opencv2/imgproc.hpp>

#include <memory>
#include <stdexcept>

namespace Benchmarks::Peers {

namespace {

using MediaConversion::MediaFileTests::TemporaryFolder;
using OIIO::TypeDesc;

void check(bool succeeded)
{
    if (!succeeded)
        throw std::runtime_error("OpenImageIO: " + OIIO::geterror());
}

void writeDpx(const std::string& fileName, const cv::Mat& rgb)
{
    OIIO::ImageSpec layout(rgb.cols, rgb.rows, 3, TypeDesc::UINT16);
    layout.attribute("oiio:BitsPerSample", 10);
    const auto file = OIIO::ImageOutput::create(fileName);
    check(file && file->open(fileName, layout) && file->write_image(TypeDesc::FLOAT, rgb.data) &&
          file->close());
}

}

Work readDpx(const cv::Mat& source, int threads)
{
    using namespace Velmora::Formats;
    OIIO::attribute("threads", threads);
    const auto folder = std::make_shared<TemporaryFolder>("/dev/shm");
    const cv::Mat pixels(source.size(), CV_32FC3);
    cv::cvtColor(converted(RGB_DPX_FILLED(), source, BGRA_F32()), pixels, cv::COLOR_BGRA2RGB);
    writeDpx(folder->file("frame.dpx"), pixels);
    return {[=] {
                const auto file = OIIO::ImageInput::open(folder->file("frame.dpx"));
                check(file && file->read_image(0, 0, 0, 3, TypeDesc::FLOAT, pixels.data));
            },
            [=] {
                cv::Mat picture;
                cv::cvtColor(pixels, picture, cv::COLOR_RGB2BGR);
                return picture;
            }};
}

}
