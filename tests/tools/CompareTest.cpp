#include "tests/tools/ProgramTest.h"

#include <OpenImageIO/imagebufalgo.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <random>
#include <tuple>

using namespace testing;
using OIIO::TypeDesc;
using Name = std::string;

struct Compare : ProgramTest
{
    // Pixels of one colour each.
    void write(const Name& file, TypeDesc type, std::vector<float> samples, int channels = 3)
    {
        const int width = static_cast<int>(samples.size()) / channels;
        writePicture(file, {width, 1, channels, type}, samples);
    }
    nlohmann::json compared(const Name& arguments)
    {
        run("zeq compare --json " + arguments);
        return nlohmann::json::parse(output);
    }
};

TEST_F(Compare, givesTheFiguresThatOtherToolsGive)
{
    constexpr int width = 90, height = 70;
    std::minstd_rand random;
    std::uniform_real_distribution<float> value(-0.1f, 1.7f);
    for (const int channels : {3, 4}) {
        const auto suffix = std::to_string(channels) + ".exr";
        const Name files[] = {"a" + suffix, "b" + suffix};
        for (const auto& file : files) {
            std::vector<float> samples(static_cast<std::size_t>(width * height * channels));
            std::ranges::generate(samples, [&] { return value(random); });
            writePicture(file, {width, height, channels, TypeDesc::FLOAT}, samples);
        }
        const auto json = compared(files[0] + " " + files[1]);
        const OIIO::ImageBuf a(folder.file(files[0])), b(folder.file(files[1]));
        const auto expectFigures = [&](const nlohmann::json& figures, int first, int end) {
            const auto expected = OIIO::ImageBufAlgo::compare(
                a, b, 0, 0, OIIO::ROI(0, width, 0, height, 0, 1, first, end));
            const auto isNear = [](double number) { return DoubleNear(number, number * 5e-7); };
            EXPECT_THAT(figures["largest"].get<double>(), isNear(expected.maxerror));
            EXPECT_THAT(figures["mean"].get<double>(), isNear(expected.meanerror));
            EXPECT_THAT(figures["rms"].get<double>(), isNear(expected.rms_error));
            EXPECT_THAT(figures["psnr"].get<double>(), isNear(expected.PSNR));
            return expected;
        };
        const std::vector<Name> names = {"red", "green", "blue", "alpha"};
        ASSERT_EQ(json["channels"].size(), channels);
        for (int channel = 0; channel < channels; ++channel)
            expectFigures(json["channels"][names[channel]], channel, channel + 1);
        const auto all = expectFigures(json["all"], 0, channels);
        const auto& worst = json["pairs"][0]["worst"];
        EXPECT_EQ(worst["column"], all.maxx);
        EXPECT_EQ(worst["row"], all.maxy);
        EXPECT_EQ(worst["channel"], names[all.maxc]);
        EXPECT_EQ(worst["value"][1], a.getchannel(all.maxx, all.maxy, 0, 1));
        EXPECT_EQ(worst["otherValue"][1], b.getchannel(all.maxx, all.maxy, 0, 1));
    }
}

TEST_F(Compare, saysHowFarPicturesOfAnyKindAreFromEachOther)
{
    write("a.png", TypeDesc::UINT8, {0, 0, 0, 1, 0.2f, 0.4f});
    writeFile(folder.file("b.zeq"),
              MediaFileBytes::picture(0x200, 2, 1, {0, 0, 0, '\xFF', 51, 82}).bytes());
    const Name figures =
        "channel      largest         mean          RMS     PSNR, dB\n"
        "red                0            0            0          inf\n"
        "green              0            0            0          inf\n"
        "blue       0.0784314    0.0392157    0.0554594      25.1205\n"
        "all        0.0784314    0.0130719    0.0320195      29.8917\n"
        "worst pixel: 1, 0, blue: 1 0.2 0.4 and 1 0.2 0.321569\n";
    EXPECT_EQ(run("zeq compare a.png b.zeq"), 1);
    EXPECT_EQ(output, "a.png, b.zeq: 2 x 1 pixels\n" + figures + "different\n");
    EXPECT_EQ(run("zeq compare a.png b.zeq -t 0.0784"), 1);
    EXPECT_THAT(output, EndsWith("beyond the tolerance of 0.0784\n"));
    runWell("zeq compare a.png b.zeq --tolerance 8e-2");
    EXPECT_THAT(output, EndsWith("within the tolerance of 0.08\n"));
    EXPECT_EQ(run("zeq compare -q a.png b.zeq; zeq compare b.zeq b.zeq"), 0);
    EXPECT_THAT(output,
                AllOf(StartsWith("b.zeq, b.zeq: "), EndsWith("worst pixel: none\nequal\n")));
}

// An opaque picture is the same with and without alpha.
TEST_F(Compare, takesAPictureWithoutAlphaForOpaque)
{
    write("a.png", TypeDesc::UINT8, {0, 1, 0, 1}, 4);
    write("b.png", TypeDesc::UINT8, {0, 1, 0});
    runWell("zeq compare a.png b.png");
    EXPECT_THAT(output,
                HasSubstr("\nalpha: only a.png has alpha; b.png counts as opaque\nequal\n"));
    write("a.png", TypeDesc::UINT8, {0, 1, 0, 0.2f}, 4);
    EXPECT_EQ(run("zeq compare b.png a.png"), 1);
    EXPECT_THAT(output, HasSubstr("\nworst pixel: 0, 0, alpha: 0 1 0 1 and 0 1 0 0.2\nalpha: only "
                                  "a.png has alpha; b.png counts as opaque\ndifferent\n"));
}

TEST_F(Compare, takesWhatIsNoNumberForInfinitelyFar)
{
    constexpr float infinity = HUGE_VALF, notANumber = NAN;
    write("a.exr", TypeDesc::FLOAT, {notANumber, infinity, -infinity});
    runWell("zeq compare a.exr a.exr");
    write("b.exr", TypeDesc::FLOAT, {notANumber, -infinity, -infinity});
    EXPECT_EQ(run("zeq compare a.exr b.exr -t 1e300 -o heat.png"), 1);
    EXPECT_THAT(output, HasSubstr("\nred                0            0            0          inf\n"
                                  "green            inf          inf          inf         -inf\n"));
    EXPECT_EQ(compared("a.exr b.exr")["pairs"][0]["worst"]["value"],
              (nlohmann::json{"nan", "inf", "-inf"}));
    const auto heat = readPicture("heat.png").second;
    EXPECT_THAT(std::vector(heat.begin(), heat.begin() + 3), ElementsAre(0, 1, 1));
}

TEST_F(Compare, saysWhatAFormatLoses)
{
    runWell(
        "cp $samples/coffee.rgba-u8.zeq a.zeq; zeq convert a.zeq a.exr; "
        "zeq compare a.exr --against RGBA-U8 && zeq compare a.zeq --against bgra-u8");
    for (const Name format : {"YUYV-422", "ZEQ-420", "ZEQ-422", "RGB-DPX-FILLED", "BGR-SMPTE-2110",
                              "ZEQ-4224-HYBRID", "YCoCg-DXT5", "RGB-U8"}) {
        runWell("zeq convert -q -f " + format + " a.zeq b.zeq");
        const Name file = format == "ZEQ-420" ? "a.exr" : "a.zeq";
        const auto figures = compared(file + " --against " + format);
        EXPECT_EQ(figures["channels"], compared(file + " b.zeq")["channels"]) << format;
        EXPECT_GT(figures["all"]["largest"], 0) << format;
    }
}

TEST_F(Compare, comparesSequencesByTheirNumbers)
{
    for (const int frame : {1, 2, 4, 5})
        write("a." + std::to_string(frame) + ".png", TypeDesc::UINT8, {0, 0.2f, 1});
    for (const int frame : {2, 3, 4, 5})
        write("b.00" + std::to_string(frame) + ".tif", TypeDesc::UINT8,
              {0, frame == 4 ? 0.6f : 0.2f, 1});
    std::filesystem::resize_file(folder.file("b.005.tif"), 20);
    EXPECT_EQ(run("zeq compare -j1 a.#.png b.%03d.tif -o heat/"), 1);
    EXPECT_THAT(errors, AllOf(StartsWith("zeq: b.001.tif: is missing, a.1.png has no counterpart\n"
                                         "zeq: a.3.png: is missing, b.003.tif has no counterpart\n"
                                         "zeq: b.005.tif: "),
                              Not(HasSubstr("a.5.png"))));
    EXPECT_THAT(output,
                AllOf(StartsWith("a.2.png, b.002.tif: largest 0, mean 0, RMS 0, PSNR inf dB, worst "
                                 "pixel none\na.4.png, b.004.tif: largest 0.4, "),
                      HasSubstr("\ngreen            0.4          0.2 "),
                      EndsWith("\nworst pixel: a.4.png, 0, 0, green: 0 0.2 1 and 0 0.6 1\n"
                               "5 pairs: 1 equal, 1 different, 3 failed\n")));
    EXPECT_THAT(folder.files("heat"), ElementsAre("a.2.png", "a.4.png"));
    const auto json = compared("a.#.png b.%03d.tif --frames 1-2,9");
    EXPECT_EQ(json["pairs"][0]["problem"], "b.001.tif: is missing, a.1.png has no counterpart");
    EXPECT_EQ(json["pairs"][1]["withinTolerance"], true);
    EXPECT_EQ(json["pairs"][2]["problem"], "a.9.png: is missing, and so is b.009.tif");
    EXPECT_EQ(json["withinTolerance"], false);
}

// The scale, its largest value and the enlarged pixels, below which the legend is.
TEST_F(Compare, drawsAMapOfTheDifferences)
{
    write("a.exr", TypeDesc::FLOAT, {0, 0, 0, 0, 0, 0});
    write("b.exr", TypeDesc::FLOAT, {0, 0, 0, 0, 2, 1});
    EXPECT_EQ(run("zeq compare a.exr b.exr -o heat.png"), 1);
    const auto map = readPicture("heat.png");
    const auto& description = map.first;
    const auto& samples = map.second;
    ASSERT_EQ(description.width, 480);
    EXPECT_GT(description.height, 240 + 60);
    const auto brightness = [&](int column, int row) {
        const auto pixel = samples.begin() + (row * 480 + column) * 3;
        return std::accumulate(pixel, pixel + 3, 0.f);
    };
    for (const int row : {0, 120, 239}) {
        EXPECT_LT(brightness(239, row), 0.1f);
        EXPECT_GT(brightness(240, row), 2.f);
    }
    float before = -1;
    for (int column = 16; column < 460; column += 20) {
        EXPECT_GT(brightness(column, 240 + 20), before) << column;
        before = brightness(column, 240 + 20);
    }
    // The legend has letters.
    float brightest = 0;
    for (int row = 240 + 50; row < description.height; ++row)
        for (int column = 0; column < 200; ++column)
            brightest = std::max(brightest, brightness(column, row));
    EXPECT_GT(brightest, 2.f);

    EXPECT_EQ(run("ulimit -f 1; zeq compare a.exr b.exr -o heat.png"), 1);
    EXPECT_EQ(errors, "zeq: heat.png: File too large\n");
    EXPECT_EQ(readPicture("heat.png").second, samples);
}

TEST_F(Compare, refusesInOneLineWhatCannotBeCompared)
{
    write("a.png", TypeDesc::UINT8, {0, 0, 0});
    write("b.png", TypeDesc::UINT8, {0, 0, 0, 1, 1, 1});
    writeFile(folder.file("short.zeq"), MediaFileBytes::picture(0x200, 1, 1, "?").bytes());
    writeFile(folder.file("claim.zeq"),
              MediaFileBytes::picture(0x200, 30000, 30000, "short").bytes());
    const auto filesBefore = folder.files();
    const std::tuple<const char*, int, const char*> cases[] = {
        // clang-format off
        {"a.png",                            2, "A and B are required, or A with --against"},
        {"a.png b.png a.png",                2, "A and B are required, or A with --against"},
        {"a.png b.png --against RGB-U8",     2, "--against compares one A with what the format makes of it, without a B"},
        {"a.png b.#.png",                    1, "b.#.png: no frames found"},
        {"a.png b.png -t -1",                2, "--tolerance: -1 is no number from 0 on, like 0.01"},
        {"a.png b.png -t nan",               2, "--tolerance: nan is no number from 0 on, like 0.01"},
        {"a.png b.png -t 1/255",             2, "--tolerance: 1/255 is no number from 0 on, like 0.01"},
        {"a.png a.png -t ''",                2, "--tolerance:  is no number from 0 on, like 0.01"},
        {"a.png b.png -o heat.txt",          2, "heat.txt: files of this kind are not written"},
        {"a.png b.png -o ./b.png",           2, "the heat map would overwrite the input b.png"},
        {"a.png b.png",                      1, "a.png has 1 x 1 pixels, b.png has 2 x 1: they cannot be compared"},
        {"a.png gone.png -o heat.png",       1, "gone.png: No such file or directory"},
        {"gone.zeq a.png",                   1, "gone.zeq: Failed to open file: No such file or directory"},
        {"a.png short.zeq",                  1, "short.zeq: Media file has unexpectedly reached End-Of-File"},
        {"claim.zeq claim.zeq",              1, "claim.zeq: Media file has unexpectedly reached End-Of-File"},
        {"a.png --against ZEQ-422",          1, "a.png: is 1 pixel wide; ZEQ-422 needs a multiple of 2; RGB-DPX-FILLED takes any width"},
        // clang-format on
    };
    for (const auto& [arguments, status, text] : cases) {
        EXPECT_EQ(run(ADDRESS_SPACE_LIMIT "zeq compare " + Name(arguments)), status) << arguments;
        EXPECT_EQ(errors, Name("zeq: ") + text + "\n") << arguments;
        EXPECT_EQ(output, "") << arguments;
    }
    runWell("cp a.png s.1.png");
    EXPECT_EQ(run("zeq compare a.png s.#.png"), 2);
    EXPECT_EQ(errors, "zeq: s.#.png is a sequence and a.png is not\n");
    EXPECT_EQ(folder.files().size(), filesBefore.size() + 1);
}
