#include "MediaConversion/Encoder/Encoder.h"
#include "MediaConversion/MediaFile/VelmoraMediaFileReader.h"
#include "tests/support/Pools.h"
#include "tests/tools/ProgramTest.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <tuple>

using namespace testing;
using OIIO::TypeDesc;
using Name = std::string;

namespace {

const Name formats[] = {"rgb-u8",         "bgr-u8",         "rgba-u8",        "bgra-u8",
                        "rgb-dpx-filled", "bgr-dpx-filled", "rgb-smpte-2110", "bgr-smpte-2110",
                        "yuyv-422",       "zeq-420",        "zeq-422",        "ycocg-dxt5",
                        "zeq-4224-hybrid"};

const Name tiny = "P6\n1 1\n255\n";

}

struct Cat : ProgramTest
{
    // A frame of one pixel, whose samples are three times this letter.
    void writeFrame(int frame, char letter)
    {
        writeFile(folder.file("s." + std::to_string(frame) + ".zeq"),
                  MediaFileBytes::picture(0x200, 1, 1, Name(3, letter)).bytes());
    }
    // What was written, as the letters of such frames.
    Name letters() const
    {
        Name all;
        const auto size = tiny.size() + 3;
        for (std::size_t start = 0; start < output.size(); start += size) {
            EXPECT_EQ(output.substr(start, tiny.size()), tiny);
            const auto samples = output.substr(start + tiny.size(), 3);
            EXPECT_EQ(samples, Name(3, samples.front()));
            all += samples.front();
        }
        return all;
    }
};

// Other pictures are written from float, whose last step may round by one the other way. It never
// does in 8 bits, but for 12-bit samples.
TEST_F(Cat, writesTheValuesThatFilesHold)
{
    constexpr std::size_t sampleCount = 300 * 200 * 3;
    runWell(
        "for depth in 8 16; do zeq convert -q --depth $depth --to tif $samples/*.zeq $depth/; "
        "done");
    for (const auto& format : formats)
        for (const std::size_t bytes : {1, 2}) {
            const Name header = bytes == 1 ? "P6\n300 200\n255\n" : "P6\n300 200\n65535\n";
            const auto bits = std::to_string(8 * bytes), file = "coffee." + format;
            runWell("zeq cat --bits " + bits + " $samples/" + file + ".zeq");
            ASSERT_THAT(output, StartsWith(header));
            ASSERT_EQ(output.size(), header.size() + sampleCount * bytes) << format;
            const auto [description, expected] = readPicture(bits + "/" + file + ".tif");
            long largest = 0;
            for (std::size_t sample = 0; sample < sampleCount; ++sample) {
                long code = 0;
                for (std::size_t byte = 0; byte < bytes; ++byte)
                    code = code << 8 | static_cast<unsigned char>(
                                           output[header.size() + sample * bytes + byte]);
                const auto index = sample / 3 * description.nchannels + sample % 3;
                const float scale = bytes == 1 ? 255 : 65535;
                largest = std::max(largest, std::abs(code - std::lround(expected[index] * scale)));
            }
            EXPECT_LE(largest, bytes == 2 || format == "zeq-4224-hybrid" ? 1 : 0) << format;
        }
}

TEST_F(Cat, takesOtherPicturesAndTheWindowThatHostsShow)
{
    writePicture("a.exr", {3, 1, 3, TypeDesc::FLOAT},
                 {0.5f, 7, -1, NAN, HUGE_VALF, 0.25f, 1, 0, 1});
    runWell("zeq cat a.exr");
    EXPECT_EQ(output, Name("P6\n3 1\n65535\n\x80\0\xFF\xFF\0\0"
                           "\0\0\xFF\xFF\x40\0"
                           "\xFF\xFF\0\0\xFF\xFF",
                           13 + 18));
    auto file = MediaFileBytes::picture(0x202, 3, 1, "abcdef");
    file.frameWidth = 1;
    file.frameHeight = 2;
    writeFile(folder.file("a.zeq"), file.bytes());
    runWell("zeq cat a.zeq");
    EXPECT_EQ(output, Name("P6\n3 1\n255\ncba\0\0\0\0\0\0", 11 + 9));
}

// Once for the first file and once for all; the first picture of three has no such values.
TEST_F(Cat, saysWhatWasCutOff)
{
    OIIO::ImageSpec layered(1, 1, 4, TypeDesc::FLOAT);
    layered.channelnames = {"glow.Y", "main.R", "main.G", "main.B"};
    for (const int frame : {1, 2, 3})
        writePicture("a." + std::to_string(frame) + ".exr", layered,
                     {0.25f, 0.5f, static_cast<float>(frame), 0.5f});
    runWell("zeq cat -q a.#.exr --layer main");
    EXPECT_EQ(errors,
              "zeq: a.2.exr: 33.3 % of the samples were cut off at 0 and 1, up to 2 in green "
              "(--clip accepts that)\n"
              "zeq: 2 files: 33.3 % of the samples were cut off at 0 and 1, up to 3 in green\n");
    runWell(
        "zeq cat a.#.exr --layer main --clip && zeq cat a.#.exr --layer glow --scale 2 --exposure "
        "1");
    EXPECT_EQ(errors, "");
    EXPECT_EQ(output.substr(output.size() - 6), Name(6, '\xFF'));
    EXPECT_EQ(run("zeq compare a.1.exr a.2.exr --layer glow && zeq compare a.1.exr a.2.exr"), 1);
    EXPECT_THAT(output, HasSubstr("\nequal\n"));
    EXPECT_EQ(errors, "zeq: a.1.exr: has the layers glow, main; choose one with --layer\n");
}

// What FFmpeg makes of the pipe has the library's own values.
TEST_F(Cat, feedsAMovie)
{
    const InstalledPool pool;
    using namespace Velmora::Formats;
    const std::pair<Name, Velmora::FrameFormat> cases[] = {{"yuyv-422", RGB_U8()},
                                                           {"zeq-422", RGB_U16()}};
    for (const auto& [format, whole] : cases) {
        const auto converted = MediaConversion::convert(
            MediaConversion::readMediaFile(SAMPLES "/coffee." + format + ".zeq"), whole);
        const auto& image = converted->image();
        const Name bytes(image.ptr<char>(), image.total() * image.elemSize());
        writeFile(folder.file("values"), bytes);
        runWell("for n in 1 2 3; do cp $samples/coffee." + format +
                ".zeq s.$n.zeq; done; md5sum <values | head -c 32");
        const auto sum = output;
        runWell("zeq cat s.#.zeq | ffmpeg -v error -f ppm_pipe -framerate 24 -i - -f framemd5 -");
        EXPECT_THAT(output, ContainsRegex("(, " + sum + "\n[^\n]*){3}$")) << format;
        EXPECT_THAT(output, HasSubstr("#tb 0: 1/24\n"));
    }
}

TEST_F(Cat, keepsTheOrderWhateverTheMemoryAndTheThreads)
{
    Name expected;
    for (int frame = 1; frame <= 200; ++frame) {
        const char letter = static_cast<char>('!' + frame % 90);
        writeFrame(frame, letter);
        expected += letter;
    }
    for (const Name options : {"", "-j1", "-j7 --memory 1M", "-j64"}) {
        runWell("zeq cat s.#.zeq " + options);
        EXPECT_EQ(letters(), expected) << options;
    }
    for (const Name threads : {"0", "1", "4"}) {
        runWell("export ASAN_OPTIONS=verify_asan_link_order=0 THREADS=" + threads +
                " LD_PRELOAD='" NO_THREADS "'; '" PROGRAM "' cat s.#.zeq -j 3");
        EXPECT_EQ(letters(), expected) << threads;
    }
    // Each frame takes more than there may be.
    runWell("for n in 1 2 3 4 5 6; do cp $samples/coffee.zeq-422.zeq t.$n.zeq; done");
    runWell("zeq cat t.#.zeq -j4 --memory 1M | wc -c");
    EXPECT_EQ(output, std::to_string(6 * (17 + 300 * 200 * 6)) + "\n");
}

TEST_F(Cat, namesWhatIsMissingOrPutsOtherFramesInItsPlace)
{
    for (const int frame : {2, 3, 5, 9})
        writeFrame(frame, static_cast<char>('0' + frame));
    EXPECT_EQ(run("zeq cat s.#.zeq"), 1);
    EXPECT_EQ(output, "");
    EXPECT_EQ(errors, "zeq: s.4.zeq: is missing\nzeq: s.6.zeq to s.8.zeq: 3 frames are missing\n");
    const Name black(1, '\0');
    const std::tuple<Name, Name> cases[] = {
        // clang-format off
        // arguments                                what is written
        {"s.#.zeq --missing hold",                  "23355559"},
        {"s.#.zeq --missing BLACK",                 "23" + black + "5" + Name(3, '\0') + "9"},
        {"s.#.zeq --frames 2-3,5,9",                "2359"},
        {"s.#.zeq --frames 3-9x2 --missing hold",   "3559"},
        {"s.#.zeq --frames 0-3,10 --missing hold",  "22233"},
        {"s.#.zeq --frames 1-2,10 --missing black", black + "2" + black},
        {"s.9.zeq s.2.zeq",                         "92"},
        // clang-format on
    };
    for (const auto& [arguments, expected] : cases) {
        runWell("zeq cat -q " + arguments);
        EXPECT_EQ(letters(), expected) << arguments;
        EXPECT_EQ(errors, "");
    }
    writeFrame(2147483647, 'x');
    EXPECT_EQ(run("zeq cat s.#.zeq"), 1);
    EXPECT_THAT(errors, EndsWith("s.10.zeq to s.2147483646.zeq: 2147483637 frames are missing\n"));
    // What is held is told, and not taken from the sequence before.
    writeFile(folder.file("t.1.zeq"), MediaFileBytes::picture(0x200, 1, 1, "ttt").bytes());
    runWell("zeq cat t.#.zeq s.#.zeq --frames 1-2 --missing hold");
    EXPECT_EQ(letters(), "tt22");
    EXPECT_EQ(errors,
              "zeq: t.2.zeq: is missing, a neighbour is held\n"
              "zeq: s.1.zeq: is missing, a neighbour is held\n");
}

// What is there is checked and converted all the same.
TEST_F(Cat, sharesItsGapsWithCheckAndConvert)
{
    for (const int frame : {2, 3, 5, 9})
        writeFrame(frame, '?');
    const Name gaps = "zeq: s.4.zeq: is missing\nzeq: s.6.zeq to s.8.zeq: 3 frames are missing\n";
    const std::tuple<Name, int, bool, Name> cases[] = {
        // clang-format off
        // arguments                                    status named  output ends with
        {"check s.#.zeq",                               0, true,  "4 files checked, 0 bad, 4 missing\n"},
        {"check s.#.zeq --complete",                    1, true,  "4 files checked, 0 bad, 4 missing\n"},
        {"check s.#.zeq -q --complete",                 1, true,  ""},
        {"check s.#.zeq -q",                            0, false, ""},
        {"check s.#.zeq --frames 2-3,5 --complete",     0, false, "3 files checked, 0 bad\n"},
        {"check s.2.zeq s.5.zeq --complete",            0, false, "2 files checked, 0 bad\n"},
        {"convert s.#.zeq t.#.png",                     0, true,  "4 converted, 0 skipped, 0 failed, 4 missing\n"},
        {"convert s.#.zeq t.#.png --skip-existing --complete", 1, true,  "0 converted, 4 skipped, 0 failed, 4 missing\n"},
        {"convert s.2.zeq s.#.zeq o/ --to png --complete -q --frames 2", 2, false, ""},
        // clang-format on
    };
    for (const auto& [arguments, status, areNamed, end] : cases) {
        EXPECT_EQ(run("zeq " + arguments), status) << arguments;
        EXPECT_EQ(errors.starts_with(gaps), areNamed) << arguments << errors;
        EXPECT_THAT(output, EndsWith(end)) << arguments;
    }
    EXPECT_TRUE(folder.files().contains("t.9.png"));
}

TEST_F(Cat, endsAtAFrameThatCannotBeShown)
{
    for (const int frame : {1, 2, 4})
        writeFrame(frame, static_cast<char>('0' + frame));
    auto wide = MediaFileBytes::picture(0x200, 2, 1, "??????");
    writeFile(folder.file("s.3.zeq"), wide.bytes());
    EXPECT_EQ(run("zeq cat s.#.zeq"), 1);
    EXPECT_EQ(letters(), "12");
    EXPECT_EQ(errors, "zeq: s.3.zeq: has 2 x 1 pixels, the first frame has 1 x 1\n");
    wide.data = "short";
    writeFile(folder.file("s.3.zeq"), wide.bytes());
    EXPECT_EQ(run("zeq cat s.3.zeq"), 1);
    EXPECT_EQ(output + errors, "zeq: s.3.zeq: Media file has unexpectedly reached End-Of-File\n");
    writeFile(folder.file("c.zeq"), MediaFileBytes::picture(0x200, 30000, 30000, "short").bytes());
    EXPECT_EQ(run(ADDRESS_SPACE_LIMIT "zeq cat c.zeq"), 1);
    EXPECT_EQ(output + errors, "zeq: c.zeq: Media file has unexpectedly reached End-Of-File\n");
    wide = MediaFileBytes::picture(0x200, 0, 0, "");
    writeFile(folder.file("e.zeq"), wide.bytes());
    EXPECT_EQ(run("zeq cat e.zeq; zeq cat gone.zeq; zeq cat n.#.zeq; zeq cat s.1.zeq ''"), 1);
    EXPECT_EQ(output + errors,
              "zeq: e.zeq: is a picture of 0 x 0 pixels: nothing can be shown\n"
              "zeq: gone.zeq: Failed to open file: No such file or directory\nzeq: n.#.zeq: no "
              "frames found\n"
              "zeq: '': no file has an empty name\n");
}

TEST_F(Cat, endsQuietlyWithItsReaderAndLoudlyWithTheDisk)
{
    runWell("for n in $(seq 30); do cp $samples/coffee.zeq-422.zeq s.$n.zeq; done");
    const auto untilClosed = [&](const Name& handling) {
        run("{ env " + handling + " '" PROGRAM "' cat s.#.zeq; echo $? >&2; } | head -c 2");
        return output + errors;
    };
    EXPECT_EQ(untilClosed("--default-signal=PIPE"), "P6141\n");
    EXPECT_EQ(untilClosed("--ignore-signal=PIPE"), "P61\n");
    EXPECT_EQ(run("zeq cat s.#.zeq >/dev/full"), 1);
    EXPECT_EQ(errors, "zeq: The output could not be written: No space left on device\n");
    EXPECT_EQ(run("ulimit -f 100; trap '' XFSZ; zeq cat s.#.zeq >movie.ppm"), 1);
    EXPECT_EQ(errors, "zeq: The output could not be written: File too large\n");
    EXPECT_EQ(run("zeq cat s.#.zeq >&-"), 1);
    EXPECT_EQ(errors, "zeq: The output could not be written: Bad file descriptor\n");
}

TEST_F(Cat, writesToATerminalOnlyWhenItIsAsked)
{
    if (run("script -qec true /dev/null </dev/null") != 0)
        GTEST_SKIP() << "There is no pseudo-terminal";
    writeFrame(1, 'x');
    EXPECT_EQ(run("script -qec \"'" PROGRAM "' cat s.1.zeq\" /dev/null </dev/null"), 2);
    EXPECT_EQ(output,
              "zeq: pictures are not written to a terminal; pipe them into a program, or "
              "use --force\r\n");
    EXPECT_EQ(run("script -qec \"'" PROGRAM "' cat --force s.1.zeq\" /dev/null </dev/null"), 0);
    EXPECT_THAT(output, EndsWith("xxx"));
}
