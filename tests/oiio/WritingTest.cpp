#include "tests/oiio/ImageIoTest.h"

#include <opencv2/core.hpp>

#include <cstddef>
#include <functional>
#include <limits>
#include <tuple>

using namespace testing;
using namespace Velmora::Formats;
using OIIO::ImageSpec;
using OIIO::TypeDesc;

namespace {

class Writing : public ImageIoTest
{
protected:
    // Writes samples that are all alike, and gives what went wrong.
    std::string errorOf(const ImageSpec& description, float sample = 0.25f,
                        const std::string& name = "written.zeq") const
    {
        const auto output = OIIO::ImageOutput::create("zeq");
        if (output->open(folder.file(name), description))
            output->write_image(TypeDesc::FLOAT, std::vector<float>(10000, sample).data());
        output->close();
        return output->geterror();
    }

    static ImageSpec picture(int channels = 3, TypeDesc type = TypeDesc::UINT8,
                             const std::string& format = "")
    {
        ImageSpec description(4, 20, channels, type);
        if (!format.empty())
            description["zeq:format"] = format;
        return description;
    }

    static ImageSpec changed(const std::function<void(ImageSpec&)>& change, int channels = 3)
    {
        auto description = picture(channels);
        change(description);
        return description;
    }
};

// Whether a host hands on floats, native samples or others, and whatever the headers keep.
TEST_F(Writing, copiesAnRgbFileToTheSameBytes)
{
    cv::Mat pixels(36, 12, CV_32FC4);
    cv::randu(pixels, 0, 1);
    for (const auto& [code, format] : MediaConversion::mediaFormatCodes()) {
        using enum Velmora::Colourspace;
        if (format.colourspace != RGB && format.colourspace != RGBA)
            continue;
        const auto frame = MediaConversion::convert(Velmora::frameOver(BGRA_F32(), pixels), format);
        MediaConversion::VelmoraMediaFileWriter().write(
            MediaConversion::wideFileName(folder.file("in.zeq")),
            dynamic_cast<const Velmora::ImageFrame&>(*frame),
            {.magic = MediaConversion::MediaFileMagic::ZeqZ,
             .headerByte0 = 255,
             .headerByte1 = 2,
             .headerRevision = 3,
             .headerByte3 = 4,
             .frameField1 = 65535,
             .width = 10,
             .height = 40});
        for (const TypeDesc type : {TypeDesc::FLOAT, TypeDesc::UNKNOWN, TypeDesc::UINT16}) {
            const auto input = open(folder.file("in.zeq"));
            const auto output = OIIO::ImageOutput::create("out.zeq");
            std::vector<float> samples(pixels.total() * 4);
            ASSERT_TRUE(input->read_image(0, 0, 0, -1, type, samples.data()) &&
                        output->open(folder.file("out.zeq"), input->spec()) &&
                        output->write_image(type, samples.data()) && output->close());
            EXPECT_TRUE(folder.content("out.zeq") == folder.content("in.zeq"))
                << toString(format) << type;
        }
    }
}

TEST_F(Writing, choosesTheFormatThatIsAskedForOrSuitsTheSamples)
{
    const auto expectFormat = [&](const ImageSpec& description, const std::string& format) {
        EXPECT_EQ(errorOf(description, 1), "") << format;
        const auto input = open(folder.file("written.zeq"));
        EXPECT_EQ(input->spec().get_string_attribute("zeq:format"), format);
        EXPECT_THAT(samplesOf<float>(*input), Each(FloatNear(1, 0.01f))) << format;
    };
    const std::tuple<TypeDesc, int, int, std::string> choices[] = {
        // clang-format off
        // type          bits channels
        {TypeDesc::UINT8,  8,  3, "RGB-U8"},
        {TypeDesc::UINT8,  8,  4, "RGBA-U8"},
        {TypeDesc::UINT16, 10, 3, "RGB-DPX-FILLED"},
        {TypeDesc::UINT16, 12, 3, "RGB-SMPTE-2110"},
        {TypeDesc::UINT16, 16, 3, "RGB-SMPTE-2110"},
        {TypeDesc::HALF,   10, 3, "RGB-SMPTE-2110"},
        {TypeDesc::FLOAT,  32, 3, "RGB-SMPTE-2110"},
        {TypeDesc::UINT16, 10, 4, "ZEQ-4224-HYBRID"},
        {TypeDesc::FLOAT,  32, 4, "ZEQ-4224-HYBRID"},
        // clang-format on
    };
    for (const auto& [type, bits, channels, format] : choices) {
        auto description = picture(channels, type);
        description["oiio:BitsPerSample"] = bits;
        expectFormat(description, format);
    }
    for (const auto& [code, format] : MediaConversion::mediaFormatCodes()) {
        expectFormat(picture(3, TypeDesc::FLOAT, shortName(format)), shortName(format));
        if (hasAlpha(format.colourspace))
            expectFormat(picture(4, TypeDesc::FLOAT, shortName(format)), shortName(format));
    }
}

// Highlights are white, and what is no number is black.
TEST_F(Writing, keepsSamplesWithinTheFormat)
{
    constexpr auto infinity = std::numeric_limits<float>::infinity();
    constexpr auto noNumber = std::numeric_limits<float>::quiet_NaN();
    for (const auto& [given, held] :
         {std::pair{1e30f, 1.f}, {infinity, 1.f}, {-infinity, 0.f}, {-1.f, 0.f}, {noNumber, 0.f}})
        for (const TypeDesc type : {TypeDesc::UINT8, TypeDesc::FLOAT}) {
            EXPECT_EQ(errorOf(picture(3, type), given), "");
            EXPECT_THAT(samplesOf<float>(*open(folder.file("written.zeq"))), Each(held)) << given;
        }
}

TEST_F(Writing, fillsThePictureAroundDataThatDoesNotBeginAtItsCorner)
{
    struct Window
    {
        OIIO::ROI data, full;
        OIIO::ROI held;  // of the data in the file's picture
    };
    for (const auto& [data, full, held] : {Window{{2, 5, 3, 20}, {0, 8, 0, 40}, {2, 5, 3, 20}},
                                           {{-3, 5, -20, 20}, {-1, 9, -1, 3}, {0, 6, 0, 4}},
                                           {{-9, -5, 0, 4}, {0, 4, 0, 4}, {0, 0, 0, 0}}}) {
        auto description = picture();
        description.set_roi(data);
        description.set_roi_full(full);
        EXPECT_EQ(errorOf(description, 1), "");
        const auto input = open(folder.file("written.zeq"));
        EXPECT_EQ(input->spec().width, full.width());
        const auto samples = samplesOf<float>(*input);
        ASSERT_EQ(samples.size(), full.npixels() * 3);
        for (int pixel = 0; pixel < int(full.npixels()); ++pixel)
            ASSERT_EQ(samples[std::size_t(pixel) * 3],
                      held.contains(pixel % full.width(), pixel / full.width()) ? 1 : 0)
                << pixel;
    }
}

TEST_F(Writing, refusesWhatAMediaFileCannotHold)
{
    const std::pair<ImageSpec, std::string> cases[] = {
        {picture(1), "Media file cannot hold a picture of 1 channels, but of 3 or 4"},
        {picture(5), "Media file cannot hold a picture of 5 channels, but of 3 or 4"},
        {picture(4, TypeDesc::UINT8, "RGB-SMPTE-2110"),
         "RGB-SMPTE-2110 holds no alpha; leave it out or choose another zeq:format"},
        {picture(3, TypeDesc::UINT8, "RGB"),
         "zeq:format is RGB; media files have YUYV-422, ZEQ-420, RGB-U8, BGR-U8, RGBA-U8, BGRA-U8, "
         "ZEQ-422, RGB-DPX-FILLED, BGR-DPX-FILLED, RGB-SMPTE-2110, BGR-SMPTE-2110, "
         "ZEQ-4224-HYBRID, YCoCg-DXT5"},
        {changed([](auto& odd) { odd.width = 5, odd.format = TypeDesc::FLOAT; }),
         "Frame format column pixel packing of 2 pixels is incompatible with supplied image "
         "columns of 5"},
        {changed([](auto& wide) { wide.width = 65536; }),
         "Media file cannot hold a frame of 65536x20 pixels"},
        {changed([](auto& large) { large.width = large.height = 65535; }, 4),
         "Media file cannot hold a frame of 17179344900 bytes"},
        {changed([](auto& shown) { shown.full_height = 65536; }),
         "Media file cannot hold a picture of 4x65536 pixels"},
        {changed([](auto& empty) { empty.width = 0; }), "Frame has no pixels"},
        {changed([](auto& deep) { deep.depth = 2; }),
         "Media file cannot hold a picture that is deep"},
        {changed(
             [](auto& sparse) { sparse.x = 1, sparse.full_width = sparse.full_height = 30000; }),
         "Media file is not filled up: of a picture of 30000x30000 pixels, at least a pixel in 16 "
         "has to be given"},
        {changed([](auto& kept) { kept["zeq:headerByte3"] = 256; }),
         "zeq:headerByte3 is 256; a media file holds 0 to 255"},
    };
    for (const auto& [description, error] : cases)
        EXPECT_EQ(errorOf(description), error);
    EXPECT_EQ(errorOf(picture(), 0, "missing/written.zeq"),
              "Failed to create file: No such file or directory");
    EXPECT_THAT(folder.files(), IsEmpty());
}

TEST_F(Writing, leavesTheFileThatWasThereUntilTheLastRow)
{
    writeFile(folder.file("written.zeq"), "before");
    const auto output = OIIO::ImageOutput::create("zeq");
    const auto start = [&](OIIO::ImageOutput::OpenMode mode = OIIO::ImageOutput::Create) {
        output->open(folder.file("written.zeq"), picture(), mode);
        return output->geterror();
    };
    const auto write = [&](int y) {
        output->write_scanline(y, 0, TypeDesc::UINT8, std::vector<std::byte>(12).data());
        return output->geterror();
    };
    EXPECT_EQ(start(OIIO::ImageOutput::AppendSubimage),
              "Media file has one picture of one resolution");
    EXPECT_EQ(write(0), "Media file is not open for writing");
    EXPECT_EQ(start(), "");
    EXPECT_EQ(write(0), "");
    EXPECT_EQ(write(2), "Media file is written row by row: expecting row 1, got 2");
    EXPECT_EQ(write(1), "Media file is not open for writing");
    for (const bool isFinished : {false, true}) {
        EXPECT_EQ(start(), "");
        for (int y = 0; y < 19; ++y)
            EXPECT_EQ(write(y), "");
        EXPECT_EQ(folder.content("written.zeq"), "before");
        EXPECT_EQ(isFinished ? write(19) : "", "");
        EXPECT_EQ(output->close(), isFinished);
        EXPECT_EQ(output->geterror(),
                  isFinished ? "" : "Media file is not written: 1 of 20 rows are missing");
    }
    EXPECT_THAT(samplesOf<float>(*open(folder.file("written.zeq"))), Each(0.f));
    EXPECT_EQ(folder.files(), std::set<std::string>{"written.zeq"});
}

}
