#include "MediaConversion/MediaPipeline/Formats.h"
#include "benchmarks/OurWork.h"
#include "benchmarks/peers/Opaque.h"
#include "benchmarks/peers/Peers.h"

#include <squish.h>

#include <memory>

// The threads of Debian's libsquish are those of GNU's OpenMP.
extern "C" void omp_set_num_threads(int threads);

namespace Benchmarks::Peers {

namespace {

class SquishEncoding final : public Work
{
public:
    explicit SquishEncoding(const cv::Mat& rgba)
        : m_rgba(opaque(rgba)), m_blocks(rgba.rows / 4, rgba.cols / 4, CV_8UC(8))
    {
    }

    void run() override
    {
        squish::CompressImage(m_rgba.data, m_rgba.cols, m_rgba.rows, m_blocks.data,
                              squish::kDxt1 | squish::kColourRangeFit);
    }

    cv::Mat picture() const override { return pictureOf(Velmora::Formats::RGB_DXT1(), m_blocks); }

private:
    cv::Mat m_rgba;
    cv::Mat m_blocks;
};

}

std::unique_ptr<Work> encodeBySquish(const cv::Mat& source, int threads)
{
    omp_set_num_threads(threads);
    return std::make_unique<SquishEncoding>(source);
}

}
