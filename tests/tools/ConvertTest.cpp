#include "tests/tools/ProgramTest.h"

#include <cmath>
#include <csignal>
#include <random>
#include <tuple>

using namespace testing;
using OIIO::TypeDesc;

namespace fs = std::filesystem;
using Name = std::string;

struct Convert : ProgramTest
{
    // Ends with `then`, when the conversion in the background has written its first file.
    int runUntilTheFirstOutput(const Name& before, const Name& streams, const Name& then)
    {
        return run(before + " '" PROGRAM "' convert -qj2 --to png s.#.zeq out/ " + streams +
                   " & until [ -e out/s.1.png ]; do kill -0 $! || exit; done; " + then);
    }
};

// Formats that keep each pixel's colours come back as they were from every file that can hold them.
TEST_F(Convert, bringsPicturesBackToTheBit)
{
    const Name formats[] = {"rgb-u8",         "bgr-u8",         "rgba-u8",        "bgra-u8",
                            "rgb-dpx-filled", "bgr-dpx-filled", "rgb-smpte-2110", "bgr-smpte-2110"};
    const Name kinds[] = {"png", "exr", "tif", "dpx"};
    for (int frame = 0; const auto& format : formats)
        runWell("cp $samples/coffee." + format + ".zeq s." + std::to_string(++frame) + ".zeq");
    for (const auto& kind : kinds)
        runWell("zeq convert -q s.#.zeq " + kind + ".#." + kind);
    for (int frame = 0; const auto& format : formats) {
        const auto number = "." + std::to_string(++frame) + ".";
        runWell("zeq convert -q -f " + format + " *" + number + "[!z]* back/");
        for (const auto& kind : kinds)
            EXPECT_TRUE(folder.content("s" + number + "zeq")
                            .ends_with(frameData("back/" + kind + number + "zeq")))
                << format << kind;
    }
}

TEST_F(Convert, storesPicturesInTheDepthOfTheirData)
{
    const std::tuple<Name, Name, Name, TypeDesc, int, int> cases[] = {
        // clang-format off
        // sample             file       option           type              bits  channels
        {"zeq-420",          "a.png",   "",              TypeDesc::UINT8,   0,   3},
        {"zeq-422",          "a.png",   "",              TypeDesc::UINT16,  0,   3},
        {"zeq-422",          "a.png",   "--depth 8",     TypeDesc::UINT8,   0,   3},
        {"zeq-4224-hybrid",  "a.TIFF",  "",              TypeDesc::UINT16, 16,   4},
        {"zeq-4224-hybrid",  "a.dpx",   "",              TypeDesc::UINT16, 12,   4},
        {"zeq-422",          "a.dpx",   "",              TypeDesc::UINT16, 10,   3},
        {"bgra-u8",          "a.exr",   "",              TypeDesc::FLOAT,   0,   4},
        {"zeq-422",          "a.exr",   "--depth half",  TypeDesc::HALF,    0,   3},
        {"bgra-u8",          "a.jpeg",  "",              TypeDesc::UINT8,   0,   3},
        // clang-format on
    };
    for (const auto& [sample, file, option, type, bits, channels] : cases) {
        runWell("zeq convert $samples/coffee." + sample + ".zeq " + file + " " + option);
        const auto stored = readPicture(file).first;
        EXPECT_EQ(stored.format, type) << sample << " to " << file;
        EXPECT_EQ(stored.get_int_attribute("oiio:BitsPerSample"), bits) << sample << " to " << file;
        EXPECT_EQ(stored.nchannels, channels) << sample << " to " << file;
    }
    EXPECT_EQ(folder.content("a.dpx").substr(36, 6), Name("a.dpx", 6))
        << "The file's name in its header";
    runWell("zeq convert a.dpx a.zeq && zeq info a.zeq");
    EXPECT_THAT(output, HasSubstr("format: RGB-DPX-FILLED\n"));
}

TEST_F(Convert, choosesAFormatAndTakesGreysAlphaAndStrangeNumbersAsTheyAre)
{
    using enum TypeDesc::BASETYPE;
    constexpr float infinity = HUGE_VALF, notANumber = NAN;
    const std::tuple<Name, TypeDesc, std::vector<float>, bool, Name, std::string> cases[] = {
        // clang-format off
        // file    type    pixel, twice                       asked  format             data of a pixel, if told
        {"a.png", UINT8,  {0.2f},                            false, "RGB-U8",          {51, 51, 51}},
        {"a.png", UINT8,  {0.2f, 0.4f},                      false, "RGBA-U8",         {51, 51, 51, 102}},
        {"a.tga", UINT8,  {0.2f, 0.4f},                      false, "RGBA-U8",         {51, 51, 51, 102}},
        {"a.png", UINT16, {0.2f, 0.4f, 0.6f},                false, "RGB-SMPTE-2110",  ""},
        {"a.exr", HALF,   {0.2f, 0.4f, 0.6f, 1.f},           false, "ZEQ-4224-HYBRID", ""},
        {"a.exr", FLOAT,  {0.2f, 0.4f, 0.6f},                false, "RGB-SMPTE-2110",  ""},
        {"a.exr", FLOAT,  {0.2f, 0.4f},                      true,  "BGRA-U8",         {51, 51, 51, 102}},
        {"a.exr", FLOAT,  {0.2f, 0.4f, 0.6f, 0.f},           true,  "RGBA-U8",         {51, 102, '\x99', 0}},
        {"a.exr", FLOAT,  {0.2f, 0.4f, 0.6f},                true,  "RGBA-U8",         {51, 102, '\x99', '\xFF'}},
        {"a.exr", FLOAT,  {notANumber, infinity, -infinity}, true,  "RGB-U8",          {0, '\xFF', 0}},
        {"a.exr", FLOAT,  {1e30f, -1e30f, 1.01f},            true,  "RGB-U8",          {'\xFF', 0, '\xFF'}},
        {"a.exr", FLOAT,  {notANumber, infinity, -infinity}, true,  "RGB-DPX-FILLED",  {0, '\xF0', 0x3F, 0}},
        // clang-format on
    };
    for (const auto& [file, type, pixel, isAsked, format, data] : cases) {
        auto pixels = pixel;
        pixels.insert(pixels.end(), pixel.begin(), pixel.end());
        OIIO::ImageSpec description(2, 1, static_cast<int>(pixel.size()), type);
        if (pixel.size() == 2)
            description.channelnames = {"Y", "A"};
        writePicture(file, description, pixels);
        runWell("zeq convert " + file + " a.zeq" + (isAsked ? " -f " + format : ""));
        runWell("zeq info a.zeq");
        EXPECT_THAT(output, HasSubstr("format: " + format + "\n"));
        EXPECT_THAT(frameData("a.zeq"), StartsWith(data + data)) << format;
    }
}

// Higher than what is read at once, and no whole number of tiles or strips.
TEST_F(Convert, readsTilesAndStripsAsRows)
{
    constexpr int width = 20, height = 300, channels = 4;
    std::vector<float> samples;
    Name pixels;
    for (int sample = 0; sample < width * height * channels; ++sample) {
        pixels += static_cast<char>(sample % 251);
        samples.push_back(static_cast<float>(sample % 251) / 255);
    }
    for (const Name file : {"rows.exr", "tiles.exr", "tiles.tif", "strips.tif"}) {
        OIIO::ImageSpec description(width, height, channels, TypeDesc::FLOAT);
        if (file.ends_with("exr"))
            description.y = description.full_y = -7;
        if (file.starts_with("tiles"))
            description.tile_width = description.tile_height = 16;
        if (file.starts_with("strips"))
            description["tiff:RowsPerStrip"] = 100;
        writePicture(file, description, samples);
        runWell("zeq convert " + file + " a.zeq -f RGBA-U8");
        EXPECT_TRUE(frameData("a.zeq") == pixels) << file;
    }
}

TEST_F(Convert, keepsThePicturesWindowAndWhatAMediaFileSaysBesideItsFrame)
{
    // Hosts show what lies in the window; what no pixel is stored for is 0.
    OIIO::ImageSpec cropped(2, 1, 3, TypeDesc::FLOAT);
    cropped.x = cropped.y = 1;
    cropped.full_width = cropped.full_height = 2;
    writePicture("a.exr", cropped, {1, 0, 1, 0.2f, 0.2f, 0.2f});
    runWell("zeq convert a.exr a.zeq --format RGB-U8");
    EXPECT_EQ(frameData("a.zeq"), std::string(9, '\0') + std::string("\xFF\0\xFF", 3));
    auto file = MediaFileBytes::picture(0x200, 3, 1, "abcdef");
    file.magic = "zeqZ";
    file.headerByte3 = 9;
    file.frameField1 = 0x1234;
    file.frameWidth = 2;
    writeFile(folder.file("a.zeq"), file.bytes());
    runWell("zeq convert a.zeq b.zeq -f bgr-u8; zeq convert a.zeq c.zeq; zeq info c.zeq b.zeq");
    EXPECT_THAT(output, ContainsRegex("(\nwidth: 3\nheight: 1\nframeWidth: 2\n.*zeqZ.*9\n"
                                      "frameField1: 4660\n.*){2}"));
    EXPECT_EQ(frameData("b.zeq"), "cbafed");
    runWell("zeq convert b.zeq b.png");
    EXPECT_THAT(readPicture("b.png").second, AllOf(SizeIs(9), Contains(0.f).Times(3)));
}

// An input has as many names as there are links and folders.
TEST_F(Convert, overwritesNoInputByAnyOfItsNames)
{
    runWell(
        "mkdir d e; cp $samples/coffee.zeq-422.zeq d/s.1.zeq; cp d/s.1.zeq d/s.2.zeq; "
        "zeq convert -q d/s.1.zeq d/p.png; ln -s ../d/s.1.zeq e/t.1.zeq; ln d/s.2.zeq e/t.2.zeq; "
        "ln -s d f; md5sum d/*");
    const auto before = output;
    const std::pair<Name, Name> cases[] = {
        // clang-format off
        {"convert d/s.1.zeq d/s.1.zeq",        "d/s.1.zeq would be overwritten by its output d/s.1.zeq"},
        {"convert d/s.1.zeq d/../d//s.1.zeq",  "d/s.1.zeq would be overwritten by its output d/../d//s.1.zeq"},
        {"convert d/s.1.zeq f/s.1.zeq",        "d/s.1.zeq would be overwritten by its output f/s.1.zeq"},
        {"convert d/s.1.zeq e/t.1.zeq",        "d/s.1.zeq would be overwritten by its output e/t.1.zeq"},
        {"convert e/t.1.zeq d/s.1.zeq",        "e/t.1.zeq would be overwritten by its output d/s.1.zeq"},
        {"convert d/s.#.zeq d/s.%d.zeq -f RGB-U8", "d/s.1.zeq would be overwritten by its output d/s.1.zeq"},
        {"convert d/s.#.zeq e/t.#.zeq --frames 2", "d/s.2.zeq would be overwritten by its output e/t.2.zeq"},
        {"convert d/s.#.zeq d -f RGB-U8",      "d/s.1.zeq would be overwritten by its output d/s.1.zeq"},
        {"convert e/t.1.zeq e --to zeq",       "e/t.1.zeq would be overwritten by its output e/t.1.zeq"},
        {"thumbnail d/p.png -o f",             "d/p.png would be overwritten by its output f/p.png"},
        {"compare d/p.png d/s.1.zeq -o d/p.png", "d/p.png would be overwritten by its output d/p.png"},
        {"sheet d/s.#.zeq d/p.png -o f/p.png", "the sheet would overwrite the input d/p.png"},
        // clang-format on
    };
    for (const auto& [arguments, text] : cases) {
        EXPECT_EQ(run("zeq " + arguments), 2) << arguments;
        EXPECT_EQ(errors, "zeq: " + text + "\n") << arguments;
    }
    runWell("md5sum d/*");
    EXPECT_EQ(output, before);
}

TEST_F(Convert, goesOnWithTheOtherFramesAndFinishesLater)
{
    runWell(
        "for n in 1 2 4 5 6; do cp $samples/coffee.rgb-u8.zeq s.000$n.zeq; done; "
        "zeq convert s.0001.zeq t.01.png; touch -d 2001-01-01 t.01.png; head -c 9000 t.01.png "
        ">t.04.png; zeq convert -q $samples/coffee.rgb-u8.zeq u.tif; "
        "zeq thumbnail -o . --size 30 u.tif; mv u.png t.05.png");
    fs::resize_file(folder.file("s.0002.zeq"), 1000);
    EXPECT_EQ(run("zeq convert -j1 --skip-existing --frames 1-5x3,2,9,5 s.%04d.zeq t.##.png"), 1);
    EXPECT_EQ(errors,
              "zeq: s.0002.zeq: Media file has unexpectedly reached End-Of-File\n"
              "zeq: s.0009.zeq: Failed to open file: No such file or directory\n");
    EXPECT_EQ(output,
              "s.0004.zeq -> t.04.png\ns.0005.zeq -> t.05.png\n2 converted, 1 skipped, 2 failed\n");
    EXPECT_EQ(folder.content("t.04.png"), folder.content("t.01.png"));
    runWell("find t.01.png -newermt 2002-01-01");
    EXPECT_EQ(output, "");
}

// Of every kind, by its last bytes.
TEST_F(Convert, makesAnewWhatIsNotWhole)
{
    runWell("cp $samples/coffee.rgb-u8.zeq a.zeq");
    for (const Name file :
         {"o.png", "o.exr", "o.tif", "o.dpx", "o.jpg", "o.tga", "o.bmp", "o.zeq"}) {
        const auto line = "zeq convert --json --skip-existing a.zeq " + file;
        runWell(line);
        EXPECT_THAT(output, HasSubstr("\"ok\": 1")) << file;
        runWell(line);
        EXPECT_THAT(output, HasSubstr("\"skipped\": 1")) << file;
        fs::resize_file(folder.file(file), fs::file_size(folder.file(file)) * 99 / 100);
        runWell(line);
        EXPECT_THAT(output, HasSubstr("\"ok\": 1")) << file;
    }
}

// What was there stays when the new file cannot be written whole; it is that file which is named.
TEST_F(Convert, leavesNothingHalfWrittenOnAFullDisk)
{
    runWell("cp $samples/coffee.rgb-u8.zeq a.zeq");
    for (const Name file : {"o.png", "o.jpg", "o.exr", "o.tif", "o.dpx", "o.zeq"}) {
        writeFile(folder.file(file), "old");
        EXPECT_EQ(run("ulimit -f 8; zeq convert a.zeq " + file), 1) << file;
        EXPECT_THAT(errors, MatchesRegex("zeq: " + file + ": [^\n]*File too large\n"));
        EXPECT_EQ(folder.content(file), "old");
    }
    EXPECT_THAT(folder.files(), SizeIs(7));
}

// A file that is opened where a standard stream should be would be written all messages.
TEST_F(Convert, writesNoMessagesIntoItsOutputsAndGoesOnWithoutReaders)
{
    runWell("for n in $(seq 60); do cp $samples/coffee.rgb-u8.zeq s.$n.zeq; done");
    EXPECT_EQ(runUntilTheFirstOutput("", "<&- >&- 2>&-", "cd /proc/$!/fd; readlink 0 1 2; kill $!"),
              0);
    EXPECT_EQ(output, "/dev/null\n/dev/null\n/dev/null\n");
    // Where nobody reads all lines the rest is converted, and that is a failure.
    EXPECT_EQ(run("mkfifo p; exec 3<>p 4>p 3<&-; zeq convert --frames 1-5 s.#.zeq t.#.png >&4"), 1);
    EXPECT_EQ(errors, "zeq: The output could not be written\n");
    EXPECT_TRUE(folder.files().contains("t.5.png"));
}

TEST_F(Convert, leavesNothingHalfWrittenWhenItIsEnded)
{
    // Noise, which takes so long to compress that there is always half a file.
    std::string noise(640 * 480 * 3, '\0');
    std::ranges::generate(noise, std::minstd_rand());
    writeFile(folder.file("s.1.zeq"), MediaFileBytes::picture(0x200, 640, 480, noise).bytes());
    runWell("for n in $(seq 2 30); do ln s.1.zeq s.$n.zeq; done");
    // A shell has programs in the background ignore an interruption. The next files are begun soon
    // after the first is there.
    const auto convertUntil = [this](int signal, const Name& handling) {
        fs::remove_all(folder.file("out"));
        return runUntilTheFirstOutput(
            "ulimit -c 0; env " + handling, "",
            "sleep 0.02; kill -" + std::to_string(signal) + " $!; wait $!");
    };
    // What it is told to ignore, as by nohup, does not end it.
    EXPECT_EQ(convertUntil(SIGHUP, "--ignore-signal=HUP"), 0);
    EXPECT_EQ(folder.files("out").size(), 30u);
    for (const int signal :
         {SIGHUP, SIGINT, SIGQUIT, SIGUSR1, SIGUSR2, SIGALRM, SIGTERM, SIGXCPU}) {
        EXPECT_EQ(convertUntil(signal, "--default-signal"), 128 + signal);
        EXPECT_LT(folder.files("out").size(), 30u);
        for (const auto& file : folder.files("out"))
            EXPECT_TRUE(folder.content("out/" + file) == folder.content("out/s.1.png")) << file;
    }
    runWell("zeq convert -q --skip-existing --to png s.#.zeq out");
    EXPECT_EQ(folder.files("out").size(), 30u);
}
