#include "tests/tools/ProgramTest.h"

#include <nlohmann/json.hpp>

#include <tuple>

using namespace testing;
using Name = std::string;

// What the names on a command line stand for.
struct Names : ProgramTest
{
    void SetUp() override
    {
        runWell(
            "mkdir -p d/a d/b d/.hidden; cp $samples/coffee.rgb-u8.zeq d/a/s.1.zeq; "
            "cp $samples/coffee.zeq-422.zeq d/b/s.1.zeq; zeq convert -q d/a/s.1.zeq d/p.png; "
            "cp d/a/s.1.zeq d/.hidden/; cp d/a/s.1.zeq d/._s.zeq; echo >d/notes.txt; "
            "ln -s ../a d/b/link");
    }
};

TEST_F(Names, ofFoldersAreTheirFilesEachInItsPlace)
{
    runWell("zeq convert -j1 d o --to png 2>&1 || zeq convert -j1 d o/ --to tif");
    EXPECT_EQ(output,
              "zeq: o has no ending; for a folder write o/ and --to png\n"
              "d/a/s.1.zeq -> o/a/s.1.tif\nd/b/s.1.zeq -> o/b/s.1.tif\nd/p.png -> o/p.tif\n"
              "3 converted, 0 skipped, 0 failed\n");
    EXPECT_THAT(folder.files("o/b"), ElementsAre("s.1.tif"));
    // What a run leaves in a folder inside is no input of the next one.
    for (int time = 0; time < 2; ++time)
        runWell("cd d && zeq convert . out/ --to exr --skip-existing && zeq thumbnail . -o out");
    runWell("cd d && find out -type f | sort");
    EXPECT_EQ(output,
              "out/a/s.1.exr\nout/a/s.1.png\nout/b/s.1.exr\nout/b/s.1.png\nout/p.exr\n"
              "out/p.png\n");
    runWell("rm -r d/out; zeq info --brief d; zeq sheet d -o s.png; zeq check d/");
    EXPECT_EQ(output,
              "d/a/s.1.zeq  RGB-U8           300x200      complete\n"
              "d/b/s.1.zeq  ZEQ-422          300x200      complete\n"
              "s.png: 3 files\n2 files checked, 0 bad\n");
    EXPECT_EQ(run("zeq convert d/a d/b q/ --to png; zeq cat d; zeq compare d d/p.png; "
                  "zeq sheet d/.hidden/none -o s.png; zeq check --frames 1 d"),
              2);
    EXPECT_EQ(errors,
              "zeq: d/a/s.1.zeq and d/b/s.1.zeq would both become q/s.1.png\n"
              "zeq: d: it is a folder\nzeq: d: it is a folder\n"
              "zeq: d/.hidden/none: No such file or directory\n"
              "zeq: --frames: d has no place for the frame's number\n");
}

TEST_F(Names, ofSequencesAreWrittenAsOtherProgramsDo)
{
    runWell("for n in 0008 0009 0010 0012; do cp d/a/s.1.zeq t.$n.zeq; done; cp t.0008.zeq u9.zeq");
    for (const Name pattern : {"t.####.zeq", "t.@@@@.zeq", "t.%04d.zeq", "'t.$F4.zeq'"}) {
        runWell("zeq check " + pattern);
        EXPECT_EQ(output, "4 files checked, 0 bad, 1 missing\n") << pattern;
    }
    for (const Name pattern : {"u#.zeq", "u@.zeq", "u%d.zeq", "'u$F.zeq'"}) {
        runWell("zeq check " + pattern);
        EXPECT_EQ(output, "1 file checked, 0 bad\n") << pattern;
    }
    runWell(
        "zeq convert -q t.@@@@.zeq v.%d.png; cp u9.zeq w@.zeq; zeq info --brief w@.zeq; "
        "zeq convert u9.zeq me@home.png && ls v* me*");
    EXPECT_THAT(output,
                EndsWith("me@home.png\nme@home.png\nv.10.png\nv.12.png\nv.8.png\nv.9.png\n"));
    EXPECT_THAT(output, StartsWith("w@.zeq"));
}

TEST_F(Names, ofStandardStreamsAreAHyphen)
{
    runWell("zeq info - <d/a/s.1.zeq; zeq check - <d/a/s.1.zeq");
    EXPECT_THAT(output,
                AllOf(StartsWith("file: -\nformat: RGB-U8\n"), HasSubstr("\ndataPresent: 180000\n"),
                      EndsWith("1 file checked, 0 bad\n")));
    runWell("cat d/p.png | zeq convert - - --to exr | zeq convert - - -f rgb-u8 >back.zeq");
    EXPECT_EQ(output + errors, "");
    EXPECT_TRUE(frameData("back.zeq") == frameData("d/a/s.1.zeq"));
    runWell("cp d/p.png ./-; zeq compare ./- - <d/p.png; zeq thumbnail ./- -o . --size 30; ls");
    EXPECT_THAT(output, AllOf(HasSubstr("equal\n"), HasSubstr("./- -> ./-.png\n")));
    EXPECT_EQ(run("zeq convert d/p.png - --to png >/dev/full; zeq convert d/p.png - -f RGB-U8 "
                  ">/dev/full; head -c 99 d/p.png | zeq convert - o.png"),
              1);
    EXPECT_EQ(errors,
              "zeq: standard output: No space left on device\n"
              "zeq: standard output: Failed to write file: No space left on device\n"
              "zeq: -: it is damaged, or its end is missing\n");
    if (run("script -qec true /dev/null </dev/null") == 0) {
        EXPECT_NE(
            run("script -qec \"'" PROGRAM "' convert d/p.png - --to png\" /dev/null </dev/null"),
            0);
        EXPECT_THAT(output, HasSubstr("pictures are not written to a terminal"));
    }
}

TEST_F(Names, mayBeginWithAHyphenBehindTwo)
{
    runWell(
        "cp d/a/s.1.zeq ./-odd.zeq; zeq convert -- -odd.zeq a.png; zeq -- info -odd.zeq; "
        "zeq info d/p.png -- -odd.zeq 2>&1; zeq convert --to png -q -- d/a/s.1.zeq -odd.zeq -o/");
    EXPECT_THAT(folder.files("-o"), ElementsAre("-odd.png", "s.1.png"));
    EXPECT_THAT(output, HasSubstr("file: ./-odd.zeq\n"));
}

// For each file, and nothing else on the output.
TEST_F(Names, standInReportsForScripts)
{
    runWell("cp d/p.png fake.zeq; cp d/a/s.1.zeq q.zeq");
    EXPECT_EQ(run("zeq check --json d gone.zeq fake.zeq 2>/dev/null"), 1);
    const auto checked = nlohmann::json::parse(output);
    EXPECT_EQ(checked["ok"].get<int>() + 10 * checked["failed"].get<int>(), 22);
    EXPECT_EQ(
        checked["files"][1],
        nlohmann::json::parse(R"({"input": "d/b/s.1.zeq", "status": "ok", "message": null})"));
    EXPECT_EQ(checked["files"][3]["message"], "Media file is corrupt: it is a PNG file");
    EXPECT_EQ(run("zeq convert --json fake.zeq q.zeq r.#.zeq o/ --to jpg --exposure 3"), 1);
    const auto converted = nlohmann::json::parse(output);
    EXPECT_EQ(converted["files"][1]["output"], "o/q.jpg");
    EXPECT_THAT(converted["files"][1]["message"].get<Name>(), HasSubstr("cut off at 0 and 1"));
    EXPECT_EQ(converted["files"][2], nlohmann::json::parse(R"({"input": "r.#.zeq", "output": null,
        "status": "failed", "message": "no frames found"})"));
    EXPECT_THAT(errors, HasSubstr("zeq: r.#.zeq: no frames found\n"));
}
