#include "tests/tools/ProgramTest.h"

#include <filesystem>
#include <tuple>

using namespace testing;

namespace fs = std::filesystem;
using Name = std::string;

// What tasks of a scheduler rely on, which work on one list side by side and one after the other.
struct Farm : ProgramTest
{
    void writeFrames(int count)
    {
        runWell("for n in $(seq " + std::to_string(count) +
                "); do cp $samples/coffee.rgb-u8.zeq s.$n.zeq; done");
    }
};

TEST_F(Farm, sharesTheListWhateverIsDone)
{
    writeFrames(7);
    fs::remove(folder.file("s.6.zeq"));
    const std::tuple<Name, int, Name, Name> cases[] = {
        // clang-format off
        // share  status output                                                                    errors
        {"1/3",   0, "s.1.zeq -> o/s.1.png\ns.4.zeq -> o/s.4.png\n2 converted, 0 skipped, 0 failed, 1 missing\n", "zeq: s.6.zeq: is missing\n"},
        {"2/3",   0, "s.2.zeq -> o/s.2.png\ns.5.zeq -> o/s.5.png\n2 converted, 0 skipped, 0 failed\n", ""},
        {"2/3",   0, "s.2.zeq -> o/s.2.png\ns.5.zeq -> o/s.5.png\n2 converted, 0 skipped, 0 failed\n", ""},
        {"3/3",   0, "s.3.zeq -> o/s.3.png\ns.7.zeq -> o/s.7.png\n2 converted, 0 skipped, 0 failed\n", ""},
        {"7/7 --complete", 0, "0 converted, 0 skipped, 0 failed\n", ""},
        {"1/7 --complete", 1, "s.1.zeq -> o/s.1.png\n", "zeq: s.6.zeq: is missing\n"},
        // clang-format on
    };
    for (const auto& [share, status, lines, text] : cases) {
        EXPECT_EQ(run("zeq convert -j1 --to png s.#.zeq o/ --share " + share), status) << share;
        EXPECT_EQ(output, lines) << share;
        EXPECT_EQ(errors, text) << share;
    }
    EXPECT_THAT(folder.files("o"), SizeIs(6));
    EXPECT_EQ(run("zeq check --frames 1-7 s.#.zeq --share 2/2"), 1) << "It has frame 6";
    EXPECT_THAT(output, "3 files checked, 1 bad\n");
    runWell("zeq check --frames 1-7 s.#.zeq --share 1/2");
    EXPECT_THAT(output, "4 files checked, 0 bad\n");
}

TEST_F(Farm, takesNoShareThatIsNone)
{
    writeFrames(1);
    for (const Name share : {"0/5", "6/5", "1/0", "x/y", "1/", "/2", "1", "1/2/3", "-1/2", "1/2 ",
                             "1/99999999999999999999"}) {
        EXPECT_EQ(run("zeq convert s.1.zeq s.1.png --share '" + share + "'"), 2) << share;
        EXPECT_EQ(errors, "zeq: --share: " + share + " is no share like 2/10, the second of 10\n");
    }
    EXPECT_THAT(folder.files(), ElementsAre("s.1.zeq"));
}
