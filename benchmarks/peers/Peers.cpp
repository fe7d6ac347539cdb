#include "benchmarks/peers/Peers.h"

#include "MediaConversion/MediaPipeline/CvTypes.h"
#include "MediaConversion/MediaPipeline/Formats.h"
#include "benchmarks/Pictures.h"

#include <OpenImageIO/oiioversion.h>
#include <opencv2/core.hpp>

extern "C" {
#include <libavutil/avutil.h>
}

#include <cmath>
#include <limits>

namespace Benchmarks {

const std::vector<Peer>& peers()
{
    using namespace Velmora::Formats;
    using namespace Peers;
    // clang-format off
    static const auto& table = *new std::vector<Peer>{
        // library, its work; our source and destination, reads a file; theirs / ours, has threads
        {"libswscale",  "yuyv422 to gbrpf32",      YUYV_422(),       BGRA_F32(),   false, 1.3, true,  scaleYuyv422,
         "three planes without alpha, 12 bytes a pixel where ours writes 16"},
        {"OpenCV",      "cvtColor and convertTo",  YUYV_422(),       BGRA_F32(),   false, 1.3, true,  convertYuy2,
         "YUY2 of limited range to 8-bit BGRA, then to float: at most 256 levels, two passes"},
        {"libswscale",  "yuv420p to gbrpf32",      ZEQ_420(),        BGRA_F32(),   false, 1.3, true,  scaleYuv420p,
         "from planes; otherwise as yuyv422"},
        {"libswscale",  "yuv422p10 to gbrpf32",    ZEQ_422(),        BGRA_F32(),   false, 1.3, true,  scaleYuv422p10,
         "from planes of 16-bit words, no groups to take apart; otherwise as yuyv422"},
        {"libswscale",  "x2rgb10 to gbrpf32",      RGB_DPX_FILLED(), BGRA_F32(),   false, 4,   true,  scaleX2rgb10,
         "its colours pass through YCbCr; otherwise as yuyv422"},
        {"OpenImageIO", "reads a 10-bit DPX file", RGB_DPX_FILLED(), BGRA_F32(),   true,  8,   true,  readDpx,
         "a DPX file to float RGB, where ours opens, reads and converts a media file; both in memory"},
        {"libavcodec",  "dds decoder, YCG2",       YCoCg_DXT5(),     BGRA_U8(),    false, 5,   true,  decodeDds,
         "the same blocks behind a header, to 8-bit RGBA where ours writes 8-bit BGRA"},
        {"libavcodec",  "Hap encoder, hap_q",      BGRA_U8(),        YCoCg_DXT5(), false, 6,   true,  encodeHapQ,
         "from RGBA to the same kind of blocks in a packet; no second compression"},
        {"libavcodec",  "Hap encoder, hap",        RGBA_U8(),        RGB_DXT1(),   false, 6,   true,  encodeHap,
         "in a packet, too; refines the end points, where ours takes the corners of the block's colours"},
        {"libsquish",   "DXT1, range fit",         RGBA_U8(),        RGB_DXT1(),   false, 6,   true,  encodeBySquish,
         "end points along the principal axis: its fastest way"},
        {"stb_dxt",     "DXT1, normal",            RGBA_U8(),        RGB_DXT1(),   false, 6,   false, encodeByStb,
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

namespace {

double peakSignalToNoise(const cv::Mat& one, const cv::Mat& other)
{
    const double error = cv::norm(one, other, cv::NORM_L2SQR);
    const auto values = static_cast<double>(one.total()) * one.channels();
    // Equal pictures get a figure, too.
    return -10 * std::log10(error / values + std::numeric_limits<double>::min());
}

}

Quality qualityOf(const Peer& peer)
{
    const cv::Mat source = photograph(peer.source);
    OurWork ours({peer.source, peer.destination}, fromMemory(peer.source, source));
    ours.run();
    const auto ourPicture = pictureOf(peer.destination, ours.result());
    const auto theirs = peer.create(source, 1);
    theirs.run();
    if (!Velmora::PackedFormatCvTypes().contains(peer.destination))
        return {peakSignalToNoise(theirs.picture(), ourPicture)};
    const auto original = pictureOf(peer.source, source);
    return {peakSignalToNoise(theirs.picture(), original), peakSignalToNoise(ourPicture, original)};
}

std::string versionsOfPeers()
{
    return std::string("FFmpeg ") + av_version_info() +
           ", OpenImageIO " OIIO_VERSION_STRING ", OpenCV as above, libsquish " SQUISH_VERSION
           ", stb_dxt 1.12";
}

}
