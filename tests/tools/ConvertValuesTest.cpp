#include "tests/tools/ProgramTest.h"

#include <array>
#include <cmath>
#include <tuple>

using namespace testing;
using OIIO::TypeDesc;
using Name = std::string;

// Which values come out of a conversion, and what is said of those that do not.
using ConvertValues = ProgramTest;

// Also the place of a part in its picture.
TEST_F(ConvertValues, turnsPicturesUpright)
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
TEST_F(ConvertValues, roundsToTheNearestCode)
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
TEST_F(ConvertValues, saysOnceAFileWhatItsOutputCannotHold)
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
TEST_F(ConvertValues, takesChannelsByTheirNames)
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
TEST_F(ConvertValues, multipliesAndDividesByAlphaInExrFilesWhenItIsAsked)
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
TEST_F(ConvertValues, multipliesColoursBeforeTheyAreRounded)
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
