#include "imaging/Lettering.h"
#include "imaging/SheetLayout.h"
#include "tests/tools/ProgramTest.h"

#include <opencv2/core.hpp>

#include <cmath>
#include <tuple>

using namespace testing;
using OIIO::TypeDesc;

using Name = std::string;
using Pixel = std::vector<float>;

struct Sheet : ProgramTest
{
    // A picture of one colour.
    void writePlain(const Name& file, const Pixel& colour, TypeDesc type = TypeDesc::UINT8)
    {
        OIIO::ImageSpec description(30, 20, static_cast<int>(colour.size()), type);
        std::vector<float> samples;
        for (int pixel = 0; pixel < 30 * 20; ++pixel)
            samples.insert(samples.end(), colour.begin(), colour.end());
        writePicture(file, description, samples);
    }

    // What is in the view with this number of a page, at its left end and below the top of its
    // place.
    Pixel viewPixel(const Name& page, int view, int columns, int height = 20, int below = 5) const
    {
        const auto [description, samples] = readPicture(page);
        const int row = 40 + view / columns * (height + 78) + below;
        const int column = 40 + view % columns * 248 + 5;
        const auto pixel = samples.begin() + (row * description.width + column) * 3;
        return {pixel, pixel + 3};
    }
};

MATCHER_P(isNearly, colour, "")
{
    return ExplainMatchResult(Pointwise(FloatNear(0.003f), colour), arg, result_listener);
}

TEST_F(Sheet, hasViewsInTheOrderOfTheFilesOnNumberedPages)
{
    const auto grey = [](int number) { return Pixel(3, static_cast<float>(number) / 10); };
    for (int number = 1; number <= 9; ++number)
        writePlain("c." + std::to_string(number) + ".png", grey(number));
    // The first takes longest.
    writePicture("c.1.png", {1200, 800, 3, TypeDesc::UINT8},
                 std::vector<float>(1200 * 800 * 3, 0.1f));
    runWell("zeq sheet -j4 --size 30 --columns 2 --rows 2 c.#.png -o s.png");
    EXPECT_EQ(output, "s.1.png: 4 files\ns.2.png: 4 files\ns.3.png: 1 file\n");
    for (int number = 1; number <= 9; ++number) {
        const auto page = "s." + std::to_string((number + 3) / 4) + ".png";
        EXPECT_THAT(viewPixel(page, (number - 1) % 4, 2), isNearly(grey(number))) << number;
    }
    EXPECT_EQ(readPicture("s.3.png").first.width, 2 * 40 + 220);

    runWell("zeq sheet -q --every 4 --columns 3 c.#.png -o t.##.jpg --size 30");
    EXPECT_EQ(output, "");
    for (const int view : {0, 1, 2})
        EXPECT_NEAR(viewPixel("t.01.jpg", view, 3)[0], grey(1 + 4 * view)[0], 0.02);
    EXPECT_EQ(run("cp c.1.png o.02.png; zeq sheet c.#.png o.02.png --rows 1 -o o.png"), 2);
    EXPECT_EQ(errors, "zeq: the sheet would overwrite the input o.02.png\n");
    EXPECT_FALSE(folder.files().contains("o.01.png"));
}

TEST_F(Sheet, hasThePlaceOfABadFile)
{
    writePlain("a.png", {1, 1, 1});
    runWell("cp a.png c.png; head -c 60 a.png >b.png; for n in 1 2; do echo >d$n.zeq; done");
    EXPECT_EQ(run("zeq sheet a.png b.png c.png d1.zeq -o s.png --columns 2"), 1);
    EXPECT_EQ(output, "s.png: 2 files, 2 failed\n");
    EXPECT_THAT(errors, AllOf(HasSubstr("zeq: b.png: "), HasSubstr("zeq: d1.zeq: Media file is ")));
    // A message is higher than these views.
    const auto [description, samples] = readPicture("s.png");
    EXPECT_THAT(viewPixel("s.png", 0, 2, 124, 114), isNearly(Pixel(3, 1)));
    EXPECT_THAT(viewPixel("s.png", 2, 2, 124, 114), isNearly(Pixel(3, 1)));
    for (const int view : {1, 3}) {
        EXPECT_THAT(viewPixel("s.png", view, 2, 124), isNearly(Pixel(3, 16 / 255.f)));
        EXPECT_THAT(viewPixel("s.png", view, 2, 124, -1),
                    isNearly(Pixel{176 / 255.f, 64 / 255.f, 56 / 255.f}));
    }

    // Without any picture there is nothing to show; with one, pages of messages alone come too.
    EXPECT_EQ(run("zeq sheet d1.zeq d2.zeq --columns 1 --rows 1 -o p.png"), 1);
    EXPECT_EQ(output, "");
    EXPECT_EQ(run("zeq sheet -j1 d1.zeq d2.zeq a.png --columns 1 --rows 1 -o p.png"), 1);
    EXPECT_EQ(output, "p.1.png: 0 files, 1 failed\np.2.png: 0 files, 1 failed\np.3.png: 1 file\n");
    EXPECT_THAT(folder.files(), IsSupersetOf({"p.1.png", "p.2.png", "p.3.png"}));
    EXPECT_EQ(run("ulimit -f 8; zeq sheet [ac].png --rows 1 --columns 1 -o p.bmp"), 1);
    EXPECT_EQ(errors, "zeq: p.1.bmp: File too large\nzeq: p.2.bmp: File too large\n");
}

// 2 GB of samples in float.
TEST_F(Sheet, keepsNoPictureInMemory)
{
    writeFile(folder.file("s.1.zeq"),
              MediaFileBytes::picture(0x200, 1920, 1080, Name(1920 * 1080 * 3, '\x80')).bytes());
    runWell("for n in $(seq 2 60); do ln s.1.zeq s.$n.zeq; done");
    runWell(ADDRESS_SPACE_LIMIT "zeq sheet s.#.zeq -j2 -o s.png --memory 256M");
    EXPECT_EQ(output, "s.png: 60 files\n");
}

TEST_F(Sheet, showsColoursAsTheyAreOnACheckerboard)
{
    // A red pixel beside transparent ones is red and half transparent, whatever they would show.
    const Pixel pixels = {1, 0, 0, 1, HUGE_VALF, NAN, -HUGE_VALF, 0, 1, 0, 0, 1, 0, 1, 0, 0};
    std::vector<float> samples;
    for (int count = 0; count < 720 / 4 * 20; ++count)
        samples.insert(samples.end(), pixels.begin(), pixels.end());
    writePicture("a.exr", {720, 20, 4, TypeDesc::FLOAT}, samples);
    runWell("zeq thumbnail --size 360 -o . a.exr && zeq sheet a.exr -o b.png");
    const auto thumbnail = readPicture("a.png").second;
    EXPECT_THAT(Pixel(thumbnail.end() - 8, thumbnail.end()),
                isNearly(Pixel{1, 0, 0, 0.5f, 1, 0, 0, 0.5f}));
    // Half of it is the light square in the corner of the view.
    EXPECT_THAT(viewPixel("b.png", 0, 1, 10), isNearly(Pixel{0.975f, 0.475f, 0.475f}));

    writePlain("c.exr", {HUGE_VALF, 1e30f, NAN}, TypeDesc::FLOAT);
    runWell("zeq sheet c.exr -o c.png");
    EXPECT_THAT(viewPixel("c.png", 0, 1), isNearly(Pixel{1, 1, 0}));
}

// Light is averaged as it is; whole numbers are encoded already.
TEST_F(Sheet, showsLinearLightWhenItIsAsked)
{
    writePlain("a.exr", {0.25f, 0.002f, 1.5f}, TypeDesc::HALF);
    writePlain("b.png", {0.25f, 0.002f, 1});
    std::vector<float> lines;
    for (int sample = 0; sample < 512 * 20 * 3; ++sample)
        lines.push_back(static_cast<float>(sample / 3 % 2));
    writePicture("c.exr", {512, 20, 3, TypeDesc::FLOAT}, lines);
    const std::tuple<Name, Pixel, Pixel, float> cases[] = {
        // clang-format off
        // options                a.exr                      b.png                   c.exr
        {"",                     {0.25f, 0.002f, 1},        {0.25f, 0.002f, 1},     0.5f},
        {"--srgb",               {0.5371f, 0.0258f, 1},     {0.25f, 0.002f, 1},     0.7354f},
        {"--srgb --exposure -1", {0.3885f, 0.0129f, 0.8807f}, {0.125f, 0.001f, 0.5f}, 0.5371f},
        // clang-format on
    };
    for (const auto& [options, ofHalf, ofWhole, ofLines] : cases) {
        runWell("zeq sheet a.exr b.png --columns 2 -o s.png " + options +
                " && zeq thumbnail -q [ac].exr -o t/ " + options);
        EXPECT_THAT(viewPixel("s.png", 0, 2), isNearly(ofHalf)) << options;
        EXPECT_THAT(viewPixel("s.png", 1, 2), isNearly(ofWhole)) << options;
        const auto thumbnail = readPicture("t/a.png").second;
        EXPECT_THAT(Pixel(thumbnail.begin(), thumbnail.begin() + 3), isNearly(ofHalf)) << options;
        EXPECT_THAT(readPicture("t/c.png").second, Each(FloatNear(ofLines, 0.003f))) << options;
    }
}

TEST(SheetLayout, hasTheShapeOfAScreenAndFitsIntoAFile)
{
    using namespace Imaging;
    const auto views = [](std::size_t count) {
        return std::vector<View>(count, {cv::Mat(203, 360, CV_8UC3), "", ""});
    };
    EXPECT_EQ(Page(views(60), 0).size, cv::Size(9 * 388 + 52, 7 * 281 + 52));
    EXPECT_EQ(Page(views(2), 5).size, cv::Size(2 * 388 + 52, 281 + 52));
    EXPECT_EQ(Page(views(7), 5).cellAt(6), cv::Point(40 + 388, 40 + 281));
    EXPECT_EQ(pageLayout(360, 0, 4).columns, 5);
    EXPECT_EQ(pageLayout(360, 0, 4).views, 20u);
    EXPECT_EQ(pageLayout(360, 3, 4).views, 12u);
    for (const int side : {1, 360, 4096})
        for (const auto& layout :
             {pageLayout(side, 0, 0), pageLayout(side, 1, 0),
              pageLayout(side, mostColumns(side), 0), pageLayout(side, 0, mostRows(side))}) {
            const cv::Mat largest(side, side, CV_8UC1);
            const Page page(std::vector<View>(layout.views, {largest, "", ""}), layout.columns);
            EXPECT_LE(std::max(page.size.width, page.size.height), 65500) << side;
        }
    EXPECT_LE(
        Page(std::vector<View>(pageLayout(360, 0, 0).views, {cv::Mat(360, 360, CV_8UC1), "", ""}),
             0)
            .byteCount(),
        std::uint64_t{800} << 20);
}

TEST(Lettering, takesUnicodeAndReplacesWhatItCannotDraw)
{
    using namespace Imaging;
    EXPECT_EQ(lettersOf("Gr\u00F6\u00DFe \u041F\u03B1"), U"Gr\u00F6\u00DFe \u041F\u03B1");
    EXPECT_EQ(lettersOf("a\x1b[1m\n\xff\u65E5\xF0\x9F\x8E\xACz"), U"a?[1m????z");

    // Whole letters only, and a letter has its own shape.
    const auto drawn = [](const Letters& letters, cv::Point position) {
        cv::Mat canvas(30, 40, CV_8UC3, cv::Scalar::all(10));
        drawText(canvas, letters, position, 20, 250);
        return canvas;
    };
    const auto plain = drawn(U"o", {5, 22});
    const auto marked = drawn(U"\u00F6", {5, 22});
    const cv::Rect above(0, 0, 40, 9), below(0, 12, 40, 18);
    EXPECT_EQ(cv::norm(plain(below), marked(below), cv::NORM_INF), 0);
    EXPECT_EQ(cv::norm(plain(above), cv::Mat(9, 40, CV_8UC3, cv::Scalar::all(10)), cv::NORM_INF),
              0);
    EXPECT_GT(cv::norm(plain(above), marked(above), cv::NORM_INF), 100);
    // What lies beside the canvas is not drawn.
    for (const cv::Point position : {cv::Point(-4, 5), {35, 31}, {-100, 900}})
        EXPECT_EQ(drawn(U"\u00C4g", position).size(), plain.size());
}

TEST(Lettering, keepsTheEndsOfLongNamesAndBreaksMessagesAtBlanks)
{
    using namespace Imaging;
    const auto name = lettersOf("vfx010_0040_comp_denoise_v0123_final.0012.zeq");
    const int whole = widthOf(name, 15);
    EXPECT_EQ(shortened(name, 15, whole), name);
    for (const int width : {whole - 1, 220, 120}) {
        const auto text = shortened(name, 15, width);
        EXPECT_LE(widthOf(text, 15), width);
        EXPECT_GT(widthOf(text, 15), width - 30);
        EXPECT_TRUE(text.starts_with(U"vfx01"));
        EXPECT_TRUE(text.ends_with(U"12.zeq"));
    }
    EXPECT_LE(shortened(name, 15, 3).size(), 1u);

    const int width = widthOf(U"has the channels", 15);
    const auto text = lettersOf("has the channels u, v, averyverylongnameindeed");
    const auto lines = wrapped(text, 15, width, 3);
    EXPECT_THAT(lines, ElementsAre(U"has the channels", U"u, v,", Truly([&](const Letters& line) {
                                       return line.starts_with(U"avery") &&
                                              line.ends_with(U"indeed") &&
                                              widthOf(line, 15) <= width;
                                   })));
    EXPECT_THAT(wrapped(U"abc", 15, 1, 9), ElementsAre(U"a", U"b", U"c"));
    EXPECT_THAT(wrapped(U"", 15, width, 3), IsEmpty());
}
