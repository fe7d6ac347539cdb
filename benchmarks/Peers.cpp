#include "benchmarks/Peers.h"

#include "MediaConversion/MediaPipeline/Formats.h"
#include "tests/MediaFile/TemporaryFolder.h"

#include <OpenImageIO/imageio.h>
#include <squish.h>
#include <opencv2/imgproc.hpp>

#define STB_DXT_IMPLEMENTATION
#include <stb/stb_dxt.h>

extern "C" {
#include <libavutil/avutil.h>

// The threads of Debian's libsquish are those of GNU's OpenMP.
void omp_set_num_threads(int threads);
}

#include <cstring>
#include <memory>
#include <stdexcept>

namespace Benchmarks {

using namespace Velmora::Formats;

namespace {

// Its threads are those of cv::setNumThreads.
PeerWork convertYuy2(const cv::Mat& source, int /*threads*/)
{
    // cvtColor wants Y from 16 to 235 and chroma from 16 to 240.
    cv::Mat yuyv = source.clone().reshape(2);
    for (auto& pixel : cv::Mat_<cv::Vec2b>(yuyv)) {
        pixel[0] = cv::saturate_cast<uchar>(16 + pixel[0] * (219 / 255.0));
        pixel[1] = cv::saturate_cast<uchar>(128 + (pixel[1] - 127.5) * (224 / 255.0));
    }
    cv::Mat bytes(yuyv.size(), CV_8UC4);
    cv::Mat floats(yuyv.size(), CV_32FC4);
    return {[=]() mutable {
                cv::cvtColor(yuyv, bytes, cv::COLOR_YUV2BGRA_YUY2);
                bytes.convertTo(floats, CV_32F, 1.0 / 255);
            },
            [=] { return pictureOf(BGRA_F32(), floats); }};
}

void check(bool succeeded)
{
    if (!succeeded)
        throw std::runtime_error("OpenImageIO: " + OIIO::geterror());
}

void writeDpx(const std::string& fileName, const cv::Mat& rgb)
{
    OIIO::ImageSpec layout(rgb.cols, rgb.rows, 3, OIIO::TypeDesc::UINT16);
    layout.attribute("oiio:BitsPerSample", 10);
    const auto file = OIIO::ImageOutput::create(fileName);
    check(file && file->open(fileName, layout) &&
          file->write_image(OIIO::TypeDesc::FLOAT, rgb.data) && file->close());
}

PeerWork readDpx(const cv::Mat& source, int threads)
{
    OIIO::attribute("threads", threads);
    const auto folder =
        std::make_shared<MediaConversion::MediaFileTests::TemporaryFolder>("/dev/shm");
    const cv::Mat pixels(source.size(), CV_32FC3);
    cv::cvtColor(converted(RGB_DPX_FILLED(), source, BGRA_F32()), pixels, cv::COLOR_BGRA2RGB);
    writeDpx(folder->file("frame.dpx"), pixels);
    return {[=] {
                const auto file = OIIO::ImageInput::open(folder->file("frame.dpx"));
                check(file && file->read_image(0, 0, 0, 3, OIIO::TypeDesc::FLOAT, pixels.data));
            },
            [=] {
                cv::Mat picture;
                cv::cvtColor(pixels, picture, cv::COLOR_RGB2BGR);
                return picture;
            }};
}

void squishAll(const cv::Mat& rgba, cv::Mat& blocks)
{
    squish::CompressImage(rgba.data, rgba.cols, rgba.rows, blocks.data,
                          squish::kDxt1 | squish::kColourRangeFit);
}

void compressByStb(const cv::Mat& rgba, cv::Mat& blocks)
{
    for (int row = 0; row < blocks.rows; ++row)
        for (int column = 0; column < blocks.cols; ++column) {
            uchar pixels[64];
            for (int k = 0; k < 4; ++k)
                std::memcpy(pixels + 16 * k, rgba.ptr(4 * row + k, 4 * column), 16);
            stb_compress_dxt_block(blocks.ptr(row, column), pixels, 0, STB_DXT_NORMAL);
        }
}

PeerWork encoding(const cv::Mat& source, void (*encode)(const cv::Mat&, cv::Mat&))
{
    // Transparent pixels would get another kind of block.
    const cv::Mat rgba = source | cv::Scalar(0, 0, 0, 255);
    cv::Mat blocks(rgba.rows / 4, rgba.cols / 4, CV_8UC(8));
    return {[=]() mutable { encode(rgba, blocks); }, [=] { return pictureOf(RGB_DXT1(), blocks); }};
}

PeerWork encodeBySquish(const cv::Mat& source, int threads)
{
    omp_set_num_threads(threads);
    return encoding(source, squishAll);
}

PeerWork encodeByStb(const cv::Mat& source, int /*threads*/)
{
    return encoding(source, compressByStb);
}

}

const std::vector<Peer>& peers()
{
    // clang-format off
    static const auto& table = *new std::vector<Peer>{
        // library and its work; our source and destination, reads a file; theirs / ours, has threads
        {"libswscale: yuyv422 to gbrpf32",       YUYV_422(),       BGRA_F32(),   false, 2,   true,  scaleYuyv422,
         "three planes without alpha, 12 bytes a pixel where ours writes 16"},
        {"OpenCV: cvtColor and convertTo",       YUYV_422(),       BGRA_F32(),   false, 2,   true,  convertYuy2,
         "YUY2 of limited range to 8-bit BGRA, then to float: at most 256 levels, two passes"},
        {"libswscale: yuv420p to gbrpf32",       ZEQ_420(),        BGRA_F32(),   false, 2,   true,  scaleYuv420p,
         "from planes; otherwise as yuyv422"},
        {"libswscale: yuv422p10 to gbrpf32",     ZEQ_422(),        BGRA_F32(),   false, 2,   true,  scaleYuv422p10,
         "from planes of 16-bit words, no groups to take apart; otherwise as yuyv422"},
        {"libswscale: x2rgb10 to gbrpf32",       RGB_DPX_FILLED(), BGRA_F32(),   false, 5,   true,  scaleX2rgb10,
         "its colours pass through YCbCr; otherwise as yuyv422"},
        {"OpenImageIO: reads a 10-bit DPX file", RGB_DPX_FILLED(), BGRA_F32(),   true,  8,   true,  readDpx,
         "a DPX file to float RGB, where ours opens, reads and converts a media file; both in memory"},
        {"libavcodec: dds decoder, YCG2",        YCoCg_DXT5(),     BGRA_U8(),    false, 5,   true,  decodeDds,
         "the same blocks behind a header, to 8-bit RGBA where ours writes 8-bit BGRA"},
        {"libavcodec: Hap encoder, hap_q",       BGRA_U8(),        YCoCg_DXT5(), false, 6,   true,  encodeHapQ,
         "from RGBA to the same kind of blocks in a packet; no second compression"},
        {"libavcodec: Hap encoder, hap",         RGBA_U8(),        RGB_DXT1(),   false, 6,   true,  encodeHap,
         "in a packet, too; refines the end points, where ours takes the corners of the block's colours"},
        {"libsquish: DXT1, range fit",           RGBA_U8(),        RGB_DXT1(),   false, 6,   true,  encodeBySquish,
         "end points along the principal axis: its fastest way"},
        {"stb_dxt: DXT1, normal",                RGBA_U8(),        RGB_DXT1(),   false, 6,   false, encodeByStb,
         "one block a call, without threads; refines the end points once"},
    };
    // clang-format on
    return table;
}

bool Peer::isBeside(const Conversion& conversion) const
{
    return conversion.source == source && conversion.destination == destination &&
           (conversion.scope == Scope::PeersFromFile) == readsFile;
}

std::pair<double, double> qualityOf(const Peer& peer)
{
    const auto source = photograph(peer.source);
    OurWork work({peer.source, peer.destination},
                 [&] { return Velmora::frameOver(peer.source, source); });
    work.run();
    const auto ours = pictureOf(peer.destination, work.result());
    const auto theirs = peer.create(source, 1);
    theirs.run();
    if (!Velmora::PackedFormatCvTypes().contains(peer.destination))
        return {cv::PSNR(theirs.picture(), ours, 1), 0};
    const auto original = pictureOf(peer.source, source);
    return {cv::PSNR(theirs.picture(), original, 1), cv::PSNR(ours, original, 1)};
}

std::string versionsOfPeers()
{
    return std::string("FFmpeg ") + av_version_info() +
           ", OpenImageIO " OIIO_VERSION_STRING ", OpenCV as above, libsquish " SQUISH_VERSION
           ", stb_dxt 1.12";
}

}
