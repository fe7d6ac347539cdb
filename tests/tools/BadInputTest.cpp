#include "tests/tools/ProgramTest.h"

#include <nlohmann/json.hpp>

#include <sstream>
#include <tuple>

using namespace testing;
using Name = std::string;

struct BadInput : ProgramTest
{
    void SetUp() override { runWell("cp $samples/coffee.zeq-422.zeq good.zeq"); }
};

TEST_F(BadInput, costsNoMemoryForWhatItClaims)
{
    // Much more than the stored 4 x 4 pixels, all of them opaque white.
    auto claim = MediaFileBytes::picture(0x204, 16000, 16000, std::string(64, '\xFF'));
    claim.frameWidth = claim.frameHeight = 4;
    writeFile(folder.file("claim.zeq"), claim.bytes());
    runWell(ADDRESS_SPACE_LIMIT
            "zeq check claim.zeq && zeq thumbnail claim.zeq -o . && "
            "zeq sheet claim.zeq -o s.png && zeq convert -f bgra-u8 claim.zeq c.zeq");
    const auto small = readPicture("claim.png");
    EXPECT_EQ(small.first.width, 256);
    // (4 / 62.5)^2 of the first pixel is covered.
    EXPECT_FLOAT_EQ(small.second[3], 1 / 255.f);
    EXPECT_THAT(small.second, Contains(0.f).Times(256 * 256 * 4 - 4));
    EXPECT_EQ(frameData("c.zeq").size(), 64u);

    // A small view needs no more than the few pixels that are stored.
    OIIO::ImageSpec window(2, 2, 3, OIIO::TypeDesc::FLOAT);
    window.full_width = window.full_height = 40000;
    writePicture("window.exr", window, std::vector<float>(12, 1.f));
    runWell(ADDRESS_SPACE_LIMIT "zeq thumbnail window.exr -o . && zeq sheet window.exr -o s.png");
    EXPECT_EQ(readPicture("window.png").first.height, 256);
    // Of 20000 x 20000 pixels in three channels of 8 bits.
    const char header[] =
        "\x89PNG\r\n\x1A\n\0\0\0\rIHDR\0\0\x4E\x20\0\0\x4E\x20\x08\x02\0\0\0\x6C\x12\xD1\x6E\0\0\0"
        "\0"
        "IDAT\x35\xAF\x06\x1E\0\0\0\0IEND\xAE\x42\x60\x82";
    writeFile(folder.file("header.png"), {header, sizeof header - 1});
    EXPECT_EQ(run(ADDRESS_SPACE_LIMIT "zeq convert claim.zeq window.exr header.png --to tif out/"),
              1);
    EXPECT_THAT(
        errors,
        AllOf(HasSubstr("zeq: claim.zeq: is a picture of 16000 x 16000 pixels of which 4 x 4 are "
                        "stored; of one so large, at least a pixel in 16 has to be\n"),
              HasSubstr("zeq: window.exr: is a picture of 40000 x 40000 pixels of which 2 x 2 are"),
              HasSubstr("zeq: header.png: claims 20000 x 20000 pixels, too many for a file of 57 "
                        "bytes\n")));
    EXPECT_THAT(folder.files("out"), IsEmpty());

    // The claim of a frame that is not there costs nothing either, and is told as what it is.
    writeFile(folder.file("c.zeq"), MediaFileBytes::picture(0x200, 30000, 30000, "short").bytes());
    EXPECT_EQ(run(ADDRESS_SPACE_LIMIT "zeq check --memory 1M c.zeq"), 1);
    EXPECT_EQ(errors, "zeq: c.zeq: Media file has unexpectedly reached End-Of-File\n");
}

TEST_F(BadInput, isNamedAndKeepsNoOtherFromBeingChecked)
{
    runWell(
        "mkdir -p d/closed d/inner empty; ln -s loop d/loop; ln -s nothing d/link.zeq; "
        "ln -s ../inner d/inner/up; cp good.zeq d/inner; chmod 0 d/closed; zeq check -q d/inner");
    EXPECT_EQ(output, "");
    writeFile(folder.file("d/short.zeq"), MediaFileBytes::picture(0x200, 2, 2, "few").bytes());
    writeFile(folder.file("d/unknown.zeq"), MediaFileBytes::picture(0x201, 2, 2, "").bytes());
    EXPECT_EQ(run("[ $(id -u) != 0 ] || powerless='setpriv\n"
                  "--bounding-set=-dac_override,-dac_read_search'\n"
                  "$powerless '" PROGRAM "' check -j1 empty d gone/ s.#.zeq good.zeq; "
                  "status=$?; chmod 700 d/closed; exit $status"),
              1);
    EXPECT_EQ(errors,
              "zeq: empty: no media files found\n"
              "zeq: d/closed: Permission denied\n"
              "zeq: d/link.zeq: Failed to open file: No such file or directory\n"
              "zeq: d/loop: Too many levels of symbolic links\n"
              "zeq: d/short.zeq: Media file has unexpectedly reached End-Of-File\n"
              "zeq: d/unknown.zeq: Frame reading is not supported for media header format 0x0201\n"
              "zeq: gone/: No such file or directory\n"
              "zeq: s.#.zeq: no frames found\n");
    EXPECT_EQ(output, "10 files checked, 8 bad\n");
}

TEST_F(BadInput, keepsNoOtherFromBeingUsed)
{
    runWell("mkdir out; ln -s loop.zeq loop.zeq");
    for (const std::string command : {"info", "sheet -o s.png", "thumbnail -o out", "convert"}) {
        EXPECT_EQ(run("zeq " + command + " s.#.zeq '' loop.zeq good.zeq" +
                      (command == "convert" ? " out/ --to tif" : "")),
                  1);
        EXPECT_THAT(output, HasSubstr(command.starts_with("sheet") ? "1 file" : "good.zeq"));
        EXPECT_THAT(errors,
                    AllOf(HasSubstr("zeq: s.#.zeq: no frames found\n"),
                          HasSubstr("zeq: '': no file has an empty name\n"),
                          HasSubstr("zeq: loop.zeq: Failed to open file: Too many levels of "
                                    "symbolic links\n")));
    }
    EXPECT_THAT(folder.files(), Contains("s.png"));
    EXPECT_THAT(folder.files("out"), ElementsAre("good.png", "good.tif"));
}

// In the reader's fixed words and with what is wrong beside them; in plain words of other pictures.
TEST_F(BadInput, isToldByWhatItIs)
{
    runWell(
        "zeq convert -q good.zeq -d 8 p.png; zeq convert -q good.zeq -d 8 p.jpg; "
        "zeq convert -q good.zeq p.dpx; zeq convert -q good.zeq p.exr; zeq convert -q good.zeq "
        "p.tif; for kind in png jpg dpx exr tif; do cp p.$kind $kind.zeq; "
        "head -c 99 p.$kind >short.$kind; head -c $(($(stat -c %s p.$kind) / 2)) p.$kind "
        ">half.$kind; "
        "done; mkdir d.zeq; mkfifo pipe.png; : >empty.zeq; : >empty.png; echo hello >text.zeq; "
        "cp text.zeq text.txt; head -c 99 /dev/zero >zeros.zeq; gzip <good.zeq >gzip.zeq; "
        "cp good.zeq closed.png; chmod 0 closed.png; head -c 20 good.zeq >cut.bin");
    const Name corrupt = "Media file is corrupt: ",
               damaged = "it is damaged, or its end is missing";
    const std::tuple<Name, Name, Name> cases[] = {
        // clang-format off
        {"check",   "png.zeq",    corrupt + "it is a PNG file"},
        {"compare", "exr.zeq",    corrupt + "it is an EXR file"},
        {"info",    "tif.zeq",    corrupt + "it is a TIFF file"},
        {"cat",     "text.zeq",   corrupt + "it is text"},
        {"convert", "empty.zeq",  corrupt + "it is empty"},
        {"check",   "zeros.zeq",  corrupt + "it begins with zeros"},
        {"sheet",   "gzip.zeq",   corrupt + "it is a gzip file"},
        {"compare", "d.zeq",      "Failed to open file: it is a folder"},
        {"check",   "p.png",      "not a media file: it is a PNG file"},
        {"info",    "text.txt",   "not a media file: it is text"},
        {"check",   "cut.bin",    "Media file has unexpectedly reached End-Of-File"},
        {"check",   "pipe.png",   "Failed to open file: it is no regular file"},
        {"cat",     "pipe.png",   "it is no regular file"},
        {"convert", "text.txt",   "no picture of a known kind: it is text"},
        {"convert", "empty.png",  "it is empty"},
        {"sheet",   "gone.exr",   "No such file or directory"},
        // clang-format on
    };
    const auto fails = [&](const Name& command, const Name& file, const Name& text) {
        const Name rest = command == "convert"   ? " o.bmp -d 8"
                          : command == "sheet"   ? " -o o.bmp"
                          : command == "compare" ? " good.zeq"
                                                 : "";
        EXPECT_EQ(run("zeq " + command + " " + file + rest), 1);
        EXPECT_EQ(errors, "zeq: " + file + ": " + text + "\n");
    };
    for (const auto& [command, file, text] : cases)
        fails(command, file, text);
    for (const Name kind : {"png", "jpg", "dpx", "tif"})
        for (const Name part : {"short.", "half."})
            fails("convert", part + kind, damaged);
    fails("convert", "half.exr", damaged);
    // OpenImageIO would end the program for a DPX header that claims data of its user.
    auto bytes = folder.content("p.dpx");
    bytes.replace(32, 4, "\x80\x80\x80\x80");
    writeFile(folder.file("claim.dpx"), bytes);
    fails("convert", "claim.dpx", damaged);
    run("[ $(id -u) != 0 ] || powerless='setpriv\n--bounding-set=-dac_override,-dac_read_search'\n"
        "$powerless '" PROGRAM "' check closed.png");
    EXPECT_EQ(errors, "zeq: closed.png: Failed to open file: Permission denied\n");
}

// Whichever of two files is bad, and where a movie is made of it.
TEST_F(BadInput, isOneMessageWhereTwoAreComparedOrAMovieIsMade)
{
    runWell("ls $samples | sed -n 's/.zeq$//p'; mkdir folder.zeq; mkfifo pipe.zeq; : >empty.zeq");
    std::vector<std::string> bad = {"folder.zeq", "pipe.zeq", "empty.zeq", "unknown.zeq"};
    writeFile(folder.file(bad.back()), MediaFileBytes::picture(0x201, 2, 2, "").bytes());
    std::istringstream names(output);
    for (std::string name; std::getline(names, name);)
        for (const std::size_t size : {3, 20, 27, 28, 1000, 30000}) {
            bad.push_back(name + std::to_string(size) + ".zeq");
            writeFile(folder.file(bad.back()),
                      folder.content(SAMPLES "/" + name + ".zeq").substr(0, size));
        }
    ASSERT_EQ(bad.size(), 4u + 13 * 6);
    for (const auto& file : bad)
        for (const std::string& command :
             {"compare " + file + " good.zeq", "compare good.zeq " + file, "cat " + file}) {
            EXPECT_EQ(run("zeq " + command), 1) << command;
            EXPECT_EQ(output, "") << command;
            EXPECT_THAT(errors, MatchesRegex("zeq: " + file + ": [^\n]+\n")) << command;
        }
}

TEST_F(BadInput, givesNoOrdersToATerminal)
{
    const std::string name = "a\x1b[31m\xFF\xC2\x9B\t\\\n\u00E9.zeq";
    const std::string escaped = R"(a\x1b[31m\xff\xc2\x9b\t\\\n)"
                                "\u00E9.zeq";
    EXPECT_EQ(run("zeq info '" + name + "'; zeq check -q '" + name + "'; zeq '" + name + "'"), 2);
    const auto failure = "zeq: " + escaped + ": Failed to open file: No such file or directory\n";
    EXPECT_EQ(errors, failure + failure + "zeq: unknown command " + escaped + "; see zeq --help\n");
    runWell("cp good.zeq '" + name + "'; zeq convert '" + name + "' b.zeq; zeq info '" + name +
            "'");
    EXPECT_THAT(output, StartsWith(escaped + " -> b.zeq\nfile: " + escaped + "\nformat: "));
    runWell("zeq info --json '" + name + "'");
    EXPECT_EQ(nlohmann::json::parse(output)[0]["file"], "a\x1b[31m\uFFFD\u009B\t\\\n\u00E9.zeq");
}

// What comes with OpenImageIO would end the program when it is loaded and can start no thread.
TEST_F(BadInput, isNoMissingThread)
{
    for (const int threads : {0, 1, 2, 3, 5, 8}) {
        const auto zeq =
            "export ASAN_OPTIONS=verify_asan_link_order=0 THREADS=" + std::to_string(threads) +
            " LD_PRELOAD='" NO_THREADS "'; '" PROGRAM "' ";
        runWell(zeq + "check -j 3 good.zeq good.zeq good.zeq");
        EXPECT_EQ(output, "3 files checked, 0 bad\n");
        runWell(zeq + "convert -f rgb-u8 good.zeq c.zeq");
        EXPECT_EQ(output, "good.zeq -> c.zeq\n");
        EXPECT_EQ(run(zeq + "sheet good.zeq -o s.png"), 1);
        EXPECT_THAT(errors, EndsWith(": Pictures cannot be read or written: too few threads can be "
                                     "started\n"));
    }
}
