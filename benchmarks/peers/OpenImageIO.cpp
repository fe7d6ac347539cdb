#include "MediaConversion/MediaPipeline/Formats.h"
#include "benchmarks/OurWork.h"
#include "benchmarks/ScratchFolder.h"
#include "benchmarks/peers/Peers.h"

#include <OpenImageIO/imageio.h>
#include <opencv2/imgproc.hpp>

#include <memory>
#include <stdexcept>
#include <string>

namespace Benchmarks::Peers {

namespace {

using OIIO::ImageInput;
using OIIO::ImageOutput;
using OIIO::ImageSpec;
using OIIO::TypeDesc;

class DpxReading final : public Work
{
public:
    DpxReading(const cv::Mat& rgb, int threads)
        : m_fileName(m_folder.file("frame.dpx")), m_pixels(rgb.size(), CV_32FC3)
    {
        OIIO::attribute("threads", threads);
        ImageSpec layout(rgb.cols, rgb.rows, 3, TypeDesc::UINT16);
        layout.attribute("oiio:BitsPerSample", 10);
        const auto file = ImageOutput::create(m_fileName);
        if (!file || !file->open(m_fileName, layout) ||
            !file->write_image(TypeDesc::FLOAT, rgb.data) || !file->close())
            throw std::runtime_error("OpenImageIO: " + OIIO::geterror());
    }

    void run() override
    {
        const auto file = ImageInput::open(m_fileName);
        if (!file || !file->read_image(0, 0, 0, 3, TypeDesc::FLOAT, m_pixels.data))
            throw std::runtime_error("OpenImageIO: " + OIIO::geterror());
    }

    cv::Mat picture() const override
    {
        cv::Mat picture;
        cv::cvtColor(m_pixels, picture, cv::COLOR_RGB2BGR);
        return picture;
    }

private:
    ScratchFolder m_folder;
    std::string m_fileName;
    cv::Mat m_pixels;
};

}

std::unique_ptr<Work> readDpx(const cv::Mat& source, int threads)
{
    using namespace Velmora::Formats;
    cv::Mat rgb;
    cv::cvtColor(converted(RGB_DPX_FILLED(), source, BGRA_F32()), rgb, cv::COLOR_BGRA2RGB);
    return std::make_unique<DpxReading>(rgb, threads);
}

}
