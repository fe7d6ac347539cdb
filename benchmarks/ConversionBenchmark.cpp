// Every conversion beside the limit, the reference and other libraries. The names of what is
// measured are CONVERSION/PICTURE/HEIGHT/THREADS/CONTENDER; report.py runs those that share all but
// the contender together, in one process and taking turns at random, and makes tables of their
// ratios.

#include "MediaConversion/MediaFile/FileNames.h"
#include "MediaConversion/MediaFile/VelmoraMediaFileWriter.h"
#include "benchmarks/Conversions.h"
#include "benchmarks/Limit.h"
#include "benchmarks/Machine.h"
#include "benchmarks/Pictures.h"
#include "benchmarks/Work.h"
#include "benchmarks/peers/Peers.h"
#include "tests/MediaFile/TemporaryFolder.h"
#include "tests/support/InstalledPool.h"

#include <benchmark/benchmark.h>
#include <opencv2/core.hpp>

#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>

namespace {

using namespace Benchmarks;

bool sameBytes(const cv::Mat& one, const cv::Mat& other)
{
    return one.size() == other.size() && one.type() == other.type() &&
           std::memcmp(one.data, other.data, one.total() * one.elemSize()) == 0;
}

// A conversion in a setting, and what it is measured beside. Sets the number of OpenCV's threads,
// and is the only one to own a memory pool while it lives.
class Trial
{
public:
    Trial(const Conversion& conversion, const Setting& setting)
        : m_conversion(conversion),
          m_setting(setting),
          m_image(makePicture(conversion.source, setting)),
          m_frame(frameOf(conversion.source, m_image)),
          m_ours(conversion, source())
    {
        cv::setNumThreads(setting.threads);
        constexpr int framesUntilThePoolIsFilled = 5;
        for (int frame = 0; frame < framesUntilThePoolIsFilled; ++frame)
            ours();
        m_outputs[0] = referenceConverted(*m_frame, conversion.destination);
        m_outputs[1] = m_outputs[0].clone();
        m_isExact = sameBytes(m_ours.result(), m_outputs[0]);
    }

    bool isOf(const Conversion& conversion, const Setting& setting) const
    {
        return &m_conversion == &conversion && m_setting == setting;
    }

    // Whether ours gave the reference's bytes, on the picture that is timed.
    bool isExact() const { return m_isExact; }

    // Whether a contender has not had its turn yet, and is to warm up.
    bool isNew(const std::string& contender) { return m_contenders.insert(contender).second; }

    void ours() { m_ours.run(); }
    void reference() { m_result = referenceConverted(*m_frame, m_conversion.destination); }
    void limit(const Stores& stores) { readAndWrite(stores, m_image, m_outputs[m_turn ^= 1]); }

    void copy()
    {
        if (!m_copy)
            m_copy.emplace(m_image, m_outputs[0], m_setting.threads);
        m_copy->run();
    }

    void peer(const Peer& peer)
    {
        if (!m_peers.contains(&peer))
            m_peers[&peer] = peer.create(m_image, m_setting.threads);
        m_peers[&peer].run();
    }

private:
    FrameSource source()
    {
        if (m_conversion.scope != Scope::PeersFromFile)
            return fromMemory(m_conversion.source, m_image);
        const auto name = m_folder.file("frame.zeq");
        MediaConversion::VelmoraMediaFileWriter().write(MediaConversion::wideFileName(name),
                                                        *m_frame);
        return fromFile(name);
    }

    InstalledPool m_pool;
    MediaConversion::MediaFileTests::TemporaryFolder m_folder{"/dev/shm"};
    const Conversion& m_conversion;
    Setting m_setting;
    cv::Mat m_image;
    std::unique_ptr<Velmora::ImageFrame> m_frame;
    OurWork m_ours;
    cv::Mat m_result;      // the reference's, held like ours, which would else find it in the cache
    cv::Mat m_outputs[2];  // of the limit, in turn
    int m_turn = 0;
    bool m_isExact = false;
    std::optional<Copy> m_copy;
    std::map<const Peer*, Work> m_peers;
    std::set<std::string> m_contenders;
};

// Registers what is measured; makes a trial when the first of its contenders has its turn.
class Trials
{
public:
    void registerAll()
    {
        for (const auto& conversion : conversions())
            for (const int height : {540, 1080, 2160, 4320})
                for (const auto picture : {Picture::Noise, Picture::Smooth})
                    for (const int threads : {1, 2})
                        registerContenders(conversion, {picture, height, threads});
        for (const auto& peer : peers())
            registerQuality(peer);
    }

private:
    using Counters = std::map<std::string, double>;
    using Operation = std::function<void(Trial&)>;

    void registerContenders(const Conversion& conversion, const Setting& setting)
    {
        const bool isUsualSize = setting.height == 1080 || setting.height == 2160;
        const bool isGrowth =
            conversion.scope == Scope::Growing && setting.picture == Picture::Noise;
        if (!isUsualSize && !isGrowth)
            return;
        const auto add = [&](const std::string& contender, const Counters& counters,
                             const Operation& operation, const std::string& label = {}) {
            registerOne(conversion, setting, contender, counters, operation, label);
        };

        const double mostToLimit = conversion.mostToLimit.at(setting.threads - 1);
        add("ours", {{"target", mostToLimit}}, [](Trial& trial) { trial.ours(); });
        if (conversion.hasReference()) {
            for (const auto& stores : storesOfThisMachine())
                add(std::string("limit: ") + stores.name, {},
                    [=](Trial& trial) { trial.limit(stores); });
            add("copy", {}, [](Trial& trial) { trial.copy(); });
        }
        if (!isUsualSize)
            return;
        if (conversion.hasReference())
            add("reference", {{"target", conversion.leastOfReference}},
                [](Trial& trial) { trial.reference(); });
        for (const auto& peer : peers())
            if (peer.isBeside(conversion) && (setting.threads == 1 || peer.isThreaded))
                add(
                    peer.name(), {{"target", peer.leastOfTheirs}},
                    [&](Trial& trial) { trial.peer(peer); }, peer.difference);
    }

    void registerOne(const Conversion& conversion, const Setting& setting,
                     const std::string& contender, const Counters& counters,
                     const Operation& operation, const std::string& label)
    {
        const auto name = nameOf(conversion) + '/' + nameOf(setting) + '/' + contender;
        const auto run = [=, this, &conversion](benchmark::State& state) {
            auto& trial = this->trial(conversion, setting);
            if (!trial.isExact())
                return state.SkipWithError("differs from the reference");
            if (trial.isNew(contender))
                operation(trial);
            for (auto _ : state)
                operation(trial);
            for (const auto& [counter, value] : counters)
                state.counters[counter] = value;
            state.SetLabel(label);
        };
        benchmark::RegisterBenchmark(name.c_str(), run)
            ->Iterations(1)
            ->UseRealTime()
            ->Unit(benchmark::kMillisecond);
    }

    // Of a photograph, instead of a time.
    static void registerQuality(const Peer& peer)
    {
        const auto run = [&](benchmark::State& state) {
            const InstalledPool pool;
            Quality quality{};
            for (auto _ : state)
                quality = qualityOf(peer);
            state.counters["theirs"] = quality.theirs;
            state.counters["ours"] = quality.ours;
        };
        const Conversion conversion{peer.source, peer.destination};
        const auto name = nameOf(conversion) + "/photograph/200/1/" + peer.name();
        benchmark::RegisterBenchmark(name.c_str(), run)->Iterations(1);
    }

    Trial& trial(const Conversion& conversion, const Setting& setting)
    {
        if (!m_trial || !m_trial->isOf(conversion, setting)) {
            m_trial.reset();
            m_trial.emplace(conversion, setting);
        }
        return *m_trial;
    }

    std::optional<Trial> m_trial;
};

}

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    describeMachine();
    benchmark::AddCustomContext("compared with", versionsOfPeers());
    Trials trials;
    trials.registerAll();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
