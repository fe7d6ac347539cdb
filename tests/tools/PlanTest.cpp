#include "tests/support/ExpectError.h"
#include "tools/Command.h"
#include "tools/ConversionPlan.h"
#include "tools/MediaFormats.h"
#include "tools/MemoryBudget.h"
#include "tools/PictureTypes.h"

#include <gmock/gmock.h>

#include <atomic>
#include <map>
#include <thread>

using namespace testing;
using namespace Zeq;

TEST(ConversionPlan, namesOutputs)
{
    const auto outputs = [](const std::string& output, const std::string& extension = "") {
        std::vector<std::string> names;
        for (const auto& each :
             planConversions({{"a/s.0001.zeq", 1}, {"a/s.0002.zeq", 2}}, output, extension))
            names.push_back(each.output);
        return names;
    };
    EXPECT_THAT(outputs("b/t.##.png"), ElementsAre("b/t.01.png", "b/t.02.png"));
    EXPECT_THAT(outputs("b/", "exr"), ElementsAre("b/s.0001.exr", "b/s.0002.exr"));
}

TEST(ConversionPlan, refusesWhatWouldOverwrite)
{
    expectError<UsageError>("a.zeq and b.zeq would both become c.png", [] {
        planConversions({{"a.zeq", {}}, {"b.zeq", {}}}, "c.png", "");
    });
    expectError<UsageError>("x/a.zeq and y/../z/a.zeq would both become o/a.png", [] {
        planConversions({{"x/a.zeq", {}}, {"y/../z/a.zeq", {}}}, "o/", "png");
    });
    expectError<UsageError>("s1.zeq would overwrite the input ./t1.zeq", [] {
        planConversions({{"s1.zeq", 1}, {"./t1.zeq", 2}}, "t#.zeq", "");
    });
    expectError<UsageError>("a.zeq has no frame number for b.#.png", [] {
        planConversions({{"a.zeq", {}}}, "b.#.png", "");
    });
    EXPECT_EQ(planConversions({{"a.zeq", {}}}, "./a.zeq", "").size(), 1u);
}

TEST(MediaFormats, haveTheirNames)
{
    const std::map<std::string, std::uint32_t> formats{
        {"yuyv-422", 0x8},           {"ZEQ-420", 0x40},
        {"rgb-u8", 0x200},           {"bgr-u8", 0x202},
        {"Rgba-U8", 0x204},          {"BGRA-U8", 0x206},
        {"zeq-422", 0x1108},         {"RGB-DPX-FILLED", 0x1200},
        {"bgr-dpx-filled", 0x1202},  {"ZEQ-4224-HYBRID", 0x1100C},
        {"RGB-SMPTE-2110", 0x10200}, {"BGR-SMPTE-2110", 0x10202},
        {"ycocg-dxt5", 0x20000000}};
    EXPECT_EQ(mediaFormats().size(), formats.size());
    for (const auto& [name, code] : formats) {
        ASSERT_TRUE(findMediaFormat(name)) << name;
        EXPECT_EQ(findMediaFormat(name)->code, code);
    }
    EXPECT_FALSE(findMediaFormat("RGB"));
}

TEST(PictureTypes, loseNothingUnlessAsked)
{
    using enum SampleDepth;
    struct Case
    {
        const char* type;
        SampleDepth source;
        bool hasAlpha;
        SampleDepth stored;
    };
    for (const auto& [type, source, hasAlpha, stored] : {Case{"png", U8, true, U8},
                                                         {"png", U10, false, U16},
                                                         {"tiff", U12, true, U16},
                                                         {"TIF", F16, false, F32},
                                                         {"dpx", U10, false, U10},
                                                         {"dpx", U10, true, U12},
                                                         {"dpx", U12, true, U12},
                                                         {"exr", U8, false, F32},
                                                         {"jpeg", U8, false, U8}})
        EXPECT_EQ(losslessDepth(*findPictureType(type), source, hasAlpha), stored) << type;
    expectError<std::runtime_error>(
        "float samples do not fit into png files without loss; choose a --depth",
        [] { losslessDepth(*findPictureType("png"), F32, false); });
    expectError<std::runtime_error>(
        "10-bit samples do not fit into jpg files without loss; choose a --depth",
        [] { losslessDepth(*findPictureType("jpg"), U10, false); });
    expectError<std::runtime_error>(
        "dpx files with alpha are not written in --depth 10; choose 8, 12, 16",
        [] { checkedDepth(*findPictureType("dpx"), U10, true); });
}

TEST(MemoryBudget, isNotExceededButByAFrameAlone)
{
    MemoryBudget budget(5);
    std::atomic<int> used = 0;
    std::atomic<int> largest = 0;
    const auto take = [&](int size) {
        for (int count = 0; count < 200; ++count) {
            const auto reservation = budget.reserve(static_cast<std::uint64_t>(size));
            const int now = used += size;
            EXPECT_TRUE(now <= 5 || now == size);
            for (int seen = largest; seen < now && !largest.compare_exchange_weak(seen, now);) {
            }
            used -= size;
        }
    };
    {
        std::vector<std::jthread> threads;
        for (const int size : {2, 3, 2, 9})
            threads.emplace_back(take, size);
    }
    EXPECT_EQ(largest, 9);
    EXPECT_THROW(const auto excess = budget.reserve(std::uint64_t{1} << 60), std::runtime_error);
}

TEST(MemoryBudget, isGivenInUnits)
{
    EXPECT_EQ(parseByteCount("512M"), 536870912u);
    EXPECT_EQ(parseByteCount("4G"), 4294967296u);
    for (const auto* text : {"", "4", "0G", "-1G", "4T", "4GB", "99999999999G"})
        EXPECT_THROW(parseByteCount(text), UsageError) << text;
}
