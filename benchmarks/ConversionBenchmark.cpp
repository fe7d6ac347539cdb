// Every conversion beside the limit and other libraries. Benchmarks are named
// CONVERSION/PICTURE/HEIGHT/THREADS/CONTENDER; report.py runs those that share all but the
// contender together, in one process and taking turns at random, and makes tables of their ratios.

#include "MediaConversion/MediaFile/VelmoraMediaFileReader.h"
#include "benchmarks/Machine.h"
#include "benchmarks/Peers.h"
#include "benchmarks/Work.h"
#include "tests/MediaFile/TemporaryFolder.h"
#include "tests/support/Pools.h"

#include <benchmark/benchmark.h>
#include <opencv2/core.hpp>

#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>

namespace {

using namespace Benchmarks;

// A conversion in a setting, and what its contenders work on. Sets the number of OpenCV's threads,
// and is the only one to own a memory pool while it lives.
struct Trial
{
    Trial(const Conversion& itsConversion, const Setting& itsSetting)
        : conversion(itsConversion),
          setting(itsSetting),
          image(makePicture(conversion.source, setting)),
          frame(Velmora::frameOver(conversion.source, image)),
          ours(conversion, source())
    {
        cv::setNumThreads(setting.threads);
        constexpr int framesUntilThePoolIsFilled = 5;
        for (int k = 0; k < framesUntilThePoolIsFilled; ++k)
            ours.run();
        outputs[0] = referenceConverted(*frame, conversion.destination);
        outputs[1] = outputs[0].clone();
        const std::size_t bytes = outputs[0].total() * outputs[0].elemSize();
        isExact = ours.result().size() == outputs[0].size() &&
                  ours.result().type() == outputs[0].type() &&
                  std::memcmp(ours.result().data, outputs[0].data, bytes) == 0;
    }

    FrameSource source()
    {
        if (conversion.scope != Scope::PeersFromFile)
            return [this] { return Velmora::frameOver(conversion.source, image); };
        writeMediaFile(folder.file("frame.zeq"), *frame);
        return [this] { return MediaConversion::readMediaFile(folder.file("frame.zeq")); };
    }

    // As many bytes to be copied as the conversion reads and writes.
    void makeCopies()
    {
        const auto bytes =
            image.total() * image.elemSize() + outputs[0].total() * outputs[0].elemSize();
        for (auto& each : copies)
            each = cv::Mat(setting.threads, static_cast<int>(bytes / 2 / setting.threads), CV_8U,
                           cv::Scalar(1));
    }

    InstalledPool pool;
    MediaConversion::MediaFileTests::TemporaryFolder folder{"/dev/shm"};
    const Conversion& conversion;
    Setting setting;
    cv::Mat image;
    std::unique_ptr<Velmora::ImageFrame> frame;
    OurWork ours;
    bool isExact;  // whether ours gives the reference's bytes, on the picture that is timed
    cv::Mat outputs[2], copies[2];  // written in turn
    int turn = 0;
    std::map<const Peer*, PeerWork> peers;
    std::set<std::string> contenders;  // that have warmed up
};

std::unique_ptr<Trial> currentTrial;

Trial& trialOf(const Conversion& conversion, const Setting& setting)
{
    if (!currentTrial || &currentTrial->conversion != &conversion ||
        currentTrial->setting != setting) {
        currentTrial.reset();
        currentTrial = std::make_unique<Trial>(conversion, setting);
    }
    return *currentTrial;
}

void add(const Conversion& conversion, const Setting& setting, const std::string& contender,
         double target, const std::function<void(Trial&)>& operation, const char* label = "")
{
    const auto run = [=, &conversion](benchmark::State& state) {
        auto& trial = trialOf(conversion, setting);
        if (!trial.isExact)
            return state.SkipWithError("differs from the reference");
        if (trial.contenders.insert(contender).second)
            operation(trial);
        for (auto _ : state)
            operation(trial);
        state.counters["target"] = target;
        state.SetLabel(label);
    };
    const auto name = nameOf(conversion) + '/' + nameOf(setting) + '/' + contender;
    benchmark::RegisterBenchmark(name.c_str(), run)
        ->Iterations(1)
        ->UseRealTime()
        ->Unit(benchmark::kMillisecond);
}

void addContenders(const Conversion& conversion, const Setting& setting)
{
    const bool isUsualSize = setting.height == 1080 || setting.height == 2160;
    if (!isUsualSize &&
        (conversion.scope != Scope::Growing || setting.picture != PictureKind::Noise))
        return;
    add(conversion, setting, "ours", conversion.mostToLimit.at(setting.threads - 1),
        [](Trial& trial) { trial.ours.run(); });
    if (conversion.scope == Scope::Usual || conversion.scope == Scope::Growing) {
        for (const auto& stores : storesOfThisMachine())
            add(conversion, setting, std::string("limit: ") + stores.name, 0, [=](Trial& trial) {
                readAndWrite(stores, trial.image, trial.outputs[trial.turn ^= 1]);
            });
        add(conversion, setting, "copy", 0, [](Trial& trial) {
            if (trial.copies[0].empty())
                trial.makeCopies();
            trial.turn ^= 1;
            copyRows(trial.copies[trial.turn], trial.copies[trial.turn ^ 1]);
        });
    }
    for (const auto& peer : peers())
        if (peer.isBeside(conversion) && isUsualSize && (setting.threads == 1 || peer.isThreaded))
            add(
                conversion, setting, peer.name, peer.leastOfTheirs,
                [&](Trial& trial) {
                    if (!trial.peers.contains(&peer))
                        trial.peers[&peer] = peer.create(trial.image, trial.setting.threads);
                    trial.peers[&peer].run();
                },
                peer.difference);
}

// A quality instead of a time.
void addQuality(const Peer& peer)
{
    const auto name = nameOf(Conversion{peer.source, peer.destination}) + "/photograph/200/1/";
    benchmark::RegisterBenchmark((name + peer.name).c_str(), [&](benchmark::State& state) {
        const InstalledPool pool;
        for (auto _ : state) {
            const auto [theirs, ours] = qualityOf(peer);
            state.counters["theirs"] = theirs;
            state.counters["ours"] = ours;
        }
    })->Iterations(1);
}

}

int main(int argc, char** argv)
{
    for (const auto& conversion : conversions())
        for (const int height : {540, 1080, 2160, 4320})
            for (const auto picture : {PictureKind::Noise, PictureKind::Smooth})
                for (const int threads : {1, 2})
                    addContenders(conversion, {picture, height, threads});
    for (const auto& peer : peers())
        addQuality(peer);
    benchmark::AddCustomContext("compared with", versionsOfPeers());
    const int status = runBenchmarks(argc, argv);
    currentTrial.reset();
    return status;
}
