#include "tests/MediaFile/TemporaryFolder.h"
#include "tools/Command.h"
#include "tools/FramePattern.h"
#include "tools/FrameRange.h"
#include "tools/MemoryBudget.h"

#include <gmock/gmock.h>

#include <atomic>
#include <fstream>
#include <thread>

using namespace testing;
using namespace Zeq;

TEST(FrameRange, listsEachFrameOnceAndInOrder)
{
    const std::pair<const char*, std::vector<int>> cases[] = {
        {"9,1-3,2", {1, 2, 3, 9}},
        {"1-10x4", {1, 5, 9}},
        {"2147483646-2147483647", {2147483646, 2147483647}},
    };
    for (const auto& [text, frames] : cases)
        EXPECT_EQ(parseFrames(text), frames) << text;
    for (const auto* text : {"", "a", "1-", "-5", "1-3x0", "5-1", "1,,2", "1 2", "99999999999"})
        EXPECT_THROW(parseFrames(text), UsageError) << text;
}

TEST(FramePattern, namesFramesAndFindsItsOwnFilesOnly)
{
    const std::tuple<const char*, int, const char*> cases[] = {
        {"a/shot.####.zeq", 7, "a/shot.0007.zeq"},
        {"shot.%04d.zeq", 12345, "shot.12345.zeq"},
        {"shot%d.zeq", 7, "shot7.zeq"},
        {"a#b/100%/shot#.zeq", 12, "a#b/100%/shot12.zeq"},
    };
    for (const auto& [pattern, frame, name] : cases) {
        EXPECT_EQ(FramePattern::parse(pattern)->fileName(frame), name);
        EXPECT_FALSE(FramePattern::parse(name)) << name;
        EXPECT_EQ(frameNumberIn(std::string("v2/s3.") + name), frame);
    }
    EXPECT_EQ(frameNumberIn("v2/shot.zeq"), std::nullopt);
    const MediaConversion::MediaFileTests::TemporaryFolder folder;
    for (const auto* name : {"s.0010.zeq", "s.0002.zeq", "s.12345.zeq", "s.00003.zeq", "s.001.zeq",
                             "s.000x.zeq", "t.0001.zeq", "s.0004.png", "s.0005.zeq.bak", "s..zeq"})
        std::ofstream(folder.file(name)) << ' ';
    EXPECT_THAT(FramePattern::parse(folder.file("s.####.zeq"))->framesOnDisk(),
                ElementsAre(2, 10, 12345));
}

TEST(MemoryBudget, isNotExceededButByAFrameAlone)
{
    MemoryBudget budget(5);
    std::atomic<int> used = 0;
    const auto take = [&](int size) {
        for (int count = 0; count < 2000; ++count) {
            const auto reservation = budget.reserve(static_cast<std::uint64_t>(size));
            const int now = used += size;
            std::this_thread::yield();
            EXPECT_TRUE(now <= 5 || now == size);
            used -= size;
        }
    };
    const std::jthread first(take, 2), second(take, 3), third(take, 9);
    EXPECT_THROW(const auto excess = budget.reserve(std::uint64_t{1} << 60), std::runtime_error);
    EXPECT_EQ(parseByteCount("512M"), 536870912u);
    EXPECT_EQ(parseByteCount("4G"), 4294967296u);
    for (const auto* text : {"", "4", "0G", "-1G", "4T", "4GB", "99999999999G"})
        EXPECT_THROW(parseByteCount(text), UsageError) << text;
}
