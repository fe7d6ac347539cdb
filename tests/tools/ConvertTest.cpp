#include "tests/tools/ProgramTest.h"

#include <array>
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

// Also the place of a part in its picture.
TEST_F(Convert, turnsPicturesUpright)
{
    const std::vector<float> samples = {0, 0.2f, 0.4f, 0.6f, 0.8f, 1};
    std::vector<float> whole(8 * 6);
    for (std::size_t sample = 0; sample < samples.size(); ++sample)
        whole[(1 + sample / 3) * 8 + 4 + sample % 3] = samples[sample];
    // The places of the samples, from the left to the right and down.
    const std::array<Name, 8> orders = {"012345", "210543", "543210", "345012",
                                        "031425", "304152", "524130", "251403"};
    for (int orientation = 1; orientation <= 8; ++orientation) {
        const auto write = [&](const Name& file, OIIO::ImageSpec description, const auto& values) {
            description["Orientation"] = orientation;
            writePicture(file, description, values);
        };
        for (const Name file : {"a.tif", "a.jpg"}) {
            write(file, {3, 2, 1, TypeDesc::UINT8}, samples);
            runWell("zeq convert " + file + " b.png");
            const auto [description, turned] = readPicture("b.png");
            EXPECT_EQ(description.width, orientation < 5 ? 3 : 2) << file << orientation;
            ASSERT_EQ(turned.size(), 18u);
            for (std::size_t place = 0; const char sample : orders.at(orientation - 1))
                EXPECT_NEAR(turned[3 * place++], samples[sample - '0'], 0.01)
                    << file << orientation;
        }
        OIIO::ImageSpec part(3, 2, 1, TypeDesc::FLOAT);
        part.x = 4;
        part.y = 1;
        part.full_width = 8;
        part.full_height = 6;
        write("part.exr", part, samples);
        write("whole.exr", {8, 6, 1, TypeDesc::FLOAT}, whole);
        runWell("zeq convert part.exr whole.exr o/ --to png --depth 16");
        const auto ofPart = readPicture("o/part.png");
        EXPECT_EQ(ofPart.second, readPicture("o/whole.png").second) << orientation;
        EXPECT_EQ(ofPart.first.height, orientation < 5 ? 6 : 8);
    }
}

// In every kind and depth, by values between its codes.
TEST_F(Convert, roundsToTheNearestCode)
{
    constexpr int width = 4096;
    std::vector<float> samples;
    for (int sample = 0; sample < 3 * width; ++sample)
        samples.push_back(static_cast<float>(sample) / (3 * width - 1));
    writePicture("a.exr", {width, 1, 3, TypeDesc::FLOAT}, samples);
    const std::pair<Name, int> cases[] = {{"dpx", 8}, {"dpx", 10}, {"dpx", 12}, {"dpx", 16},
                                          {"png", 8}, {"png", 16}, {"tif", 8},  {"tif", 16},
                                          {"tga", 8}, {"bmp", 8}};
    for (const auto& [kind, bits] : cases) {
        const auto file = "a." + kind;
        runWell("zeq convert a.exr " + file + " --depth " + std::to_string(bits));
        const auto stored = readPicture(file).second;
        ASSERT_EQ(stored.size(), samples.size());
        const auto largestCode = static_cast<float>((1 << bits) - 1);
        float furthest = 0;
        for (std::size_t sample = 0; sample < samples.size(); ++sample)
            furthest = std::max(furthest, std::abs(stored[sample] - samples[sample]) * largestCode);
        // OpenImageIO takes 10 and 12 bits for 16 by repeating them.
        EXPECT_LE(furthest, bits % 8 ? 0.56f : 0.51f) << kind << bits;
    }
}

// By how much, and of which channel; what lies outside the window does not count.
TEST_F(Convert, saysOnceAFileWhatItsOutputCannotHold)
{
    OIIO::ImageSpec inWindow(2, 2, 4, TypeDesc::FLOAT);
    inWindow.full_width = inWindow.full_height = 2;
    inWindow.x = -1;
    writePicture("a.exr", inWindow, {9, 9, 9, 9, 2, 0.5f, 0, 1, 9, 9, 9, 9, 1, 1, -0.5f, 3});
    writePicture("b.exr", {1, 1, 3, TypeDesc::HALF}, {1, 0, 0.5f});
    writePicture("c.exr", {1, 1, 3, TypeDesc::FLOAT}, {1, NAN, 0.5f});
    writePicture("d.exr", {40, 30, 3, TypeDesc::FLOAT}, std::vector<float>(3600, 0.5f));
    auto samples = std::vector<float>(3600, 0.5f);
    samples[1] = HUGE_VALF;
    writePicture("e.exr", {40, 30, 3, TypeDesc::FLOAT}, samples);
    writePicture("f.png", {2, 1, 4, TypeDesc::UINT8}, {1, 0, 0, 1, 0, 1, 0, 1});
    writePicture("g.png", {2, 1, 4, TypeDesc::UINT8}, {1, 0, 0, 1, 0, 1, 0, 0.5f});
    const Name accepted = " (--clip accepts that)\n";
    const std::tuple<Name, Name> cases[] = {
        // clang-format off
        {"a.exr o.zeq",                "a.exr: 18.8 % of the samples were cut off at 0 and 1, up to 3 in alpha, down to -0.5 in blue"},
        {"a.exr o.zeq -f RGB-U8 -q",   "a.exr: 16.7 % of the samples were cut off at 0 and 1, up to 2 in red, down to -0.5 in blue; alpha was dropped"},
        {"a.exr o.png -d 16",          "a.exr: 18.8 % of the samples were cut off at 0 and 1, up to 3 in alpha, down to -0.5 in blue"},
        {"a.exr o.jpg -d 8 --scale .5", "a.exr: 8.3 % of the samples were cut off at 0 and 1, down to -0.25 in blue; alpha was dropped"},
        {"a.exr o.jpg -d 8 --clip",    ""},
        {"a.exr o.exr",                ""},
        {"a.exr o.tif",                ""},
        {"b.exr o.png -d 8",            ""},
        {"b.exr o.png -d 8 --exposure 1",   "b.exr: 33.3 % of the samples were cut off at 0 and 1, up to 2 in red"},
        {"c.exr o.png -d 8",                "c.exr: 33.3 % of the samples were no numbers and became 0"},
        {"e.exr o.zeq",                "e.exr: less than 0.1 % of the samples were cut off at 0 and 1, up to inf in green"},
        {"f.png o.zeq -f RGB-U8",      ""},
        {"g.png o.zeq -f RGB-U8",      "g.png: alpha was dropped"},
        {"$samples/coffee.rgba-u8.zeq o.zeq -f BGRA-U8", ""},
        // clang-format on
    };
    for (const auto& [arguments, text] : cases) {
        runWell("zeq convert " + arguments);
        EXPECT_EQ(errors, text.empty() ? "" : "zeq: " + text + accepted) << arguments;
    }
    runWell("zeq convert --to png -d 16 [bde].exr o/ --scale 3");
    EXPECT_EQ(std::ranges::count(errors, '\n'), 3) << errors;
}

// Wherever they stand: OpenImageIO sorts some, and the others lie apart.
TEST_F(Convert, takesChannelsByTheirNames)
{
    using Names = std::vector<Name>;
    const auto write = [this](const Name& file, const Names& names) {
        OIIO::ImageSpec description(3, 2, static_cast<int>(names.size()), TypeDesc::FLOAT);
        description.channelnames = names;
        std::vector<float> samples;
        for (int pixel = 0; pixel < 6; ++pixel)
            for (std::size_t channel = 0; channel < names.size(); ++channel)
                samples.push_back(static_cast<float>(10 * (channel + 1)) / 255);
        writePicture(file, description, samples);
    };
    const std::tuple<Names, Name, Name, Name> cases[] = {
        // clang-format off
        // channels                                  option          a pixel             left out
        {{"R", "G", "B", "Z"},                       "",             "\x0A\x14\x1E\xFF", "Z"},
        {{"B", "G", "R"},                            "",             "\x1E\x14\x0A\xFF", ""},
        {{"A", "Z", "B", "u", "G", "v", "R"},        "",             "\x46\x32\x1E\x0A", "Z, u, v"},
        {{"Y"},                                      "",             "\x0A\x0A\x0A\xFF", ""},
        {{"A", "Y"},                                 "",             "\x14\x14\x14\x0A", ""},
        {{"x.R", "x.G", "x.B", "x.A", "z.Z"},        "",             "\x0A\x14\x1E\x28", "z.Z"},
        {{"R", "G", "B", "x.R", "x.G", "x.B"},       "",             "\x0A\x14\x1E\xFF", "x.R, x.G, x.B"},
        {{"R", "G", "B", "A", "x.y.R", "x.y.G", "x.y.B"}, "--layer x.y", "\x32\x3C\x46\xFF", "R, G, B, A"},
        {{"a.red", "a.green", "a.blue", "b.Y"},      "--layer b",    "\x28\x28\x28\xFF", "a.red, a.green, a.blue"},
        // clang-format on
    };
    for (const auto& [names, option, pixel, leftOut] : cases) {
        write("a.exr", names);
        runWell("zeq convert a.exr a.zeq -f rgba-u8 " + option);
        EXPECT_EQ(frameData("a.zeq").substr(0, 8), pixel + pixel) << names.front() << option;
        for (const auto& name : {Name("Z"), Name("u, v"), leftOut})
            EXPECT_EQ(errors.find(name) != Name::npos, leftOut.find(name) != Name::npos) << errors;
    }
    const std::tuple<Names, Name, Name> refused[] = {
        // clang-format off
        {{"u", "v"},                        "", "has the channels u, v: no R, G, B and no Y"},
        {{"R", "G"},                        "", "has the channels R, G: no R, G, B and no Y"},
        {{"a.R", "a.G", "a.B", "b.Y", "Z"}, "", "has the layers a, b; choose one with --layer"},
        {{"R", "G", "B", "a.R", "a.G"},     "--layer a", "has the channels R, G, B, a.R, a.G: no R, G, B and no Y in a layer a"},
        // clang-format on
    };
    for (const auto& [names, option, text] : refused) {
        write("a.exr", names);
        EXPECT_EQ(run("zeq convert a.exr b.zeq " + option), 1);
        EXPECT_EQ(errors, "zeq: a.exr: " + text + "\n");
    }
    // A layer may be a part of its own.
    runWell(
        "oiiotool --create 2x1 3 --fill:color=1,0,0 2x1 --attrib oiio:subimagename main "
        "--create 2x1 3 --fill:color=0,1,0 2x1 --attrib oiio:subimagename glow --siappend "
        "-d half -o a.exr && zeq convert a.exr a.zeq -f rgb-u8 --layer glow && "
        "zeq convert a.exr b.zeq -f rgb-u8");
    EXPECT_EQ(frameData("a.zeq"), Name("\0\xFF\0\0\xFF\0", 6));
    EXPECT_EQ(frameData("b.zeq"), Name("\xFF\0\0\xFF\0\0", 6));
}

// By default values stay as they are, so that both ways are exact.
TEST_F(Convert, multipliesAndDividesByAlphaInExrFilesWhenItIsAsked)
{
    const std::vector<float> premultiplied = {0.25f, 0.5f, 0, 0.5f, 0.75f, 0, 0.25f, 0,
                                              0.25f, 1,    0, 0.5f, 1,     1, 1,     1};
    writePicture("a.exr", {4, 1, 4, TypeDesc::FLOAT}, premultiplied);
    runWell(
        "zeq convert a.exr a.zeq -f rgba-u8 --premultiplied && "
        "zeq convert a.zeq b.exr --premultiplied && zeq convert a.exr c.exr --premultiplied && "
        "zeq convert a.zeq d.exr && zeq convert a.exr d.zeq -f rgba-u8");
    const Name divided = {'\x80', '\xFF', 0, '\x80', '\xBF', 0, '\x40', 0};
    EXPECT_THAT(frameData("a.zeq"), StartsWith(divided));
    EXPECT_THAT(frameData("d.zeq"), StartsWith("\x40\x80"));
    // The third colour is more than its alpha, and the second has none.
    const float half = 128 / 255.f;
    const std::vector<float> multiplied = {half * half, half, 0, half, 0, 0, 0, 0,
                                           half * half, half, 0, half, 1, 1, 1, 1};
    EXPECT_THAT(readPicture("b.exr").second, Pointwise(FloatNear(1e-6f), multiplied));
    EXPECT_EQ(readPicture("c.exr").second, premultiplied);
    EXPECT_FLOAT_EQ(readPicture("d.exr").second[1], 1);
}

// Alpha stays as it is, and whole numbers are multiplied as well.
TEST_F(Convert, multipliesColoursBeforeTheyAreRounded)
{
    writePicture("a.exr", {1, 1, 4, TypeDesc::FLOAT}, {4, 2, 0.5f, 0.5f});
    runWell(
        "zeq convert a.exr a.zeq -f rgba-u8 --exposure -2 && "
        "zeq convert a.zeq b.zeq -f rgba-u8 --scale 0.5 && "
        "zeq convert a.zeq c.exr --scale 4 --exposure=-.5");
    EXPECT_EQ(frameData("a.zeq"), "\xFF\x80\x20\x80");
    EXPECT_EQ(frameData("b.zeq"), "\x80\x40\x10\x80");
    const float factor = 4 * std::sqrt(0.5f);
    EXPECT_THAT(
        readPicture("c.exr").second,
        Pointwise(FloatNear(1e-4f), {factor, factor * 128 / 255, factor * 32 / 255, 128 / 255.f}));
}

TEST_F(Convert, goesOnWithTheOtherFramesAndFinishesLater)
{
    runWell("for n in 1 2 4; do cp $samples/coffee.rgb-u8.zeq s.000$n.zeq; done");
    fs::resize_file(folder.file("s.0002.zeq"), 1000);
    writeFile(folder.file("t.01.png"), "kept");
    EXPECT_EQ(run("zeq convert -j1 --skip-existing --frames 1-4x3,2,9 s.%04d.zeq t.##.png"), 1);
    EXPECT_EQ(errors,
              "zeq: s.0002.zeq: Media file has unexpectedly reached End-Of-File\n"
              "zeq: s.0009.zeq: Failed to open file\n");
    EXPECT_EQ(output, "s.0004.zeq -> t.04.png\n1 converted, 1 skipped, 2 failed\n");
    EXPECT_EQ(folder.content("t.01.png"), "kept");
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
