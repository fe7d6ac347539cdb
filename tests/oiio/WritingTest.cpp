#include "tests/oiio/ImageIoTest.h"

#include <limits>

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
        const std::vector<float> samples(description.width > 0 && description.width <= 100
                                             ? description.image_pixels() * description.nchannels
                                             : 0,
                                         sample);
        if (output->open(folder.file(name), description))
            output->write_image(TypeDesc::FLOAT, samples.data());
        output->close();
        return output->geterror();
    }

    static ImageSpec picture(int channels = 3, TypeDesc type = TypeDesc::UINT8, int bits = 0)
    {
        ImageSpec description(4, 20, channels, type);
        if (bits)
            description["oiio:BitsPerSample"] = bits;
        return description;
    }

    static ImageSpec withAttribute(const char* name, const auto& value)
    {
        auto description = picture();
        description.attribute(name, value);
        return description;
    }
};

// Whether a host hands float or native samples on, and as a whole or row by row.
TEST_F(Writing, copiesAnRgbFileToTheSameBytes)
{
    std::mt19937 random(1);
    for (const auto& [code, format] : MediaConversion::mediaFormatCodes()) {
        if (format.colourspace != Velmora::Colourspace::RGB &&
            format.colourspace != Velmora::Colourspace::RGBA)
            continue;
        SCOPED_TRACE(toString(format));
        cv::Mat pixels(36, 12, CV_32FC4);
        for (auto& pixel : cv::Mat_<cv::Vec4f>(pixels))
            for (auto& value : pixel.val)
                value = static_cast<float>(random()) / static_cast<float>(random.max());
        const auto frame = MediaConversion::convert(Velmora::frameOver(BGRA_F32(), pixels), format);
        const MediaConversion::MediaFileOptions options{
            .magic = MediaConversion::MediaFileMagic::ZeqZ,
            .headerByte0 = 255,
            .headerByte1 = 2,
            .headerRevision = 3,
            .headerByte3 = 4,
            .frameField1 = 65535,
            .width = 10,
            .height = 40};
        MediaConversion::VelmoraMediaFileWriter().write(
            MediaConversion::wideFileName(folder.file("in.zeq")),
            dynamic_cast<const Velmora::ImageFrame&>(*frame), options);
        for (const TypeDesc type : {TypeDesc::FLOAT, TypeDesc::UNKNOWN, TypeDesc::UINT16}) {
            const auto input = open(folder.file("in.zeq"));
            const auto output = OIIO::ImageOutput::create("out.zeq");
            const auto description = input->spec();
            std::vector<float> samples(description.image_pixels() * 4);
            ASSERT_TRUE(input->read_image(0, 0, 0, -1, type, samples.data()) &&
                        output->open(folder.file("out.zeq"), description) &&
                        output->write_image(type, samples.data()) && output->close());
            EXPECT_TRUE(folder.content("out.zeq") == folder.content("in.zeq")) << type;
        }
    }
    EXPECT_EQ(folder.files(), (std::set<std::string>{"in.zeq", "out.zeq"}));
}

TEST_F(Writing, choosesTheFormatThatSuitsTheSamples)
{
    struct Choice
    {
        TypeDesc type;
        int bits;
        int channels;
        std::string format;
    };
    const Choice choices[] = {
        // clang-format off
        {TypeDesc::UINT8,  0,  3, "RGB-U8"},
        {TypeDesc::UINT8,  0,  4, "RGBA-U8"},
        {TypeDesc::UINT16, 10, 3, "RGB-DPX-FILLED"},
        {TypeDesc::UINT16, 12, 3, "RGB-SMPTE-2110"},
        {TypeDesc::UINT16, 0,  3, "RGB-SMPTE-2110"},
        {TypeDesc::HALF,   10, 3, "RGB-SMPTE-2110"},
        {TypeDesc::FLOAT,  0,  3, "RGB-SMPTE-2110"},
        {TypeDesc::UINT16, 10, 4, "ZEQ-4224-HYBRID"},
        {TypeDesc::FLOAT,  0,  4, "ZEQ-4224-HYBRID"},
        // clang-format on
    };
    for (const auto& [type, bits, channels, format] : choices) {
        EXPECT_EQ(errorOf(picture(channels, type, bits)), "");
        EXPECT_EQ(open(folder.file("written.zeq"))->spec().get_string_attribute("zeq:format"),
                  format);
    }
    for (const auto& [code, format] : MediaConversion::mediaFormatCodes())
        for (const int channels : {3, hasAlpha(format.colourspace) ? 4 : 3}) {
            auto description = picture(channels, TypeDesc::FLOAT);
            description["zeq:format"] = shortName(format);
            EXPECT_EQ(errorOf(description, 1), "");
            const auto input = open(folder.file("written.zeq"));
            EXPECT_EQ(input->spec().get_string_attribute("zeq:format"), shortName(format));
            EXPECT_THAT(samplesOf<float>(*input), Each(FloatNear(1, 0.01f))) << toString(format);
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
    const Window windows[] = {
        {{2, 5, 3, 20}, {0, 8, 0, 40}, {2, 5, 3, 20}},
        {{-3, 5, -20, 20}, {-1, 9, -1, 3}, {0, 6, 0, 4}},
        {{-9, -5, 0, 4}, {0, 4, 0, 4}, {0, 0, 0, 0}},
    };
    for (const auto& [data, full, held] : windows) {
        auto description = picture();
        description.set_roi(data);
        description.set_roi_full(full);
        description["zeq:format"] = "RGB-U8";
        EXPECT_EQ(errorOf(description, 1), "");
        const auto input = open(folder.file("written.zeq"));
        EXPECT_EQ(input->spec().width, full.width());
        EXPECT_EQ(input->spec().height, full.height());
        const auto samples = samplesOf<float>(*input);
        for (int y = 0; y < full.height(); ++y)
            for (int x = 0; x < full.width(); ++x)
                ASSERT_EQ(samples[std::size_t(y * full.width() + x) * 3],
                          held.contains(x, y) ? 1 : 0)
                    << x << " " << y;
    }
}

TEST_F(Writing, refusesWhatAMediaFileCannotHold)
{
    auto odd = picture(3, TypeDesc::FLOAT);
    odd.width = 5;
    auto wide = picture();
    wide.width = 65536;
    auto huge = picture(4);
    huge.width = huge.height = huge.full_width = huge.full_height = 65535;
    auto empty = picture();
    empty.width = 0;
    auto shown = picture();
    shown.full_height = 65536;
    auto deep = picture();
    deep.depth = 2;
    auto withAlpha = picture(4);
    withAlpha["zeq:format"] = "RGB-SMPTE-2110";
    auto mostlyEmpty = picture();
    mostlyEmpty.x = 1;
    mostlyEmpty.full_width = mostlyEmpty.full_height = 30000;
    const std::pair<ImageSpec, std::string> cases[] = {
        {picture(1), "Media file cannot hold a picture of 1 channels, but of 3 or 4"},
        {picture(5), "Media file cannot hold a picture of 5 channels, but of 3 or 4"},
        {odd,
         "Frame format column pixel packing of 2 pixels is incompatible with supplied image "
         "columns of 5"},
        {wide, "Media file cannot hold a frame of 65536x20 pixels"},
        {huge, "Media file cannot hold a frame of 17179344900 bytes"},
        {shown, "Media file cannot hold a picture of 4x65536 pixels"},
        {empty, "Frame has no pixels"},
        {deep, "Media file cannot hold a picture that is deep"},
        {mostlyEmpty,
         "Media file is not filled up: of a picture of 30000x30000 pixels, at least a "
         "pixel in 16 has to be given"},
        {withAlpha, "RGB-SMPTE-2110 holds no alpha; leave it out or choose another zeq:format"},
        {withAttribute("zeq:headerByte3", 256),
         "zeq:headerByte3 is 256; a media file holds 0 to 255"},
        {withAttribute("zeq:format", "RGB"),
         "zeq:format is RGB; media files have YUYV-422, ZEQ-420, RGB-U8, BGR-U8, RGBA-U8, BGRA-U8, "
         "ZEQ-422, RGB-DPX-FILLED, BGR-DPX-FILLED, RGB-SMPTE-2110, BGR-SMPTE-2110, "
         "ZEQ-4224-HYBRID, YCoCg-DXT5"},
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
    EXPECT_FALSE(
        output->open(folder.file("written.zeq"), picture(), OIIO::ImageOutput::AppendSubimage));
    EXPECT_EQ(output->geterror(), "Media file has one picture of one resolution");
    const std::vector<unsigned char> row(12, 255);
    const auto write = [&](int y) {
        const bool isWritten = output->write_scanline(y, 0, TypeDesc::UINT8, row.data());
        EXPECT_EQ(isWritten, !output->has_error());
        return output->geterror();
    };
    EXPECT_EQ(write(0), "Media file is not open for writing");
    const auto start = [&] {
        EXPECT_TRUE(output->open(folder.file("written.zeq"), picture())) << output->geterror();
    };
    start();
    EXPECT_EQ(write(0), "");
    EXPECT_EQ(write(2), "Media file is written row by row: expecting row 1, got 2");
    EXPECT_EQ(write(1), "Media file is not open for writing");
    start();
    for (int y = 0; y < 19; ++y)
        EXPECT_EQ(write(y), "");
    EXPECT_FALSE(output->close());
    EXPECT_EQ(output->geterror(), "Media file is not written: 1 of 20 rows are missing");
    EXPECT_TRUE(output->close());
    start();
    for (int y = 0; y < 19; ++y)
        EXPECT_EQ(write(y), "");
    EXPECT_EQ(folder.content("written.zeq"), "before");
    EXPECT_EQ(write(19), "");
    EXPECT_TRUE(output->close());
    EXPECT_THAT(samplesOf<float>(*open(folder.file("written.zeq"))), Each(1.f));
    EXPECT_EQ(folder.files(), std::set<std::string>{"written.zeq"});
}

}
