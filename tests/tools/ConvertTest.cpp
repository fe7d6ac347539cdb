#include "tests/tools/ToolTest.h"

#include <sys/types.h>
#include <unistd.h>

#include <cmath>
#include <csignal>
#include <limits>

using namespace testing;

namespace {

class Convert : public ToolTest
{
protected:
    static std::string sample(const std::string& format)
    {
        return SAMPLES "/coffee." + format + ".zeq";
    }

    void copySample(const std::string& format, const std::string& name)
    {
        std::filesystem::copy(sample(format), path(name));
    }

    // What follows the header, which may have an extension.
    static std::string dataOf(const std::string& media)
    {
        return media.substr(media[6] > 1 ? 48 : 28);
    }

    std::string sampleData(const std::string& format) const
    {
        return dataOf(bytes(sample(format)));
    }
};

}

// Formats that keep each pixel's colours come back as they were from every file that can hold them.
TEST_F(Convert, bringsPicturesBackToTheBit)
{
    const std::vector<std::string> formats{"rgb-u8",         "bgr-u8",         "rgba-u8",
                                           "bgra-u8",        "rgb-dpx-filled", "bgr-dpx-filled",
                                           "rgb-smpte-2110", "bgr-smpte-2110"};
    for (std::size_t frame = 0; frame < formats.size(); ++frame)
        copySample(formats[frame], "s." + std::to_string(frame) + ".zeq");
    for (const std::string kind : {"png", "exr", "tif", "dpx"})
        EXPECT_EQ(run("zeq convert -q s.#.zeq " + kind + ".#." + kind), 0) << errors;
    for (std::size_t frame = 0; frame < formats.size(); ++frame) {
        const auto number = std::to_string(frame);
        EXPECT_EQ(
            run("zeq convert -q --format " + formats[frame] + " *." + number + ".[petd]* back/"), 0)
            << errors;
        for (const std::string kind : {"png", "exr", "tif", "dpx"})
            EXPECT_EQ(dataOf(bytes("back/" + kind + "." + number + ".zeq")),
                      sampleData(formats[frame]))
                << formats[frame] << " by " << kind;
    }
}

TEST_F(Convert, storesPicturesInTheDepthOfTheirData)
{
    struct Case
    {
        std::string format;
        std::string file;
        OIIO::TypeDesc type;
        int bits;
        int channels;
    };
    const std::vector<Case> cases{
        {"zeq-420", "a.png", OIIO::TypeDesc::UINT8, 0, 3},
        {"zeq-422", "a.png", OIIO::TypeDesc::UINT16, 0, 3},
        {"zeq-422", "a.dpx", OIIO::TypeDesc::UINT16, 10, 3},
        {"zeq-4224-hybrid", "a.dpx", OIIO::TypeDesc::UINT16, 12, 4},
        {"zeq-4224-hybrid", "a.tif", OIIO::TypeDesc::UINT16, 16, 4},
        {"bgra-u8", "a.exr", OIIO::TypeDesc::FLOAT, 0, 4},
        {"bgra-u8", "a.jpg", OIIO::TypeDesc::UINT8, 0, 3},
        {"zeq-422", "a.exr --depth half", OIIO::TypeDesc::HALF, 0, 3},
        {"zeq-422", "a.png --depth 8", OIIO::TypeDesc::UINT8, 0, 3},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(run("zeq convert '" + sample(each.format) + "' " + each.file), 0) << errors;
        const auto stored = readPicture(each.file.substr(0, 5)).description;
        EXPECT_EQ(stored.format, each.type) << each.format << " to " << each.file;
        EXPECT_EQ(stored.nchannels, each.channels) << each.format << " to " << each.file;
        EXPECT_EQ(stored.get_int_attribute("oiio:BitsPerSample"), each.bits) << each.file;
    }
}

TEST_F(Convert, choosesAMediaFormatThatHoldsThePicture)
{
    using OIIO::TypeDesc;
    const std::vector<std::tuple<std::string, int, TypeDesc, std::string>> cases{
        {"a.png", 1, TypeDesc::UINT8, "RGB-U8"},
        {"a.png", 2, TypeDesc::UINT8, "RGBA-U8"},
        {"a.png", 3, TypeDesc::UINT16, "RGB-SMPTE-2110"},
        {"a.exr", 4, TypeDesc::HALF, "ZEQ-4224-HYBRID"},
        {"a.exr", 3, TypeDesc::FLOAT, "RGB-SMPTE-2110"},
    };
    for (const auto& [file, channels, type, format] : cases) {
        writePicture(file, {2, 1, channels, type}, std::vector<float>(8, 0.5f));
        EXPECT_EQ(run("zeq convert " + file + " a.zeq && zeq info a.zeq"), 0) << errors;
        EXPECT_THAT(output, HasSubstr("format: " + format + "\n"));
    }
    EXPECT_EQ(run("zeq convert '" + sample("zeq-422") +
                  "' a.dpx && zeq convert a.dpx a.zeq && "
                  "zeq info a.zeq"),
              0);
    EXPECT_THAT(output, HasSubstr("format: RGB-DPX-FILLED\n"));
}

TEST_F(Convert, takesGreysAlphaAndStrangeNumbersAsTheyAre)
{
    constexpr float infinity = std::numeric_limits<float>::infinity();
    constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();
    struct Case
    {
        std::vector<float> pixel;
        std::string format;
        std::string data;
    };
    const std::vector<Case> cases{
        {{0.2f}, "RGB-U8", {51, 51, 51}},
        {{0.2f, 0.4f}, "BGRA-U8", {51, 51, 51, 102}},
        {{0.2f, 0.4f, 0.6f, 0.f}, "RGBA-U8", {51, 102, '\x99', 0}},
        {{0.2f, 0.4f, 0.6f}, "RGBA-U8", {51, 102, '\x99', '\xFF'}},
        {{notANumber, infinity, -infinity}, "RGB-U8", {0, '\xFF', 0}},
        {{1e30f, -1e30f, 1.01f}, "RGB-U8", {'\xFF', 0, '\xFF'}},
        {{notANumber, infinity, -infinity}, "RGB-DPX-FILLED", {0, '\xF0', 0x3F, 0}},
    };
    for (const auto& [pixel, format, data] : cases) {
        writePicture("a.exr", {1, 1, static_cast<int>(pixel.size()), OIIO::TypeDesc::FLOAT}, pixel);
        EXPECT_EQ(run("zeq convert a.exr a.zeq --format " + format), 0) << errors;
        EXPECT_EQ(frameData("a.zeq"), data) << format;
    }
}

// Hosts show what lies in the picture's window; what no pixel is stored for is 0.
TEST_F(Convert, keepsToThePicturesWindow)
{
    OIIO::ImageSpec cropped(2, 1, 3, OIIO::TypeDesc::FLOAT);
    cropped.x = 1;
    cropped.full_width = cropped.full_height = 2;
    cropped.y = 1;
    writePicture("a.exr", cropped, {1, 0, 1, 0.2f, 0.2f, 0.2f});
    EXPECT_EQ(run("zeq convert a.exr a.zeq --format RGB-U8"), 0) << errors;
    EXPECT_EQ(frameData("a.zeq"), std::string(9, '\0') + std::string("\xFF\0\xFF", 3));

    auto file = MediaFileBytes::picture(0x200, 3, 1, "abcdef");
    file.frameWidth = 2;
    write("b.zeq", file);
    EXPECT_EQ(run("zeq convert b.zeq b.png"), 0) << errors;
    const auto shown = readPicture("b.png");
    EXPECT_EQ(shown.description.width, 3);
    EXPECT_THAT(std::vector(shown.samples.begin() + 6, shown.samples.end()), Each(0.f));
}

TEST_F(Convert, keepsWhatAMediaFileSaysBesideItsFrame)
{
    auto file = MediaFileBytes::picture(0x200, 3, 1, "abcdef");
    file.magic = "zeqZ";
    file.headerByte3 = 9;
    file.frameField1 = 0x1234;
    file.frameWidth = 2;
    write("a.zeq", file);
    EXPECT_EQ(run("zeq convert a.zeq b.zeq --format bgr-u8"), 0) << errors;
    EXPECT_EQ(frameData("b.zeq"), "cbafed");
    file.mediaFormatCode = 0x202;
    const auto same = [](std::string bytes) {
        for (const auto reserved : {14u, 15u, 18u, 19u, 26u, 27u})
            bytes[reserved] = 0;
        return bytes.substr(0, 28);
    };
    EXPECT_EQ(same(bytes("b.zeq")), same(file.bytes()));
}

TEST_F(Convert, refusesWhatDoesNotFitInOneLine)
{
    using OIIO::TypeDesc;
    writePicture("odd.png", {3, 2, 3, TypeDesc::UINT8}, std::vector<float>(18));
    writePicture("low.png", {4, 1, 3, TypeDesc::UINT8}, std::vector<float>(12));
    writePicture("wide.png", {65536, 1, 1, TypeDesc::UINT8}, std::vector<float>(65536));
    writePicture("five.exr", {1, 1, 5, TypeDesc::FLOAT}, std::vector<float>(5));
    std::ofstream(path("text.png")) << "text";
    const std::vector<std::pair<std::string, std::string>> cases{
        {"odd.png o.zeq -f zeq-422", "odd.png: is 3 pixels wide; ZEQ-422 needs a multiple of 2"},
        {"low.png o.zeq -f zeq-420", "low.png: is 1 pixels high; ZEQ-420 needs a multiple of 2"},
        {"wide.png o.zeq", "wide.png: is 65536 pixels wide; a media file holds at most 65535"},
        {"five.exr o.zeq",
         "five.exr: has 5 channels; grey, grey with alpha, RGB and RGBA can be read"},
        {"missing.png o.zeq", "missing.png: No such file"},
        {"missing.zeq o.png", "missing.zeq: Failed to open file"},
    };
    for (const auto& [arguments, text] : cases) {
        EXPECT_EQ(run("zeq convert " + arguments), 1) << arguments;
        EXPECT_EQ(errors, "zeq: " + text + "\n");
    }
    EXPECT_EQ(run("zeq convert text.png o.zeq"), 1);
    EXPECT_THAT(errors, MatchesRegex("zeq: text.png: [^\n]+\n"));
    EXPECT_FALSE(files().contains("o.zeq") || files().contains("o.png"));
}

TEST_F(Convert, goesOnWithTheOtherFramesAndFinishesLater)
{
    for (const auto* name : {"s.0001.zeq", "s.0002.zeq", "s.0004.zeq"})
        copySample("rgb-u8", name);
    std::filesystem::resize_file(path("s.0002.zeq"), 1000);
    EXPECT_EQ(run("zeq convert s.####.zeq t.##.png"), 1);
    EXPECT_EQ(errors, "zeq: s.0002.zeq: Media file has unexpectedly reached End-Of-File\n");
    EXPECT_THAT(output, EndsWith("2 converted, 0 skipped, 1 failed\n"));
    EXPECT_THAT(files(), IsSupersetOf({"t.01.png", "t.04.png"}));

    std::filesystem::remove(path("t.04.png"));
    writeFile(path("t.01.png"), "kept");
    EXPECT_EQ(run("zeq convert --skip-existing --frames 1-4x3,9 s.%04d.zeq t.##.png"), 1);
    EXPECT_EQ(errors, "zeq: s.0009.zeq: Failed to open file\n");
    EXPECT_EQ(output, "s.0004.zeq -> t.04.png\n1 converted, 1 skipped, 1 failed\n");
    EXPECT_EQ(bytes("t.01.png"), "kept");
}

// What was there stays when the new file cannot be written whole.
TEST_F(Convert, leavesNothingHalfWrittenOnAFullDisk)
{
    copySample("rgb-u8", "a.zeq");
    for (const std::string file : {"o.png", "o.jpg", "o.exr", "o.tif", "o.dpx", "o.zeq"}) {
        writeFile(path(file), "old");
        EXPECT_EQ(run("ulimit -f 8; zeq convert a.zeq " + file), 1) << file;
        EXPECT_THAT(errors, EndsWith("File too large\n")) << file;
        EXPECT_EQ(bytes(file), "old");
        EXPECT_THAT(files(), UnorderedElementsAre("a.zeq", file));
        std::filesystem::remove(path(file));
    }
}

TEST_F(Convert, leavesNothingHalfWrittenWhenItIsEnded)
{
    constexpr int count = 60;
    for (int frame = 0; frame < count; ++frame)
        copySample("zeq-422", "s." + std::to_string(frame) + ".zeq");
    for (const int signal : {SIGINT, SIGTERM}) {
        std::filesystem::remove_all(path("out"));
        std::filesystem::create_directory(path("out"));
        const pid_t child = ::fork();
        if (child == 0) {
            std::filesystem::current_path(path("."));
            ::execl(ZEQ, "zeq", "convert", "-q", "--to", "exr", "s.#.zeq", "out", nullptr);
            ::_exit(3);
        }
        int status = 0;
        while (!files("out").contains("s.1.exr"))
            ASSERT_EQ(::waitpid(child, &status, WNOHANG), 0) << "it ended early";
        ::kill(child, signal);
        ::waitpid(child, &status, 0);
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == signal) << status;
        for (const auto& file : files("out"))
            EXPECT_EQ(readPicture("out/" + file).samples.size(), 300u * 200 * 3) << file;
    }
    EXPECT_LT(files("out").size(), std::size_t{count});
    EXPECT_EQ(run("zeq convert -q --skip-existing --to exr s.#.zeq out"), 0) << errors;
    EXPECT_EQ(files("out").size(), std::size_t{count});
}
