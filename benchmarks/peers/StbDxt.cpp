#include "MediaConversion/MediaPipeline/Formats.h"
#include "benchmarks/OurWork.h"
#include "benchmarks/peers/Opaque.h"
#include "benchmarks/peers/Peers.h"

#define STB_DXT_IMPLEMENTATION
#include <stb/stb_dxt.h>

#include <cstring>
#include <memory>

namespace Benchmarks::Peers {

namespace {

class StbEncoding final : public Work
{
public:
    explicit StbEncoding(const cv::Mat& rgba)
        : m_rgba(opaque(rgba)), m_blocks(rgba.rows / 4, rgba.cols / 4, CV_8UC(8))
    {
    }

    void run() override
    {
        for (int row = 0; row < m_blocks.rows; ++row)
            for (int column = 0; column < m_blocks.cols; ++column) {
                uchar pixels[64];
                for (int k = 0; k < 4; ++k)
                    std::memcpy(pixels + 16 * k, m_rgba.ptr(4 * row + k, 4 * column), 16);
                stb_compress_dxt_block(m_blocks.ptr(row, column), pixels, 0, STB_DXT_NORMAL);
            }
    }

    cv::Mat picture() const override { return pictureOf(Velmora::Formats::RGB_DXT1(), m_blocks); }

private:
    cv::Mat m_rgba;
    cv::Mat m_blocks;
};

}

std::unique_ptr<Work> encodeByStb(const cv::Mat& source, int /*threads*/)
{
    return std::make_unique<StbEncoding>(source);
}

}
