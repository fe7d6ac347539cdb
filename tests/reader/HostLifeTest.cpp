#include "host/headless/HeadlessHost.h"
#include "host/headless/HostedReader.h"
#include "tests/MediaFile/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <opencv2/core.hpp>

#include <malloc.h>

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

using namespace testing;
using Description = DD::Image::Reader::Description;

namespace {

// A host that loads and unloads plug-ins, ends in the midst of work, and has more than one.
class HostLife : public Test
{
protected:
    HostLife()
    {
        for (const auto& entry : std::filesystem::directory_iterator(SAMPLES))
            if (entry.path().extension() == ".zeq")
                m_samples.push_back(entry.path());
    }

    static HostedReader opened(const Description& description, const std::string& file)
    {
        HostedReader reader(description, file);
        reader.open();
        EXPECT_THAT(reader.takeMessages(), IsEmpty()) << file;
        return reader;
    }

    // A row of a sample, each channel after the other.
    static std::vector<float> shown(HostedReader& reader)
    {
        std::vector<float> samples;
        DD::Image::Row row(0, reader.reader().width());
        reader.reader().engine(100, 0, row.r(), DD::Image::Mask_RGBA, row);
        for (const auto channel : {DD::Image::Chan_Red, DD::Image::Chan_Green, DD::Image::Chan_Blue,
                                   DD::Image::Chan_Alpha})
            samples.insert(samples.end(), row[channel], row[channel] + row.r());
        return samples;
    }

    // Bytes that the process has taken from the heap, and its open files.
    static std::pair<std::size_t, std::ptrdiff_t> resources()
    {
        const auto heap = ::mallinfo2();
        using Entries = std::filesystem::directory_iterator;
        return {heap.uordblks + heap.hblkhd, std::distance(Entries("/proc/self/fd"), Entries())};
    }

    static cv::Mat matrixOf(int value) { return {64, 64, CV_32SC1, cv::Scalar(value)}; }

    // Static objects go in the reverse order of their making: the first of these after all that the
    // plug-in has, the last before.
    [[noreturn]] void exitWithFrames() const
    {
        static std::vector<HostedReader> firstReaders;
        static cv::Mat firstMatrix;
        HeadlessHost(PLUG_IN);  // unloads it at once
        const auto& description = *Description::find("zeq");
        for (const auto& sample : m_samples)
            firstReaders.push_back(opened(description, sample));
        static const auto lastReader = opened(description, m_samples[0]);
        static const auto lastMatrix = matrixOf(1);
        firstMatrix = lastMatrix.clone();
        std::exit(HasFailure());
    }

    std::vector<std::string> m_samples;
};

}

TEST_F(HostLife, loadsAndUnloadsAThousandTimes)
{
    std::vector<std::pair<HostedReader, std::vector<float>>> kept;
    cv::Mat keptMatrix;
    std::pair<std::size_t, std::ptrdiff_t> before;
    for (std::size_t cycle = 0; cycle < 80 * m_samples.size(); ++cycle) {
        if (cycle == 10 * m_samples.size())
            before = resources();
        const HeadlessHost host(PLUG_IN);
        const auto& description = *Description::find("zeq");
        auto reader = opened(description, m_samples[cycle % m_samples.size()]);
        auto samples = shown(reader);
        HostedReader bad(description, PLUG_IN);
        EXPECT_THAT(bad.takeMessages(), ElementsAre("Media file is corrupt"));
        if (cycle < m_samples.size()) {
            kept.emplace_back(std::move(reader), std::move(samples));
            keptMatrix = matrixOf(1);
        }
    }
    const auto after = resources();
    EXPECT_LE(after.first, before.first + (1 << 15));
    EXPECT_EQ(after.second, before.second);
    for (auto& [reader, samples] : kept) {
        EXPECT_EQ(shown(reader), samples);
        reader.open();
        EXPECT_EQ(shown(reader), samples);
        EXPECT_THAT(reader.takeMessages(), IsEmpty());
    }
    EXPECT_EQ(cv::countNonZero(keptMatrix != 1), 0);
}

TEST_F(HostLife, mayExitWithFramesInHand)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(exitWithFrames(), ExitedWithCode(0), Eq(""));
}

// The one that is loaded first makes the first reader of the two, and then the last.
TEST_F(HostLife, mayHaveTwoPlugInsAtOnce)
{
    const MediaConversion::MediaFileTests::TemporaryFolder folder;
    std::vector<std::unique_ptr<HeadlessHost>> hosts;
    for (const std::size_t first : {1, 0}) {
        for (int copy = 0; copy < 2; ++copy) {
            const auto file = folder.file(std::to_string(hosts.size()));
            std::filesystem::copy_file(PLUG_IN, file);
            hosts.push_back(std::make_unique<HeadlessHost>(file));
        }
        const auto plugIns = Description::all();  // the latest first
        auto early = opened(*plugIns[first], m_samples[0]);
        auto earlyMatrix = matrixOf(1);
        auto late = opened(*plugIns[1 - first], m_samples[0]);
        EXPECT_EQ(cv::countNonZero(earlyMatrix != 1), 0);
        earlyMatrix = matrixOf(2);
        early.open();
        EXPECT_EQ(shown(early), shown(late));

        std::atomic<int> differences = 0;
        const auto compare = [&](std::size_t plugIn) {
            for (const auto& sample : m_samples) {
                auto one = opened(*plugIns[plugIn], sample);
                auto other = opened(*plugIns[1 - plugIn], sample);
                differences += shown(one) != shown(other);
            }
        };
        {
            const std::jthread threads[]{std::jthread(compare, 0), std::jthread(compare, 1),
                                         std::jthread(compare, 0), std::jthread(compare, 1)};
        }
        EXPECT_EQ(differences, 0);
        EXPECT_EQ(cv::countNonZero(earlyMatrix != 2), 0);
    }
}
