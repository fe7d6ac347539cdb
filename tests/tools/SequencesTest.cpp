#include "tests/support/ExpectError.h"
#include "tools/Command.h"
#include "tools/FramePattern.h"
#include "tools/FrameRange.h"
#include "tools/InputFiles.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

using namespace testing;
using namespace Zeq;

TEST(FrameRange, listsEachFrameOnceAndInOrder)
{
    const std::vector<std::pair<std::string, std::vector<int>>> cases{
        {"7", {7}},
        {"1-4", {1, 2, 3, 4}},
        {"1-10x4", {1, 5, 9}},
        {"9,1-3,2", {1, 2, 3, 9}},
        {"2147483646-2147483647", {2147483646, 2147483647}},
    };
    for (const auto& [text, frames] : cases)
        EXPECT_EQ(parseFrames(text), frames) << text;
}

TEST(FrameRange, refusesWhatIsNone)
{
    for (const auto* text :
         {"", "a", "1-", "-5", "1-3x0", "5-1", "1,,2", "1-2x", "1 2", "99999999999"})
        EXPECT_THROW(parseFrames(text), UsageError) << text;
    expectError<UsageError>("--frames: more than 1000000 frames", [] { parseFrames("0-1000000"); });
}

TEST(FramePattern, namesFrames)
{
    const std::vector<std::tuple<std::string, int, std::string>> cases{
        {"a/shot.####.zeq", 7, "a/shot.0007.zeq"},         {"shot.##.zeq", 123, "shot.123.zeq"},
        {"shot.%04d.zeq", 1001, "shot.1001.zeq"},          {"shot%d.zeq", 7, "shot7.zeq"},
        {"a#b/100%/shot#.zeq", 12, "a#b/100%/shot12.zeq"},
    };
    for (const auto& [pattern, frame, name] : cases)
        EXPECT_EQ(FramePattern::parse(pattern)->fileName(frame), name);
    EXPECT_FALSE(FramePattern::parse("a#b/shot.0001.zeq"));
    EXPECT_FALSE(FramePattern::parse("100%.zeq"));
    expectError<UsageError>("s#.%04d.zeq has two places for the frame's number",
                            [] { FramePattern::parse("s#.%04d.zeq"); });
}

TEST(FramePattern, findsItsOwnFilesOnly)
{
    const auto folder = std::filesystem::path(TempDir()) / "FramePatternTest";
    std::filesystem::create_directories(folder);
    for (const auto* name : {"s.0002.zeq", "s.0010.zeq", "s.12345.zeq", "s.00003.zeq", "s.001.zeq",
                             "s.000x.zeq", "t.0001.zeq", "s.0004.png", "s.0005.zeq.bak", "s..zeq"})
        std::ofstream(folder / name) << ' ';
    EXPECT_THAT(FramePattern::parse((folder / "s.####.zeq").string())->framesOnDisk(),
                ElementsAre(2, 10, 12345));
    std::filesystem::remove_all(folder);
}

TEST(FramePattern, takesTheLastNumberOfAName)
{
    EXPECT_EQ(frameNumberIn("v2/shot3.0012.zeq"), 12);
    EXPECT_EQ(frameNumberIn("0042.png"), 42);
    EXPECT_EQ(frameNumberIn("v2/shot.zeq"), std::nullopt);
}
