#include "tests/tools/ProgramTest.h"
#include "tools/Commands.h"

#include <nlohmann/json.hpp>

#include <cmath>
#include <tuple>

using namespace testing;

using Commands = ProgramTest;

TEST_F(Commands, showWhatAFileSaysOfItself)
{
    auto file = MediaFileBytes::picture(0x1100C, 4, 2, std::string(30, 'x'));
    file.magic = "zeqZ";
    file.headerRevision = 2;
    file.frameWidth = 6;
    writeFile(folder.file("a.zeq"), file.bytes());
    file.mediaFormatCode = 0x201;
    writeFile(folder.file("b\xff.zeq"), file.bytes());
    runWell("zeq info a.zeq");
    EXPECT_EQ(output,
              "file: a.zeq\nformat: ZEQ-4224-HYBRID\nformatCode: 0x1100c\nwidth: 4\nheight: 2\n"
              "frameWidth: 6\nframeHeight: 2\nmagic: zeqZ\nheaderRevision: 2\nheaderByte0: 1\n"
              "headerByte1: 0\nheaderByte3: 7\nframeField1: 1\nheaderSize: 48\ndataExpected: 48\n"
              "dataPresent: 30\n");
    runWell("zeq info --json a.zeq b*.zeq");
    const auto facts = nlohmann::json::parse(output);
    ASSERT_EQ(facts.size(), 2u);
    EXPECT_EQ(facts[0]["dataExpected"], 48);
    EXPECT_EQ(facts[1]["file"], "b\uFFFD.zeq");
    EXPECT_TRUE(facts[1]["format"].is_null());
}

TEST_F(Commands, failWhenTheirOutputCannotBeWritten)
{
    for (const std::string arguments :
         {"info $samples/coffee.rgb-u8.zeq", "--help", "--version", "check $samples", "man"})
        for (const auto* const target : {" >&-", " >/dev/full"}) {
            EXPECT_EQ(run("zeq " + arguments + target), 1) << arguments << target;
            EXPECT_EQ(errors, "zeq: The output could not be written\n") << arguments << target;
        }
}

TEST_F(Commands, lookAfterTheInstallation)
{
    EXPECT_EQ(
        run("echo >broken.so; zeq doctor --plugin missing.so || zeq doctor --plugin broken.so"), 1);
    EXPECT_THAT(output, ContainsRegex("zeq: .*\nprogram: .*\nOpenCV: .*\nOpenImageIO: 2\\..*\n"
                                      "plug-in: missing.so\nplug-in loads: no; no such file\n"));
    EXPECT_THAT(output, HasSubstr("broken.so: file too short"));
    EXPECT_EQ(run("zeq doctor --plugin '" CRASHING_PLUG_IN "'"), 1);
    EXPECT_THAT(output, HasSubstr("loads: no; it crashes while it is loaded, by signal 6\n"));
#ifdef PLUG_IN
    runWell("zeq doctor");
    EXPECT_THAT(output, AllOf(HasSubstr("plug-in: " PLUG_IN "\n"), HasSubstr("loads: yes\n")));
#endif
#if defined(PLUG_IN) && defined(DO_PLUG_INS_STAND_ALONE)
    // Outside of the build tree the host's library is not there, which is no fault; others are.
    runWell("mkdir a; cp " PLUG_IN " a/b.so; zeq doctor --plugin a/b.so");
    EXPECT_THAT(output, HasSubstr("loads: yes, in the host, which brings libDDImage.so\nhost: "));
    EXPECT_EQ(run("sed s/opencv_core/opencv_cord/ a/b.so >a/c.so; zeq doctor --plugin a/c.so"), 1);
    EXPECT_THAT(output, ContainsRegex("loads: no; libopencv_cord[^ ]* => not found\nOpen"));
    EXPECT_EQ(run("sed s/parallel_for/parallel_not/ a/b.so >a/c.so; zeq doctor --plugin a/c.so"),
              1);
    EXPECT_THAT(output, ContainsRegex("loads: no; undefined symbol: [^ ]*parallel_not_"));
#endif
#ifdef IMAGE_IO_PLUG_IN
    run("zeq doctor");
    EXPECT_THAT(output, ContainsRegex("OpenImageIO plug-in: " IMAGE_IO_PLUG_IN
                                      "\nOpenImageIO plug-in loads: yes\n"
                                      "OpenImageIO programs: set OIIO_LIBRARY_PATH, or "
                                      "OPENIMAGEIO_PLUGIN_PATH from .* to .*/oiio; "));
#endif
}

// Every option of every sub-command is in its help, in the manual page and in the completion.
TEST_F(Commands, areDocumentedCompletely)
{
    auto manual = folder.content(BUILT_TEXTS "/zeq.1");
    std::erase(manual, '\\');
    const auto completion = folder.content(BUILT_TEXTS "/zeq.bash");
    runWell("zeq --version; zeq --help");
    const auto overview = output;
    EXPECT_THAT(overview, ContainsRegex("^zeq [0-9.]+ Beta\n"));
    for (const auto& entry : Zeq::commands()) {
        runWell("zeq " + entry.name + " --help");
        if (entry.isHidden)
            continue;
        EXPECT_THAT(overview, HasSubstr("  " + entry.name + " "));
        EXPECT_THAT(manual, HasSubstr("\n.SS zeq " + entry.name));
        for (const auto& argument : entry.create().arguments) {
            const auto name = argument.names.substr(argument.names.rfind(',') + 1);
            for (const auto& text : {output, manual, argument.isPositional() ? name : completion})
                EXPECT_THAT(text, HasSubstr(name)) << entry.name;
        }
    }
}

// Names are left to the shell, which knows how to quote them.
TEST_F(Commands, areCompleted)
{
    const std::pair<const char*, const char*> cases[] = {
        // clang-format off
        {R"(zeq convert -f "")",       "YUYV-422 ZEQ-420 RGB-U8 BGR-U8 RGBA-U8 BGRA-U8 ZEQ-422 RGB-DPX-FILLED "
                                       "BGR-DPX-FILLED RGB-SMPTE-2110 BGR-SMPTE-2110 ZEQ-4224-HYBRID YCoCg-DXT5"},
        {"zeq convert --format rgb-d", "rgb-dpx-filled"},
        {"zeq convert --format RGB-S", "RGB-SMPTE-2110"},
        {R"(zeq convert --to = "")",   "zeq png exr tif tiff dpx jpg jpeg tga bmp"},
        {"zeq convert --to = ti",      "tif tiff"},
        {"zeq check --js",             "--json"},
        {"zeq co",                     "convert compare"},
        {"zeq info a",                 ""},
        {"zeq sheet -o a",             ""},
        {"zeq info -- --js",           ""},
        // clang-format on
    };
    for (const auto& [words, replies] : cases) {
        runWell("bash -c '. \"" BUILT_TEXTS "/zeq.bash\"; COMP_WORDS=(" + std::string(words) +
                "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _zeq; echo ${COMPREPLY[@]}'");
        EXPECT_EQ(output, std::string(replies) + "\n") << words;
    }
    runWell("bash -c '. \"" BUILT_TEXTS "/zeq.bash\"; complete -p zeq'");
    EXPECT_THAT(output, HasSubstr("-o default"));
}

TEST_F(Commands, refuseInOneLine)
{
    using OIIO::TypeDesc;
    auto file = MediaFileBytes::picture(0x200, 1, 1, "rgb");
    writeFile(folder.file("a.zeq"), file.bytes());
    file.width = 3;
    file.height = 0;
    writeFile(folder.file("flat.zeq"), file.bytes());
    writePicture("odd.dpx", {3, 1, 4, TypeDesc::UINT16}, std::vector<float>(12));
    for (const auto* const name : {"e_00000011.png", "e_000002.zeq.bak", "x_9.png", "x_10.png"})
        writeFile(folder.file(name), "?");
    writePicture("odd.png", {3, 2, 3, TypeDesc::UINT8}, std::vector<float>(18));
    writePicture("wide.tif", {65536, 1, 1, TypeDesc::UINT8}, std::vector<float>(65536));
    writePicture("f.exr", {2, 1, 3, TypeDesc::FLOAT}, std::vector<float>(6));
    OIIO::ImageSpec motion(1, 1, 2, TypeDesc::FLOAT);
    motion.channelnames = {"u", "v"};
    writePicture("motion.exr", motion, {0, 0});
    runWell("mkdir empty; mkfifo p.png; cp $samples/*.zeq .");
    const auto filesBefore = folder.files();
    const std::tuple<const char*, int, const char*> cases[] = {
        // clang-format off
        {"",                                           2, "a command is required; see zeq --help"},
        {"frobnicate",                                 2, "unknown command frobnicate; see zeq --help"},
        {"thumbnail flat.zeq -o .",                    1, "flat.zeq: is a picture of 3 x 0 pixels: nothing can be shown"},
        {"thumbnail a.zeq -o a.zeq/b",                 1, "a.zeq/b/: Not a directory"},
        {"thumbnail a.zeq -o ''",                      2, "--output: a file or a folder is required"},
        {"thumbnail a.zeq -o b.jpg",                   2, "b.jpg: thumbnails are PNG files; for a folder write b.jpg/"},
        {"thumbnail a.zeq flat.zeq -o b.png",          2, "a.zeq and flat.zeq would both become b.png"},
        {"thumbnail a.zeq -o nowhere/b.png",           2, "there is no folder nowhere"},
        {"check empty",                                1, "empty: no media files found"},
        {"thumbnail a.zeq -o . --size 1x",             2, "--size: 1x is no number from 1 to 4096"},
        {"sheet a.zeq -o p.png",                       1, "p.png: Not a regular file"},
        {"sheet a.zeq -o nowhere/b.png",               2, "there is no folder nowhere"},
        {"sheet a.zeq -o b.xyz",                       2, "b.xyz: files of this kind are not written"},
        {"sheet a.zeq -o b.png --columns 169",         2, "--columns: at most 168 views of 360 pixels fit on a page"},
        {"sheet a.zeq -o b.png --rows 16 --size 4096", 2, "--rows: at most 15 views of 4096 pixels fit on a page"},
        {"sheet a.zeq a.zeq odd.png -o odd.#.png --exposure x", 2, "--exposure: x is no number from -32 to 32, like -2.5"},
        {"convert a.zeq",                              2, "OUTPUT is required"},
        {"convert a.zeq b.png --format RGB",           2, "--format: unknown FORMAT RGB; see --help"},
        {"convert a.zeq b.png --format rgb-u8",        2, "--format is for media files, which end in .zeq"},
        {"convert a.zeq new/ --to png --premultiplied", 2, "--premultiplied is for EXR files"},
        {"convert a.zeq b.zeq --exposure 1e9",         2, "--exposure: 1e9 is no number from -32 to 32, like -2.5"},
        {"convert a.zeq b.zeq --exposure 2x",          2, "--exposure: 2x is no number from -32 to 32, like -2.5"},
        {"convert a.zeq b.zeq --scale -1",             2, "--scale: -1 is no number from 0 on, like 0.01"},
        {"convert a.zeq b.zeq --depth 8",              2, "--depth is for other pictures; a media file's depth is that of its --format"},
        {"convert a.zeq b.xyz",                        2, "b.xyz: files of this kind are not written; see --help"},
        {"convert a.zeq .",                            2, "--to is needed for an OUTPUT that is a folder"},
        {"convert a.zeq b.png --jobs 0",               2, "--jobs: 0 is no number from 1 to 1024"},
        {"check a.zeq --memory 4T",                    2, "--memory: 4T is no amount like 512M or 4G"},
        {"convert a.zeq b.png --frames 1",             2, "--frames: a.zeq has no place for the frame's number"},
        {"convert s.####.zeq b.####.png",              1, "s.####.zeq: no frames found"},
        {"convert e_####.png b.####.png",              1, "e_####.png: no frames found; e_00000011.png has 8 digits: write ########"},
        {"sheet x_%04d.png -o o.png",                  1, "x_%04d.png: no frames found; x_9.png has 1 digit: write #"},
        {"convert odd.dpx o.zeq -f zeq-4224-hybrid",   1, "odd.dpx: is 3 pixels wide; ZEQ-4224-HYBRID needs a multiple of 2; RGBA-U8 takes any width"},
        {"convert a.zeq b",                            2, "b has no ending; for a folder write b/ and --to png"},
        {"convert a.zeq b --to png",                   2, "b has no ending; for a folder write b/ and --to png"},
        {"convert a.zeq b.png --to png",               2, "--to is for an OUTPUT that is a folder or -"},
        {"convert a.zeq -",                            2, "--to is needed for standard output"},
        {"convert a.zeq - --to png --json",            2, "--json and the picture would both be written to standard output"},
        {"convert a.zeq flat.zeq - --to png",          2, "a.zeq and flat.zeq would both become -"},
        {"convert - o/ --to png <a.zeq",               2, "standard input has no name for a file in o/"},
        {"info a.zeq --brief --json",                  2, "--brief and --json exclude each other"},
        {"cat a.zeq --exposure x",                     2, "--exposure: x is no number from -32 to 32, like -2.5"},
        {"--",                                         2, "a command is required; see zeq --help"},
        {"convert a.zeq nowhere/b.png",                2, "there is no folder nowhere"},
        {"convert s#.%04d.zeq b.#.png",                2, "s#.%04d.zeq has two places for the frame's number"},
        {"convert s.#.zeq b.#.png --frames 0-1000000", 2, "--frames: more than 1000000 frames"},
        {"convert a.zeq b.#.png",                      2, "a.zeq has no frame number for b.#.png"},
        {"convert a.zeq b.zeq c.png",                  2, "a.zeq and b.zeq would both become c.png"},
        {"convert x/a.zeq y/a.zeq o/ --to png",        2, "x/a.zeq and y/a.zeq would both become o/a.png"},
        {"convert s1.zeq ./t1.zeq t#.zeq",             2, "s1.zeq would overwrite the input ./t1.zeq"},
        {"convert odd.png o.zeq -f zeq-422",           1, "odd.png: is 3 pixels wide; ZEQ-422 needs a multiple of 2; RGB-DPX-FILLED takes any width"},
        {"convert f.exr o.zeq -f zeq-420",             1, "f.exr: is 1 pixel high; ZEQ-420 needs a multiple of 2; RGB-U8 takes any height"},
        {"convert wide.tif o.zeq",                     1, "wide.tif: is 65536 pixels wide; a media file holds at most 65535"},
        {"sheet motion.exr -o o.png",                  1, "motion.exr: has the channels u, v: no R, G, B and no Y"},
        {"convert coffee.zeq-422.zeq o.jpg",           1, "coffee.zeq-422.zeq: 10-bit samples do not fit into jpg files without loss; choose a --depth"},
        {"convert coffee.bgra-u8.zeq o.dpx --depth 10", 1, "coffee.bgra-u8.zeq: dpx files with alpha are not written in --depth 10; choose 8, 12, 16"},
        // clang-format on
    };
    for (const auto& [arguments, status, text] : cases) {
        EXPECT_EQ(run(std::string("zeq ") + arguments), status) << arguments;
        EXPECT_EQ(errors, std::string("zeq: ") + text + "\n") << arguments;
    }
    EXPECT_EQ(folder.files(), filesBefore);
}
