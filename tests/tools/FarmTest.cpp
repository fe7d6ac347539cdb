#include "tests/tools/ProgramTest.h"

#include <nlohmann/json.hpp>

#include <csignal>
#include <filesystem>
#include <set>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

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

TEST_F(Farm, updatesWhatIsMissingOrOlderThanItsInput)
{
    writeFrames(6);
    runWell(
        "zeq convert -q s.#.zeq t.#.png; touch -d 2001-01-02 s.*.zeq t.*.png; rm t.1.png; "
        "touch -d 2001-01-01 t.2.png; touch -d 2099-01-01 t.4.png; head -c 900 t.5.png >half; "
        "cp half t.5.png; touch -d 2001-01-02 t.5.png; rm s.6.zeq");
    const Name line = "zeq convert -j1 --frames 1-6 s.#.zeq t.#.png ";
    EXPECT_EQ(run(line + "--update"), 1);
    EXPECT_EQ(output,
              "s.1.zeq -> t.1.png\ns.2.zeq -> t.2.png\n"
              "2 converted, 3 skipped, 1 failed\n");
    EXPECT_EQ(errors, "zeq: s.6.zeq: Failed to open file: No such file or directory\n");
    runWell("touch -d 2002-01-01 s.3.zeq");
    EXPECT_EQ(run(line + "--update --skip-existing"), 1);
    EXPECT_EQ(output,
              "s.3.zeq -> t.3.png\ns.5.zeq -> t.5.png\n"
              "2 converted, 3 skipped, 1 failed\n");
}

// A library that is told not to write a time is not to speak of it.
TEST_F(Farm, writesATimeWhereItIsAskedFor)
{
    runWell(
        "cp $samples/coffee.rgb-u8.zeq a.zeq; zeq convert -q a.zeq a.exr; "
        "TZ=XXX-5 zeq convert -q a.zeq b.exr --timestamp; TZ=XXX-5 date +%Y:%m:%d\\ %H:");
    EXPECT_EQ(errors, "");
    EXPECT_EQ(readPicture("a.exr").first.find_attribute("DateTime"), nullptr);
    EXPECT_THAT(readPicture("b.exr").first.get_string_attribute("DateTime"),
                StartsWith(output.substr(0, output.find('\n'))));
}

namespace {

std::vector<nlohmann::json> linesOf(const std::string& text)
{
    std::vector<nlohmann::json> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(nlohmann::json::parse(line));
    return lines;
}

}

TEST_F(Farm, reportsEachFileAsItIsDone)
{
    writeFrames(4);
    fs::resize_file(folder.file("s.2.zeq"), 1000);
    runWell("zeq convert s.3.zeq t.3.png");
    EXPECT_EQ(run("zeq convert -j1 --update --report r --frames 1-3 s.#.zeq t.#.png"), 1);
    auto lines = linesOf(folder.content("r"));
    ASSERT_THAT(lines, SizeIs(3));
    EXPECT_EQ(lines[0]["input"], "s.3.zeq");
    EXPECT_EQ(lines[0]["status"], "skipped");
    EXPECT_EQ(lines[1]["output"], "t.1.png");
    EXPECT_EQ(lines[1]["status"], "ok");
    EXPECT_EQ(lines[1]["message"], nullptr);
    EXPECT_EQ(lines[1]["bytes"], fs::file_size(folder.file("t.1.png")));
    EXPECT_GT(lines[1]["seconds"].get<double>(), 0);
    EXPECT_EQ(lines[2]["status"], "failed");
    EXPECT_EQ(lines[2]["message"], "Media file has unexpectedly reached End-Of-File");
    EXPECT_EQ(lines[2]["bytes"], nullptr);
    // What is there stays.
    EXPECT_EQ(run("zeq check -q --report r 's.1.zeq' no.zeq"), 1);
    lines = linesOf(folder.content("r"));
    ASSERT_THAT(lines, SizeIs(5));
    const auto& checked = lines[lines[3]["status"] == "ok" ? 3 : 4];
    EXPECT_EQ(checked["output"], nullptr);
    EXPECT_EQ(checked["bytes"], fs::file_size(folder.file("s.1.zeq")));
}

// Each task has several threads.
TEST_F(Farm, appendsToOneReportFromSeveralTasks)
{
    runWell(
        "for n in $(seq 400); do ln -s $samples/coffee.rgb-u8.zeq s.$n.zeq; done; "
        "for i in 1 2 3 4; do zeq check -q -j3 s.#.zeq --share $i/4 --report r & done; wait");
    std::set<std::string> inputs;
    for (const auto& line : linesOf(folder.content("r")))
        inputs.insert(line["input"]);
    EXPECT_THAT(inputs, SizeIs(400));
}

TEST_F(Farm, goesOnWithoutAReport)
{
    writeFrames(3);
    EXPECT_EQ(run("zeq convert -q --report /dev/full s.#.zeq t.#.png"), 1);
    EXPECT_EQ(errors, "zeq: /dev/full: No space left on device; lines of the report are missing\n");
    EXPECT_TRUE(folder.files().contains("t.3.png"));
    EXPECT_EQ(run("zeq check -q --report /dev/full s.#.zeq"), 1);
    // A line that is cut is not joined to the next.
    EXPECT_EQ(run("head -c 1000 /dev/zero | tr '\\0' '\\n' >r; ulimit -f 2; "
                  "zeq check -q --frames 1 --report r s.#.zeq"),
              1);
    EXPECT_EQ(errors, "zeq: r: No space left on device; lines of the report are missing\n");
    EXPECT_THAT(folder.content("r"), SizeIs(1024));
    runWell("zeq check -q --frames 2 --report r s.#.zeq; tail -n 1 r | grep s.2.zeq");
    EXPECT_NO_THROW(linesOf(output));
    EXPECT_EQ(run("zeq convert --report no/r s.1.zeq u.png"), 1);
    EXPECT_EQ(errors, "zeq: no/r: No such file or directory\n");
    EXPECT_EQ(run("zeq convert --report s.1.zeq s.2.zeq u.png"), 2);
    EXPECT_EQ(errors, "zeq: --report: s.1.zeq has the name of a picture\n");
    EXPECT_FALSE(folder.files().contains("u.png"));
}

TEST_F(Farm, knowsWhatWasDoneWhenATaskIsKilledAndDoesTheRest)
{
    writeFrames(60);
    EXPECT_EQ(run("'" PROGRAM "' convert -qj2 --report r s.#.zeq t.#.png & until [ -e t.3.png ]; "
                  "do kill -0 $! || exit; done; kill -9 $!; wait $!"),
              128 + SIGKILL);
    for (const auto& line : linesOf(folder.content("r")))
        EXPECT_TRUE(folder.files().contains(line["output"])) << line;
    runWell("zeq convert -q --update --report r s.#.zeq t.#.png");
    EXPECT_THAT(folder.files(), SizeIs(121)) << "Something is left behind";
    std::set<std::string> outputs;
    for (const auto& line : linesOf(folder.content("r")))
        outputs.insert(line["output"]);
    EXPECT_THAT(outputs, SizeIs(60));
}

TEST_F(Farm, knowsFramesBeforeTheFirst)
{
    runWell(
        "for n in -012 -001 0000 0005; do cp $samples/coffee.rgb-u8.zeq s.$n.zeq; done; "
        "zeq convert -q s.####.zeq t.##.png; zeq convert -q --frames -12-10:11 s.####.zeq o/ "
        "--to png; zeq convert -q s.-0*.zeq u.#.png");
    EXPECT_THAT(folder.files("o"), ElementsAre("s.-001.png", "s.-012.png"));
    EXPECT_THAT(folder.files(), IsSupersetOf({"t.-12.png", "t.-1.png", "t.00.png", "t.05.png",
                                              "u.-12.png", "u.-1.png"}));
    EXPECT_EQ(run("zeq check --complete s.####.zeq"), 1);
    EXPECT_EQ(errors,
              "zeq: s.-011.zeq to s.-002.zeq: 10 frames are missing\n"
              "zeq: s.0001.zeq to s.0004.zeq: 4 frames are missing\n");
}
