#include "tests/MediaFile/TemporaryFolder.h"
#include "tools/Commands.h"
#include "tools/InputFiles.h"
#include "tools/Report.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <atomic>
#include <latch>
#include <thread>
#include <tuple>

using namespace testing;
using namespace Zeq;

TEST(FrameRange, listsEachFrameOnceAndInOrder)
{
    EXPECT_THAT(parseFrames("9,1-3,2"), ElementsAre(1, 2, 3, 9));
    EXPECT_THAT(parseFrames("1-10x4"), ElementsAre(1, 5, 9));
    EXPECT_THAT(parseFrames("2147483646-2147483647"), ElementsAre(2147483646, 2147483647));
    EXPECT_THAT(parseFrames("1-10:5,3-4:1"), ElementsAre(1, 3, 4, 6));
    EXPECT_THAT(parseFrames("-5--3,-10-10x10,0"), ElementsAre(-10, -5, -4, -3, 0, 10));
    EXPECT_THAT(parseFrames("-2147483648-2147483647:2147483647"), SizeIs(3));
    for (const auto* text : {"", "a", "1-", "-", "--5", "5--5", "-3--5", "1-3x0", "1-3:-1",
                             "1-3x2:2", "5-1", "1,,2", "1 2", "99999999999"})
        EXPECT_THROW(parseFrames(text), UsageError) << text;
    EXPECT_THAT(parseFrames("2-1999999x2,1"), SizeIs(1'000'000));
    EXPECT_THROW(parseFrames("2-2000000x2,1"), UsageError);
}

TEST(CommandLine, takesDecimalNumbersAndAmountsOfMemoryOnly)
{
    static JobSettings settings;
    const auto parse = [](std::string option, std::string value) {
        const auto create = [] { return Command{"", withJobArguments({}, settings), {}}; };
        std::string program, command = "numbers";
        char* words[] = {program.data(), command.data(), option.data(), value.data()};
        parseCommandLine({CommandEntry{command, "", create}}, 4, words);
    };
    parse("--memory", "2G");
    EXPECT_EQ(settings.memory, 2147483648u);
    parse("--memory", "010M");
    EXPECT_EQ(settings.memory, 10485760u);
    parse("-j", "010");
    EXPECT_EQ(settings.jobs, 10);
    for (const auto* text :
         {"", "4", "0G", "-1G", "4T", "4g", "4GB", "4 G", "0x4G", "99999999999G"})
        EXPECT_THROW(parse("--memory", text), UsageError) << text;
    for (const auto* text : {"", "0", "-1", "+1", "1x", "0x1", "1 ", "1025", "99999999999"})
        EXPECT_THROW(parse("-j", text), UsageError) << text;
}

TEST(FramePattern, namesFramesAndFindsItsOwnFilesOnly)
{
    const std::tuple<const char*, int, const char*> cases[] = {
        {"a/shot.####.zeq", 7, "a/shot.0007.zeq"},
        {"shot.%04d.zeq", 12345, "shot.12345.zeq"},
        {"shot%d.zeq", 7, "shot7.zeq"},
        {"shot.%04d.zeq", -5, "shot.-005.zeq"},
        {"####.zeq", -12345, "-12345.zeq"},
        {"shot_#.zeq", -5, "shot_-5.zeq"},
        {"a#b/100%/shot#.zeq", 12, "a#b/100%/shot12.zeq"},
    };
    for (const auto& [pattern, frame, name] : cases) {
        EXPECT_EQ(FramePattern::parse(pattern)->fileName(frame), name);
        EXPECT_FALSE(FramePattern::parse(name)) << name;
        EXPECT_EQ(frameNumberIn(std::string("v2/s3.") + name), frame);
    }
    EXPECT_EQ(frameNumberIn("v2/shot.zeq"), std::nullopt);
    EXPECT_EQ(frameNumberIn("a.-2/shot-0005.zeq"), 5) << "It is a hyphen";
    const MediaConversion::MediaFileTests::TemporaryFolder folder;
    for (const auto* name :
         {"s.0010.zeq", "s.0002.zeq", "s.12345.zeq", "s.00003.zeq", "s.001.zeq", "s.000x.zeq",
          "t.0001.zeq", "s.0004.png", "s.0005.zeq.bak", "s..zeq", "s.-003.zeq", "s.-0004.zeq",
          "s.-05.zeq", "s.-000.zeq", "s.--06.zeq", "s-007.zeq", "s.+008.zeq"})
        std::ofstream(folder.file(name)) << ' ';
    EXPECT_THAT(FramePattern::parse(folder.file("s.####.zeq"))->framesOnDisk(),
                ElementsAre(-3, 2, 10, 12345));
    EXPECT_THAT(FramePattern::parse(folder.file("s####.zeq"))->framesOnDisk(), IsEmpty());
}

// None of them releases anything before all have theirs. In some of the rounds they wait already
// when there is room.
TEST(MemoryBudget, wakesAllThatHaveRoom)
{
    constexpr int waiters = 4;
    ::alarm(60);  // ends a test that waits for one who was not woken
    for (int round = 0; round < 200; ++round) {
        MemoryBudget budget(waiters);
        std::latch started(waiters), reserved(waiters);
        std::vector<std::jthread> threads;
        auto whole = std::make_unique<MemoryBudget::Reservation>(budget, waiters);
        for (int number = 0; number < waiters; ++number)
            threads.emplace_back([&] {
                started.count_down();
                const auto reservation = budget.reserve(1);
                reserved.arrive_and_wait();
            });
        started.wait();
        std::this_thread::yield();
        whole.reset();
    }
    ::alarm(0);
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
}
