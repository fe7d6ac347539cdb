#include "MediaConversion/MediaPipeline/Formats.h"
#include "benchmarks/OurWork.h"
#include "benchmarks/peers/FFmpeg.h"
#include "benchmarks/peers/Peers.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/opt.h>
}

#include <opencv2/imgproc.hpp>

#include <array>
#include <cstdint>
#include <cstring>
#include <memory>

namespace Benchmarks::Peers {

namespace {

using namespace Velmora::Formats;
using Codec = std::unique_ptr<AVCodecContext, Release<avcodec_free_context>>;
using Packet = std::unique_ptr<AVPacket, Release<av_packet_free>>;

Codec newCodec(const AVCodec* codec, int threads)
{
    Codec context(avcodec_alloc_context3(codec));
    context->thread_count = threads;
    context->thread_type = FF_THREAD_SLICE;
    return context;
}

// The header of a DirectDraw surface, in 32-bit words, whose DXT5 blocks hold scaled YCoCg.
std::array<std::uint32_t, 32> ddsHeader(const cv::Size& size)
{
    std::array<std::uint32_t, 32> words{};
    words[0] = MKTAG('D', 'D', 'S', ' ');
    words[1] = 124;                       // bytes of the header after the tag
    words[2] = 0x1 | 0x2 | 0x4 | 0x1000;  // capabilities, height, width and pixel format follow
    words[3] = static_cast<std::uint32_t>(size.height);
    words[4] = static_cast<std::uint32_t>(size.width);
    words[11] = MKTAG('Y', 'C', 'G', '2');
    words[19] = 32;  // bytes of the pixel format
    words[20] = 4;   // it is named by the next four letters
    words[21] = MKTAG('D', 'X', 'T', '5');
    words[27] = 0x1000;  // a texture
    return words;
}

class DdsDecoding final : public Work
{
public:
    DdsDecoding(const cv::Mat& blocks, int threads)
        : m_packet(av_packet_alloc()),
          m_frame(av_frame_alloc()),
          m_codec(newCodec(avcodec_find_decoder(AV_CODEC_ID_DDS), threads))
    {
        const auto header = ddsHeader({blocks.cols * 4, blocks.rows * 4});
        const std::size_t bytes = blocks.total() * blocks.elemSize();
        checked(av_new_packet(m_packet.get(), static_cast<int>(sizeof header + bytes)));
        std::memcpy(m_packet->data, header.data(), sizeof header);
        std::memcpy(m_packet->data + sizeof header, blocks.data, bytes);
        checked(avcodec_open2(m_codec.get(), m_codec->codec, nullptr));
    }

    void run() override
    {
        checked(avcodec_send_packet(m_codec.get(), m_packet.get()));
        checked(avcodec_receive_frame(m_codec.get(), m_frame.get()));
    }

    cv::Mat picture() const override
    {
        return pictureOf(RGBA_U8(), plane(*m_frame, 0, {m_frame->width, m_frame->height}, CV_8UC4));
    }

private:
    Packet m_packet;
    Frame m_frame;
    Codec m_codec;
};

class HapEncoding final : public Work
{
public:
    HapEncoding(const cv::Mat& rgba, const Velmora::FrameFormat& blocks, const char* format,
                int threads)
        : m_blocks(blocks),
          m_frame(newFrame(AV_PIX_FMT_RGBA, rgba.size())),
          m_packet(av_packet_alloc()),
          m_codec(newCodec(avcodec_find_encoder(AV_CODEC_ID_HAP), threads))
    {
        rgba.copyTo(plane(*m_frame, 0, rgba.size(), CV_8UC4));
        m_codec->width = rgba.cols;
        m_codec->height = rgba.rows;
        m_codec->pix_fmt = AV_PIX_FMT_RGBA;
        m_codec->time_base = {1, 25};
        checked(av_opt_set(m_codec->priv_data, "format", format, 0));
        checked(av_opt_set(m_codec->priv_data, "compressor", "none", 0));
        checked(avcodec_open2(m_codec.get(), m_codec->codec, nullptr));
    }

    void run() override
    {
        ++m_frame->pts;
        checked(avcodec_send_frame(m_codec.get(), m_frame.get()));
        checked(avcodec_receive_packet(m_codec.get(), m_packet.get()));
    }

    // The blocks are the end of the packet.
    cv::Mat picture() const override
    {
        const cv::Size size(m_codec->width / 4, m_codec->height / 4);
        const auto bytes = static_cast<int>(m_blocks.pixelPacking.bytesPerGroup) * size.area();
        const cv::Mat blocks(size, openCvType(m_blocks, Velmora::PackedFormatCvTypes()),
                             m_packet->data + m_packet->size - bytes);
        return pictureOf(m_blocks, blocks);
    }

private:
    Velmora::FrameFormat m_blocks;
    Frame m_frame;
    Packet m_packet;
    Codec m_codec;
};

}

std::unique_ptr<Work> decodeDds(const cv::Mat& source, int threads)
{
    return std::make_unique<DdsDecoding>(source, threads);
}

std::unique_ptr<Work> encodeHap(const cv::Mat& source, int threads)
{
    return std::make_unique<HapEncoding>(source, RGB_DXT1(), "hap", threads);
}

std::unique_ptr<Work> encodeHapQ(const cv::Mat& source, int threads)
{
    cv::Mat rgba;
    cv::cvtColor(source, rgba, cv::COLOR_BGRA2RGBA);
    return std::make_unique<HapEncoding>(rgba, YCoCg_DXT5(), "hap_q", threads);
}

}
