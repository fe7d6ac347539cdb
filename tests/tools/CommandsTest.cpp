#include "tests/tools/ToolTest.h"
#include "tools/Command.h"

#include <nlohmann/json.hpp>

using namespace testing;

namespace {

class Commands : public ToolTest
{
};

// As the text form of a list of lines.
std::vector<std::string> lines(const std::string& text)
{
    std::vector<std::string> all;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        all.push_back(line);
    return all;
}

}

TEST_F(Commands, showWhatAFileSaysOfItself)
{
    auto file = MediaFileBytes::picture(0x1100C, 4, 2, std::string(30, 'x'));
    file.magic = "zeqZ";
    file.headerRevision = 2;
    file.frameWidth = 6;
    write("a.zeq", file);
    file.mediaFormatCode = 0x201;
    write("b\xff.zeq", file);

    EXPECT_EQ(run("zeq info a.zeq"), 0) << errors;
    EXPECT_EQ(output,
              "file: a.zeq\nformat: ZEQ-4224-HYBRID\nformatCode: 0x1100c\nwidth: 4\nheight: 2\n"
              "frameWidth: 6\nframeHeight: 2\nmagic: zeqZ\nheaderRevision: 2\nheaderByte0: 1\n"
              "headerByte1: 0\nheaderByte3: 7\nframeField1: 1\nheaderSize: 48\ndataExpected: 48\n"
              "dataPresent: 30\n");

    EXPECT_EQ(run("zeq info --json a.zeq missing.zeq b*.zeq"), 1);
    EXPECT_EQ(errors, "zeq: missing.zeq: Failed to open file\n");
    const auto facts = nlohmann::json::parse(output);
    ASSERT_EQ(facts.size(), 2u);
    EXPECT_EQ(facts[0]["dataExpected"], 48);
    EXPECT_EQ(facts[1]["file"], "b\uFFFD.zeq");
    EXPECT_TRUE(facts[1]["format"].is_null());
}

TEST_F(Commands, checkFilesAndNameTheBadOnes)
{
    std::filesystem::create_directories(path("d/e"));
    std::filesystem::copy(SAMPLES "/coffee.zeq-422.zeq", path("d/e/good.zeq"));
    write("d/short.zeq", MediaFileBytes::picture(0x200, 2, 2, "11 bytes..."));
    write("d/unknown.zeq", MediaFileBytes::picture(0x201, 2, 2, ""));
    EXPECT_EQ(run("zeq check d"), 1);
    EXPECT_EQ(output, "3 files checked, 2 bad\n");
    EXPECT_THAT(lines(errors),
                UnorderedElementsAre(
                    "zeq: d/short.zeq: Media file has unexpectedly reached End-Of-File",
                    "zeq: d/unknown.zeq: Frame reading is not supported for media header format "
                    "0x0201"));
    EXPECT_EQ(run("zeq check '" SAMPLES "'"), 0);
    EXPECT_EQ(output, "13 files checked, 0 bad\n");
    std::filesystem::create_directory(path("empty"));
    EXPECT_EQ(run("zeq check empty"), 1);
    EXPECT_EQ(errors, "zeq: empty: no media files found\n");
}

TEST_F(Commands, makeSheetsAndThumbnails)
{
    EXPECT_EQ(run("zeq sheet '" SAMPLES "'/*.zeq -o sheet.png"), 0) << errors;
    EXPECT_GT(readPicture("sheet.png").description.width, 1000);

    EXPECT_EQ(run("zeq thumbnail --size 30 -o small '" SAMPLES "'/coffee.rgb*.zeq missing.zeq"), 1);
    EXPECT_EQ(errors, "zeq: missing.zeq: Failed to open file\n");
    EXPECT_THAT(files("small"),
                ElementsAre("coffee.rgb-dpx-filled.png", "coffee.rgb-smpte-2110.png",
                            "coffee.rgb-u8.png", "coffee.rgba-u8.png"));
    const auto small = readPicture("small/coffee.rgba-u8.png").description;
    EXPECT_THAT(std::vector({small.width, small.height, small.nchannels}), ElementsAre(30, 20, 4));
}

// A red pixel beside a transparent green one is a red, half transparent thumbnail.
TEST_F(Commands, makeThumbnailsWithoutTheColoursOfWhatIsTransparent)
{
    write("a.zeq", MediaFileBytes::picture(0x204, 2, 1, std::string("\xFF\0\0\xFF\0\xFF\0\0", 8)));
    EXPECT_EQ(run("zeq thumbnail --size 1 -o . a.zeq"), 0) << errors;
    EXPECT_THAT(readPicture("a.png").samples, Pointwise(FloatNear(0.003f), {1.f, 0.f, 0.f, 0.5f}));
}

TEST_F(Commands, lookAfterTheInstallation)
{
    EXPECT_EQ(run("zeq doctor --plugin missing.so"), 1);
    EXPECT_THAT(lines(output),
                AllOf(Contains(StartsWith("zeq: ")), Contains(StartsWith("OpenCV: ")),
                      Contains(StartsWith("OpenImageIO: 2.")),
                      Contains("plug-in loads: no; no such file")));
    std::ofstream(path("broken.so")) << "nothing";
    EXPECT_EQ(run("zeq doctor --plugin broken.so"), 1);
    EXPECT_THAT(output, HasSubstr("broken.so: file too short"));
#ifdef PLUG_IN
    EXPECT_EQ(run("zeq doctor"), 0) << output;
    EXPECT_THAT(output, AllOf(HasSubstr("plug-in: " PLUG_IN "\n"), HasSubstr("loads: yes\n")));
#endif
}

// Every option of every sub-command is in its help, in the manual page and in the completion.
TEST_F(Commands, areDocumentedCompletely)
{
    const auto read = [](const std::string& file) {
        std::ostringstream text;
        text << std::ifstream(file).rdbuf();
        return text.str();
    };
    auto manual = read(BUILT_TEXTS "/zeq.1");
    std::erase(manual, '\\');
    const auto completion = read(BUILT_TEXTS "/zeq.bash");
    ASSERT_EQ(run("zeq --help"), 0);
    const auto overview = output;
    for (const auto& entry : Zeq::commands()) {
        EXPECT_EQ(run("zeq " + entry.name + " --help"), 0);
        if (entry.isHidden)
            continue;
        EXPECT_THAT(overview, HasSubstr("  " + entry.name + " "));
        EXPECT_THAT(manual, HasSubstr("\n.SS zeq " + entry.name));
        for (const auto& argument : entry.create().arguments) {
            const auto name = argument.names.substr(argument.names.rfind(',') + 1);
            EXPECT_THAT(output, HasSubstr(name)) << entry.name;
            EXPECT_THAT(manual, HasSubstr(name)) << entry.name;
            if (!argument.isPositional()) {
                EXPECT_THAT(completion, HasSubstr(name)) << entry.name;
            }
        }
    }
    EXPECT_EQ(run("bash -c '. \"" BUILT_TEXTS "/zeq.bash\"; COMP_WORDS=(zeq convert --format R); "
                  "COMP_CWORD=3; _zeq; echo ${COMPREPLY[@]}'"),
              0);
    EXPECT_EQ(output, "RGB-U8 RGBA-U8 RGB-DPX-FILLED RGB-SMPTE-2110\n");
}

TEST_F(Commands, tellUsageErrorsFromFailures)
{
    write("a.zeq", MediaFileBytes::picture(0x200, 1, 1, "rgb"));
    const std::vector<std::tuple<std::string, int, std::string>> cases{
        {"", 2, "a command is required; see zeq --help"},
        {"frobnicate", 2, "unknown command frobnicate; see zeq --help"},
        {"info", 2, "FILE is required"},
        {"convert a.zeq", 2, "OUTPUT is required"},
        {"convert a.zeq b.png --format RGB", 2, "--format: unknown FORMAT RGB; see --help"},
        {"convert a.zeq b.png --format rgb-u8", 2,
         "--format is for media files, which end in .zeq"},
        {"convert a.zeq b.zeq --depth 8", 2,
         "--depth is for other pictures; a media file's depth is that of its --format"},
        {"convert a.zeq b.xyz", 2, "b.xyz: files of this kind are not written; see --help"},
        {"convert a.zeq .", 2, "--to is needed for an OUTPUT that is a folder"},
        {"convert a.zeq b.png --jobs 0", 2, "--jobs: 0 is no number from 1 to 1024"},
        {"convert a.zeq b.png --memory 1", 2, "--memory: 1 is no amount like 512M or 4G"},
        {"convert a.zeq b.png --frames 1", 2,
         "--frames: a.zeq has no place for the frame's number"},
        {"convert s.####.zeq b.####.png", 1, "s.####.zeq: no frames found"},
        {"convert s.#.zeq --frames 1-9 b.#.png", 1, "s.#.zeq: no frames found"},
        {"convert a.zeq nowhere/b.png", 2, "there is no folder nowhere"},
        {"thumbnail a.zeq -o . --size 1x", 2, "--size: 1x is no number from 1 to 4096"},
    };
    for (const auto& [arguments, status, text] : cases) {
        EXPECT_EQ(run("zeq " + arguments), status) << arguments;
        EXPECT_EQ(errors, "zeq: " + text + "\n") << arguments;
    }
    EXPECT_THAT(files(), ElementsAre("a.zeq"));
    EXPECT_EQ(run("zeq --version"), 0);
    EXPECT_THAT(output, MatchesRegex("zeq [0-9.]+ Beta\n"));
}
