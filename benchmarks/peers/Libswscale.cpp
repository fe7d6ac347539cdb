#include "benchmarks/peers/FFmpeg.h"
#include "benchmarks/peers/Peers.h"
#include "tests/support/PlainPackings.h"

extern "C" {
#include <libavutil/opt.h>
#include <libswscale/swscale.h>
}

#include <opencv2/imgproc.hpp>

#include <cstdint>
#include <memory>
#include <utility>

namespace Benchmarks::Peers {

namespace {

struct Free
{
    void operator()(SwsContext* context) const { sws_freeContext(context); }
};

using Context = std::unique_ptr<SwsContext, Free>;

void set(const Context& context, const char* option, std::int64_t value)
{
    checked(av_opt_set_int(context.get(), option, value, 0));
}

// Full range both ways, the chroma of the nearest pixel: as ours.
Context newContext(const AVFrame& source, const AVFrame& destination, int threads)
{
    av_log_set_level(AV_LOG_ERROR);
    Context context(sws_alloc_context());
    set(context, "srcw", source.width);
    set(context, "srch", source.height);
    set(context, "src_format", source.format);
    set(context, "src_range", 1);
    set(context, "dstw", destination.width);
    set(context, "dsth", destination.height);
    set(context, "dst_format", destination.format);
    set(context, "dst_range", 1);
    set(context, "sws_flags", SWS_POINT);
    set(context, "threads", threads);
    checked(sws_init_context(context.get(), nullptr, nullptr));
    const int* coefficients = sws_getCoefficients(SWS_CS_ITU601);
    sws_setColorspaceDetails(context.get(), coefficients, 1, coefficients, 1, 0, 1 << 16, 1 << 16);
    return context;
}

class Scaling final : public Work
{
public:
    Scaling(Frame source, int threads)
        : m_source(std::move(source)),
          m_destination(newFrame(AV_PIX_FMT_GBRPF32LE, {m_source->width, m_source->height})),
          m_context(newContext(*m_source, *m_destination, threads))
    {
    }

    void run() override
    {
        checked(sws_scale_frame(m_context.get(), m_destination.get(), m_source.get()));
    }

    cv::Mat picture() const override
    {
        cv::Mat planes[3];
        for (const int blueGreenRed : {0, 1, 2}) {
            constexpr int placeOf[] = {1, 0, 2};
            planes[blueGreenRed] = plane(*m_destination, placeOf[blueGreenRed],
                                         {m_destination->width, m_destination->height}, CV_32F);
        }
        cv::Mat picture;
        cv::merge(planes, 3, picture);
        return picture;
    }

private:
    Frame m_source;
    Frame m_destination;
    Context m_context;
};

// Takes groups apart: planes of Y, Cb and Cr out of a packing whose samples are Cb, Cr and then Y.
template <class Packing, class Sample>
void writePlanes(const cv::Mat& groups, const AVFrame& frame)
{
    const auto at = [&](int index, int row, int column) -> Sample& {
        return reinterpret_cast<Sample*>(frame.data[index] + row * frame.linesize[index])[column];
    };
    for (int row = 0; row < groups.rows; ++row)
        for (int column = 0; column < groups.cols; ++column) {
            const auto samples = Packing::read(groups.ptr<uchar>(row) + column * groups.elemSize());
            at(1, row, column) = static_cast<Sample>(samples[0]);
            at(2, row, column) = static_cast<Sample>(samples[1]);
            for (int k = 0; k < 2 * Packing::rows; ++k)
                at(0, row * Packing::rows + k / 2, 2 * column + k % 2) =
                    static_cast<Sample>(samples[2 + k]);
        }
}

}

std::unique_ptr<Work> scaleYuyv422(const cv::Mat& source, int threads)
{
    auto frame = newFrame(AV_PIX_FMT_YUYV422, {source.cols * 2, source.rows});
    source.copyTo(plane(*frame, 0, source.size(), CV_8UC4));
    return std::make_unique<Scaling>(std::move(frame), threads);
}

std::unique_ptr<Work> scaleYuv422p10(const cv::Mat& source, int threads)
{
    auto frame = newFrame(AV_PIX_FMT_YUV422P10LE, {source.cols * 2, source.rows});
    writePlanes<MediaConversion::Plain::Zeq422, std::uint16_t>(source, *frame);
    return std::make_unique<Scaling>(std::move(frame), threads);
}

std::unique_ptr<Work> scaleYuv420p(const cv::Mat& source, int threads)
{
    auto frame = newFrame(AV_PIX_FMT_YUV420P, {source.cols * 2, source.rows * 2});
    writePlanes<MediaConversion::Plain::Zeq420, std::uint8_t>(source, *frame);
    return std::make_unique<Scaling>(std::move(frame), threads);
}

// Its padding lies in the top two bits, ours in the bottom two.
std::unique_ptr<Work> scaleX2rgb10(const cv::Mat& source, int threads)
{
    auto frame = newFrame(AV_PIX_FMT_X2RGB10LE, source.size());
    for (int row = 0; row < source.rows; ++row) {
        const auto* words = source.ptr<std::uint32_t>(row);
        auto* shifted = plane(*frame, 0, source.size(), CV_32S).ptr<std::uint32_t>(row);
        for (int column = 0; column < source.cols; ++column)
            shifted[column] = words[column] >> 2;
    }
    return std::make_unique<Scaling>(std::move(frame), threads);
}

}
