#include "MediaConversion/MediaPipeline/Formats.h"
#include "benchmarks/Peers.h"
#include "tests/support/ReferencePackings.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/opt.h>
#include <libswscale/swscale.h>
}

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace Benchmarks {

using namespace Velmora::Formats;

namespace {

// Throws for the negative results by which FFmpeg reports failures.
void check(int result)
{
    if (result < 0)
        throw std::runtime_error("FFmpeg: error " + std::to_string(result));
}

// Objects that are released by functions which take the address of the pointer.
template <auto release, class Object>
std::shared_ptr<Object> owned(Object* object)
{
    return {object, [](Object* each) { release(&each); }};
}

using Frame = std::shared_ptr<AVFrame>;

Frame newFrame(int pixelFormat, const cv::Size& size)
{
    const auto frame = owned<av_frame_free>(av_frame_alloc());
    frame->format = pixelFormat;
    frame->width = size.width;
    frame->height = size.height;
    check(av_frame_get_buffer(frame.get(), 0));
    return frame;
}

// A matrix over a plane.
cv::Mat plane(const Frame& frame, int index, const cv::Size& size, int type)
{
    return {size, type, frame->data[index], static_cast<std::size_t>(frame->linesize[index])};
}

// Full range both ways, the chroma of the nearest pixel: as ours.
std::shared_ptr<SwsContext> newScaler(const Frame& source, const Frame& destination, int threads)
{
    av_log_set_level(AV_LOG_ERROR);
    const std::shared_ptr<SwsContext> context(sws_alloc_context(), sws_freeContext);
    // clang-format off
    const std::pair<const char*, int> options[] = {
        {"srcw", source->width},      {"srch", source->height},      {"src_format", source->format},
        {"dstw", destination->width}, {"dsth", destination->height}, {"dst_format", destination->format},
        {"src_range", 1},             {"dst_range", 1},
        {"sws_flags", SWS_POINT},     {"threads", threads},
    };
    // clang-format on
    for (const auto& [name, value] : options)
        check(av_opt_set_int(context.get(), name, value, 0));
    check(sws_init_context(context.get(), nullptr, nullptr));
    const int* coefficients = sws_getCoefficients(SWS_CS_ITU601);
    sws_setColorspaceDetails(context.get(), coefficients, 1, coefficients, 1, 0, 1 << 16, 1 << 16);
    return context;
}

PeerWork scaling(const Frame& source, int threads)
{
    const cv::Size size(source->width, source->height);
    const auto destination = newFrame(AV_PIX_FMT_GBRPF32LE, size);
    const auto scaler = newScaler(source, destination, threads);
    return {[=] { check(sws_scale_frame(scaler.get(), destination.get(), source.get())); },
            [=] {
                std::vector<cv::Mat> planes;
                for (const int blueGreenRed : {1, 0, 2})
                    planes.push_back(plane(destination, blueGreenRed, size, CV_32F));
                cv::Mat picture;
                cv::merge(planes, picture);
                return picture;
            }};
}

// Takes groups apart: planes of Y, Cb and Cr out of a packing whose samples are Cb, Cr and then Y.
template <class Sample>
Frame planesOf(const cv::Mat& groups, const char* packingName, int pixelFormat)
{
    const auto& packing = MediaConversion::Reference::packingOf(packingName);
    const auto frame = newFrame(pixelFormat, {groups.cols * 2, groups.rows * packing.rows});
    const auto at = [&](int index, int row, int column) -> Sample& {
        return reinterpret_cast<Sample*>(frame->data[index] + row * frame->linesize[index])[column];
    };
    for (int row = 0; row < groups.rows; ++row)
        for (int column = 0; column < groups.cols; ++column) {
            const auto samples = packing.read(groups.ptr(row, column));
            at(1, row, column) = static_cast<Sample>(samples[0]);
            at(2, row, column) = static_cast<Sample>(samples[1]);
            for (int k = 0; k < 2 * packing.rows; ++k)
                at(0, row * packing.rows + k / 2, 2 * column + k % 2) =
                    static_cast<Sample>(samples[2 + k]);
        }
    return frame;
}

std::shared_ptr<AVCodecContext> newCodec(const AVCodec* codec, int threads)
{
    auto context = owned<avcodec_free_context>(avcodec_alloc_context3(codec));
    context->thread_count = threads;
    context->thread_type = FF_THREAD_SLICE;
    return context;
}

// The header of a DirectDraw surface, in 32-bit words, whose DXT5 blocks hold scaled YCoCg: how
// long it is, which fields it fills, and the four letters that name the pixel format.
std::array<std::uint32_t, 32> ddsHeader(const cv::Size& size)
{
    std::array<std::uint32_t, 32> words{MKTAG('D', 'D', 'S', ' '), 124, 0x1 | 0x2 | 0x4 | 0x1000,
                                        static_cast<std::uint32_t>(size.height),
                                        static_cast<std::uint32_t>(size.width)};
    words[11] = MKTAG('Y', 'C', 'G', '2');
    words[19] = 32;
    words[20] = 4;
    words[21] = MKTAG('D', 'X', 'T', '5');
    words[27] = 0x1000;
    return words;
}

PeerWork hapEncoding(const cv::Mat& rgba, const Velmora::FrameFormat& format, const char* name,
                     int threads)
{
    const auto frame = newFrame(AV_PIX_FMT_RGBA, rgba.size());
    rgba.copyTo(plane(frame, 0, rgba.size(), CV_8UC4));
    const auto packet = owned<av_packet_free>(av_packet_alloc());
    const auto codec = newCodec(avcodec_find_encoder(AV_CODEC_ID_HAP), threads);
    codec->width = rgba.cols;
    codec->height = rgba.rows;
    codec->pix_fmt = AV_PIX_FMT_RGBA;
    codec->time_base = {1, 25};
    check(av_opt_set(codec->priv_data, "format", name, 0));
    check(av_opt_set(codec->priv_data, "compressor", "none", 0));
    check(avcodec_open2(codec.get(), codec->codec, nullptr));
    return {[=] {
                ++frame->pts;
                check(avcodec_send_frame(codec.get(), frame.get()));
                check(avcodec_receive_packet(codec.get(), packet.get()));
            },
            [=, size = rgba.size() / 4] {
                // The blocks are the end of the packet.
                const int bytes = int(format.pixelPacking.bytesPerGroup) * size.area();
                return pictureOf(format, {size, openCvType(format, Velmora::PackedFormatCvTypes()),
                                          packet->data + packet->size - bytes});
            }};
}

}

PeerWork scaleYuyv422(const cv::Mat& source, int threads)
{
    const auto frame = newFrame(AV_PIX_FMT_YUYV422, {source.cols * 2, source.rows});
    source.copyTo(plane(frame, 0, source.size(), CV_8UC4));
    return scaling(frame, threads);
}

PeerWork scaleYuv422p10(const cv::Mat& source, int threads)
{
    return scaling(planesOf<std::uint16_t>(source, "ZEQ-422", AV_PIX_FMT_YUV422P10LE), threads);
}

PeerWork scaleYuv420p(const cv::Mat& source, int threads)
{
    return scaling(planesOf<std::uint8_t>(source, "ZEQ-420", AV_PIX_FMT_YUV420P), threads);
}

// Its padding lies in the top two bits, ours in the bottom two.
PeerWork scaleX2rgb10(const cv::Mat& source, int threads)
{
    const auto frame = newFrame(AV_PIX_FMT_X2RGB10LE, source.size());
    for (int row = 0; row < source.rows; ++row) {
        const auto* words = source.ptr<std::uint32_t>(row);
        auto* shifted = plane(frame, 0, source.size(), CV_32S).ptr<std::uint32_t>(row);
        std::transform(words, words + source.cols, shifted, [](auto word) { return word >> 2; });
    }
    return scaling(frame, threads);
}

PeerWork decodeDds(const cv::Mat& source, int threads)
{
    const cv::Size size = source.size() * 4;
    const auto header = ddsHeader(size);
    const std::size_t bytes = source.total() * source.elemSize();
    const auto packet = owned<av_packet_free>(av_packet_alloc());
    check(av_new_packet(packet.get(), static_cast<int>(sizeof header + bytes)));
    std::memcpy(packet->data, header.data(), sizeof header);
    std::memcpy(packet->data + sizeof header, source.data, bytes);
    const auto frame = owned<av_frame_free>(av_frame_alloc());
    const auto codec = newCodec(avcodec_find_decoder(AV_CODEC_ID_DDS), threads);
    check(avcodec_open2(codec.get(), codec->codec, nullptr));
    return {[=] {
                check(avcodec_send_packet(codec.get(), packet.get()));
                check(avcodec_receive_frame(codec.get(), frame.get()));
            },
            [=] { return pictureOf(RGBA_U8(), plane(frame, 0, size, CV_8UC4)); }};
}

PeerWork encodeHap(const cv::Mat& source, int threads)
{
    return hapEncoding(source, RGB_DXT1(), "hap", threads);
}

PeerWork encodeHapQ(const cv::Mat& source, int threads)
{
    cv::Mat rgba;
    cv::cvtColor(source, rgba, cv::COLOR_BGRA2RGBA);
    return hapEncoding(rgba, YCoCg_DXT5(), "hap_q", threads);
}

}
