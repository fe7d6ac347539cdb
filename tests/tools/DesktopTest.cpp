#include "tests/tools/ProgramTest.h"

#include <nlohmann/json.hpp>

using namespace testing;

// What desktops and `file` are told, asked through their own programs.
struct Desktop : ProgramTest
{
    bool has(const std::string& program) { return run("command -v " + program) == 0; }

    // A file of every format as samples have it, and one with the header's extension. Some have
    // other names; one is a text with the same beginning.
    void writeFiles()
    {
        auto extended = MediaFileBytes::picture(0x1100C, 4, 2, "");
        extended.magic = "zeqZ";
        extended.headerRevision = 2;
        extended.frameWidth = 600;
        extended.frameHeight = 6;
        writeFile(folder.file("extended"), extended.bytes());
        extended.magic = "zeq ";
        extended.headerRevision = 1;
        writeFile(folder.file("small"), extended.bytes());
        runWell("cp $samples/*.zeq .; echo zeq convert is a command of the tool >text");
    }
};

TEST_F(Desktop, isToldSizeAndFormatByFile)
{
    if (!has("file"))
        GTEST_SKIP() << "there is no program file";
    writeFiles();
    const auto describe = [this](const std::string& options) {
        runWell("file -m '" PACKAGING "/zeq.magic:/usr/share/misc/magic.mgc' " + options);
        return output;
    };
    EXPECT_EQ(describe("-b extended small text"),
              "zeq media file, 4 x 2, ZEQ-4224-HYBRID, frame 600 x 6\n"
              "zeq media file, 4 x 2, ZEQ-4224-HYBRID, frame 600 x 6\n"
              "ASCII text\n");
    EXPECT_EQ(describe("-b --mime-type extended text"), "image/x-zeq\ntext/plain\n");

    runWell("zeq info --json *.zeq");
    const auto infos = nlohmann::json::parse(output);
    EXPECT_EQ(infos.size(), 13u);
    for (const auto& info : infos)
        EXPECT_EQ(describe("-b " + info["file"].get<std::string>()),
                  "zeq media file, 300 x 200, " + info["format"].get<std::string>() +
                      ", frame 300 x 200\n");
}

TEST_F(Desktop, knowsMediaFilesByTheirNamesAndBeginnings)
{
    if (!has("update-mime-database") || !has("gio"))
        GTEST_SKIP() << "there is no shared-mime-info or no gio";
    writeFiles();
    runWell("mkdir -p share/mime/packages; cp '" PACKAGING
            "/zeq.xml' share/mime/packages; "
            "update-mime-database share/mime; echo >empty.zeq; export XDG_DATA_HOME=$PWD/share; "
            "for file in extended small empty.zeq coffee.zeq-422.zeq text; do "
            "gio info -a standard::content-type $file | tail -n 1; done");
    EXPECT_EQ(output,
              "  standard::content-type: image/x-zeq\n  standard::content-type: image/x-zeq\n"
              "  standard::content-type: image/x-zeq\n  standard::content-type: image/x-zeq\n"
              "  standard::content-type: text/plain\n");
}

// The entry's own line, with what a desktop puts in, for a file that is held open.
TEST_F(Desktop, hasThumbnailsInFilesThatItHolds)
{
    runWell(
        "cp $samples/coffee.rgb-u8.zeq 'a #1.zeq'; >small.png; exec 3<small.png; "
        "eval \"$(sed -n 's/^Exec=//p' '" PACKAGING
        "/zeq.thumbnailer' | "
        "sed \"s/%s/30/; s/%o/small.png/; s/%i/'a #1.zeq'/\")\"; cat /dev/fd/3 >held.png");
    EXPECT_EQ(output + errors, "");
    EXPECT_EQ(readPicture("held.png").first.width, 30);
}
