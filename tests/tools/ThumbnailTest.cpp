#include "tests/tools/ProgramTest.h"

#include <cmath>

using namespace testing;

using Thumbnail = ProgramTest;

TEST_F(Thumbnail, hasAFileOfItsOwn)
{
    runWell("cp $samples/coffee.rgba-u8.zeq s.07.zeq; mkdir v1.2");
    const std::pair<std::string, std::string> cases[] = {
        {"a.png", "a.png"},  {"b.PNG", "b.PNG"},       {"c.##.png", "c.07.png"},
        {"d", "d/s.07.png"}, {"e.f/", "e.f/s.07.png"}, {"v1.2", "v1.2/s.07.png"},
    };
    for (const auto& [name, written] : cases) {
        runWell("zeq thumbnail --size 30 s.##.zeq -o " + name);
        EXPECT_EQ(output, "s.07.zeq -> " + written + "\n");
        const auto small = readPicture(written).first;
        EXPECT_THAT(std::vector({small.width, small.height, small.nchannels}),
                    ElementsAre(30, 20, 4));
    }
    runWell("zeq thumbnail -q $samples/coffee.rgb*8.zeq -o small");
    EXPECT_THAT(folder.files("small"), ElementsAre("coffee.rgb-u8.png", "coffee.rgba-u8.png"));
}

// What keeps its size has the samples that another way of writing PNG files gives, with and without
// alpha and beyond 0 to 1.
TEST_F(Thumbnail, hasTheSamplesOfItsPicture)
{
    writePicture("a.exr", {3, 1, 4, OIIO::TypeDesc::FLOAT},
                 {-1, 0.5f, 2, 0.3f, NAN, 0.25f, 0.1f, 1, 0, HUGE_VALF, 0.9f, 0});
    runWell(
        "cp $samples/coffee.rgba-u8.zeq b.zeq; cp $samples/coffee.zeq-422.zeq c.zeq;"
        "zeq thumbnail --size 4096 -q a.exr b.zeq c.zeq -o small && "
        "zeq convert --depth 8 --clip -q a.exr b.zeq c.zeq whole/ --to png");
    for (const auto& [file, channels] : {std::pair{"a", 4}, {"b", 4}, {"c", 3}}) {
        const auto [description, samples] = readPicture(std::string("small/") + file + ".png");
        EXPECT_EQ(description.nchannels, channels) << file;
        EXPECT_EQ(samples, readPicture(std::string("whole/") + file + ".png").second) << file;
    }
}

// Desktops make many, one by one: for media files, the program is enough by itself.
TEST_F(Thumbnail, ofAMediaFileDoesNotWaitForOpenImageIo)
{
    runWell("cp $samples/coffee.rgb-u8.zeq a.zeq; zeq convert -q a.zeq b.png; ln '" PROGRAM
            "' alone; ./alone thumbnail a.zeq -o small.png");
    EXPECT_EQ(run("./alone thumbnail b.png -o none.png"), 1);
    EXPECT_THAT(errors, HasSubstr("Pictures cannot be read or written"));
}

TEST_F(Thumbnail, isWrittenIntoTheFileThatAnotherProgramHasOpen)
{
    runWell(
        "cp $samples/coffee.rgb-u8.zeq a.zeq; head -c 200000 /dev/zero >in.png; cp in.png by.png; "
        "for name in in by; do ln $name.png $name.link; done; echo >bad.zeq; "
        "zeq thumbnail -q a.zeq -o by.png && exec 3<in.png && "
        "zeq thumbnail -q a.zeq -o in.png --in-place && cmp /dev/fd/3 by.png");
    EXPECT_EQ(folder.content("in.link"), folder.content("by.png"));
    EXPECT_EQ(folder.content("by.link"), std::string(200000, '\0'));

    runWell("zeq thumbnail -q a.zeq -o new.png --in-place; cmp new.png by.png");
    EXPECT_EQ(run("zeq thumbnail bad.zeq -o in.png --in-place"), 1);
    EXPECT_EQ(folder.content("in.png"), folder.content("by.png"));
    EXPECT_EQ(run("ln -s /dev/full full.png; zeq thumbnail a.zeq -o full.png --in-place"), 1);
    EXPECT_EQ(errors, "zeq: full.png: No space left on device\n");
    EXPECT_EQ(run("ulimit -f 8; zeq thumbnail a.zeq -o in.png --in-place"), 1);
    EXPECT_EQ(errors, "zeq: in.png: File too large\n");
}
