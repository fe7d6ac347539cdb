#pragma once

#include "benchmarks/Work.h"

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace Benchmarks {

// Another library's way to do a conversion's work, its input at hand.
struct PeerWork
{
    std::function<void()> run;         // what is timed
    std::function<cv::Mat()> picture;  // what the last run made: float BGR, blocks decoded
};

// Another library on the nearest same work, beside our conversion of the same picture.
struct Peer
{
    const char* name;  // the library: its work
    Velmora::FrameFormat source;
    Velmora::FrameFormat destination;
    bool readsFile;        // as ours does then
    double leastOfTheirs;  // theirs / ours
    bool isThreaded;       // otherwise it is compared on one thread only
    PeerWork (*create)(const cv::Mat& source, int threads);  // of a source as our conversion has it
    const char* difference;

    bool isBeside(const Conversion& conversion) const;
};

const std::vector<Peer>& peers();

// Peak signal to noise of the photograph in dB, theirs and ours: of decoders, theirs to ours and 0;
// of encoders, each to what they encoded.
std::pair<double, double> qualityOf(const Peer& peer);

// Of the libraries that say theirs: "FFmpeg 5.1, OpenImageIO 2.4.7".
std::string versionsOfPeers();

// FFmpeg's.
PeerWork scaleYuyv422(const cv::Mat& source, int threads);
PeerWork scaleYuv422p10(const cv::Mat& source, int threads);
PeerWork scaleYuv420p(const cv::Mat& source, int threads);
PeerWork scaleX2rgb10(const cv::Mat& source, int threads);
PeerWork decodeDds(const cv::Mat& source, int threads);
PeerWork encodeHap(const cv::Mat& source, int threads);
PeerWork encodeHapQ(const cv::Mat& source, int threads);

}
