#pragma once

#include "benchmarks/Work.h"

#include <string>
#include <vector>

namespace Benchmarks {

// Another library on the nearest same work, beside our conversion of the same picture.
struct Peer
{
    const char* library;
    const char* work;
    Velmora::FrameFormat source;
    Velmora::FrameFormat destination;
    bool readsFile;        // as ours does then
    double leastOfTheirs;  // theirs / ours
    bool isThreaded;       // otherwise it is compared on one thread only
    Work (*create)(const cv::Mat& source, int threads);
    const char* difference;

    std::string name() const { return std::string(library) + ": " + work; }
    bool isBeside(const Conversion& conversion) const;
};

const std::vector<Peer>& peers();

// Peak signal to noise of the photograph, in dB: of decoders, theirs to ours; of encoders, each to
// what they encoded.
struct Quality
{
    double theirs;
    double ours = 0;
};

Quality qualityOf(const Peer& peer);

// Of the libraries that say theirs: "FFmpeg 5.1, OpenImageIO 2.4.7".
std::string versionsOfPeers();

// Each takes a source as our conversion has it. What has no threads of its own ignores their
// number.
namespace Peers {

Work scaleYuyv422(const cv::Mat& source, int threads);
Work scaleYuv422p10(const cv::Mat& source, int threads);
Work scaleYuv420p(const cv::Mat& source, int threads);
Work scaleX2rgb10(const cv::Mat& source, int threads);
Work decodeDds(const cv::Mat& source, int threads);
Work encodeHap(const cv::Mat& source, int threads);
Work encodeHapQ(const cv::Mat& source, int threads);

Work convertYuy2(const cv::Mat& source, int threads);
Work readDpx(const cv::Mat& source, int threads);
Work encodeBySquish(const cv::Mat& source, int threads);
Work encodeByStb(const cv::Mat& source, int threads);

}

}
