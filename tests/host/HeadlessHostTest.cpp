#include "MediaConversion/MediaPipeline/HostMemoryResource.h"
#include "imaging/ContactSheet.h"
#include "imaging/PictureWriter.h"
#include "tests/tools/ProgramTest.h"

#include <algorithm>
#include <cmath>
#include <tuple>

using namespace testing;

using HeadlessHost = ProgramTest;

// Half transparent, wholly transparent with a colour, beyond both ends, a grey between.
TEST_F(HeadlessHost, writesSamplesAsTheyAre)
{
    const std::vector<float> pixels = {0.2f, 0.4f, 0.6f, 0.5f, 1.0f, 0.0f, 0.8f, 0.0f,
                                       1.5f, -1.f, 1.0f, 1.0f, 0.1f, 0.1f, 0.1f, 0.2f};
    for (const int depth : {8, 10, 12}) {
        Imaging::writePng({2, 2, depth, pixels}, folder.file("a.png"));
        const auto [description, samples] = readPicture("a.png");
        const float largest = description.format == OIIO::TypeDesc::UINT8 ? 255 : 65535;
        EXPECT_EQ(largest < 256, depth == 8);
        for (std::size_t sample = 0; sample < pixels.size(); ++sample)
            EXPECT_FLOAT_EQ(samples.at(sample) * largest,
                            std::round(std::clamp(pixels[sample], 0.f, 1.f) * largest));
    }
    Imaging::writeExr({2, 2, 8, pixels}, folder.file("a.exr"));
    EXPECT_EQ(readPicture("a.exr").second, pixels);
    EXPECT_THROW(Imaging::writePng({2, 2, 8, pixels}, "/nowhere/picture.png"), std::runtime_error);
    EXPECT_THROW(Imaging::writePng({0, 0, 8, {}}, folder.file("empty.png")), std::runtime_error);
}

TEST_F(HeadlessHost, writesPicturesAndNamesTheFilesThatFail)
{
    // A header of 28 bytes may claim a picture of 64 GiB.
    auto large = MediaFileBytes::picture(0x200, 1, 1, "rgb");
    large.width = large.height = 65535;
    writeFile(folder.file("large.zeq"), large.bytes());
    large.width = large.height = 8000;
    writeFile(folder.file("thin.zeq"), large.bytes());
    runWell(
        "cp $samples/coffee.rgba-u8.zeq a.zeq; cp $samples/coffee.zeq-422.zeq b.zeq; "
        "head -c 1000 b.zeq >cut.zeq; echo something >other.zeq; headlessHost a.zeq; "
        "mkdir out; cp b.zeq out/b.exr; cp b.zeq contact-sheet.zeq");
    EXPECT_EQ(errors, "");
    EXPECT_THAT(folder.files("pictures"), ElementsAre("a.png", "contact-sheet.png"));

    // No name is given twice, or is that of an input.
    EXPECT_EQ(run("headlessHost --exr -o out missing.zeq cut.zeq other.zeq large.zeq thin.zeq "
                  "a.zeq ./a.zeq b.zeq ./out/b.exr contact-sheet.zeq"),
              1);
    EXPECT_EQ(errors,
              "missing.zeq: No such file or directory\n"
              "cut.zeq: Media file has unexpectedly reached End-Of-File\n"
              "other.zeq: No reader takes this file\n"
              "large.zeq: Picture of 65535 x 65535 pixels is too large for this host\n"
              "thin.zeq: Picture of 8000 x 8000 pixels is too large for a file of 31 bytes\n");
    EXPECT_THAT(output, MatchesRegex("Reader Plugin version = 2.3.1\nMediaConversion [^:]*\n"
                                     "a.zeq: 300 x 200, 8 bit, out/a.png and .exr\n"
                                     "./a.zeq: 300 x 200, 8 bit, out/a-2.png and .exr\n"
                                     "b.zeq: 300 x 200, 10 bit, out/b-2.png and .exr\n"
                                     "./out/b.exr: 300 x 200, 10 bit, out/b-3.png and .exr\n"
                                     "contact-sheet.zeq: .* out/contact-sheet-2.png and .exr\n"
                                     "Contact sheet: out/contact-sheet.png\n"));
    EXPECT_THAT(folder.files("out"),
                ElementsAre("a-2.exr", "a-2.png", "a.exr", "a.png", "b-2.exr", "b-2.png", "b-3.exr",
                            "b-3.png", "b.exr", "contact-sheet-2.exr", "contact-sheet-2.png",
                            "contact-sheet.png"));
}

TEST_F(HeadlessHost, keepsNoBlockOfThePoolForAView)
{
    Velmora::installMemoryPool();
    const auto view = Imaging::viewOf({64, 64, 8, std::vector<float>(64 * 64 * 4)}, "grey.zeq");
    EXPECT_EQ(view.image.u->currAllocator, cv::Mat::getStdAllocator());
    EXPECT_NE(cv::Mat(1, 1, CV_8U).u->currAllocator, cv::Mat::getStdAllocator());
}

TEST_F(HeadlessHost, tellsUsageErrorsFromFailures)
{
    const std::tuple<const char*, int, const char*> cases[] = {
        {"", 2, "headlessHost: No files given\n\nUsage: headlessHost.*"},
        {"--what picture.zeq", 2, "headlessHost: Unknown option --what\n.*"},
        {"picture.zeq -o", 2, "headlessHost: Option --output needs a value\n.*"},
        {"-o out/of/it -- --what", 1, "--what: No such file or directory\n"},
        {"--plugin ./missing.so picture.zeq", 1, "headlessHost: .*missing.so.*"},
        {"--help >&2", 0, "Usage: headlessHost.*"},
        {"--help >&-", 1, "headlessHost: The output could not be written\n"},
        {"$samples/coffee.rgba-u8.zeq -o out >/dev/full", 1,
         "headlessHost: The output could not be written\n"},
    };
    for (const auto& [arguments, status, text] : cases) {
        EXPECT_EQ(run(std::string("headlessHost ") + arguments), status);
        EXPECT_THAT(errors, ContainsRegex(std::string("^") + text));
    }
    EXPECT_THAT(folder.files(), ElementsAre("out"));
}
