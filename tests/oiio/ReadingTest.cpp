#include "tests/oiio/ImageIoTest.h"

#include <opencv2/core/mat.hpp>

#include <atomic>
#include <cmath>
#include <cstddef>
#include <thread>

using namespace testing;
using namespace Velmora::Formats;
using OIIO::TypeDesc;
using Velmora::NamedFormat;

namespace {

using Reading = ImageIoTest;

struct Case
{
    NamedFormat stored;
    TypeDesc::BASETYPE native;
    int bits;
    int channels;
};

const Case cases[] = {
    // clang-format off
    {RGB_U8,          TypeDesc::UINT8,  0,  3},
    {BGR_U8,          TypeDesc::UINT8,  0,  3},
    {RGBA_U8,         TypeDesc::UINT8,  0,  4},
    {BGRA_U8,         TypeDesc::UINT8,  0,  4},
    {RGB_DPX_FILLED,  TypeDesc::UINT16, 10, 3},
    {BGR_DPX_FILLED,  TypeDesc::UINT16, 10, 3},
    {RGB_SMPTE_2110,  TypeDesc::UINT16, 12, 3},
    {BGR_SMPTE_2110,  TypeDesc::UINT16, 12, 3},
    {YUYV_422,        TypeDesc::FLOAT,  0,  3},
    {ZEQ_420,         TypeDesc::FLOAT,  0,  3},
    {ZEQ_422,         TypeDesc::FLOAT,  0,  3},
    {ZEQ_4224_HYBRID, TypeDesc::FLOAT,  0,  4},
    {YCoCg_DXT5,      TypeDesc::UINT8,  0,  3},
    // clang-format on
};

// More rows than are converted at once, and not a multiple of those.
TEST_F(Reading, givesTheNativeSamplesAndTheFloatsOfTheHost)
{
    ASSERT_EQ(std::size(cases), MediaConversion::mediaFormatCodes().size());
    auto* const allocator = cv::Mat::getDefaultAllocator();
    for (const auto& [stored, native, bits, channels] : cases) {
        SCOPED_TRACE(stored.pixelFormat);
        const auto file = write(noise(stored.mediaCode, 12, 52));
        const auto input = open(file);
        EXPECT_STREQ(input->format_name(), "zeq");
        const auto& description = input->spec();
        EXPECT_EQ(description.format, native);
        EXPECT_EQ(description.get_int_attribute("oiio:BitsPerSample"), bits);
        EXPECT_EQ(description.nchannels, channels);
        EXPECT_EQ(description.alpha_channel, channels == 4 ? 3 : -1);
        const auto expected = hostSamples(file, channels);
        EXPECT_EQ(samplesOf<float>(*input), expected);

        // Native samples are the nearest whole numbers to the floats.
        const int most = native == TypeDesc::UINT8 ? 255 : 65535;
        const auto nearest = [&](float value) { return std::lround(double{value} * most); };
        std::vector<long> wholeNumbers;
        for (const float value : expected)
            wholeNumbers.push_back(nearest(value));
        if (native == TypeDesc::UINT8) {
            EXPECT_THAT(samplesOf<unsigned char>(*input), ElementsAreArray(wholeNumbers));
        } else if (native == TypeDesc::UINT16) {
            EXPECT_THAT(samplesOf<unsigned short>(*input), ElementsAreArray(wholeNumbers));
        }
    }
    EXPECT_EQ(cv::Mat::getDefaultAllocator(), allocator);
}

TEST_F(Reading, servesOneInputAsOftenAndInAnyPieces)
{
    for (const auto& stored : {RGB_DPX_FILLED, BGRA_U8, ZEQ_4224_HYBRID, YCoCg_DXT5}) {
        SCOPED_TRACE(stored.pixelFormat);
        const auto input = open(write(noise(stored.mediaCode, 8, 36)));
        const auto floats = samplesOf<float>(*input);
        const auto words = samplesOf<unsigned short>(*input);
        const auto channels = static_cast<std::size_t>(input->spec().nchannels);
        std::filesystem::remove(folder.file("picture.zeq"));

        // Each channel into every second place, and the others untouched.
        std::vector<float> spread(2 * floats.size(), -1);
        for (std::size_t channel = 0; channel < channels; ++channel)
            EXPECT_TRUE(input->read_image(0, 0, int(channel), int(channel) + 1, TypeDesc::FLOAT,
                                          &spread[2 * channel], 8 * OIIO::stride_t(channels)));
        for (std::size_t sample = 0; sample < spread.size(); ++sample)
            ASSERT_EQ(spread[sample], sample % 2 ? -1 : floats[sample / 2]);

        // Rows one by one from below, in 16 bits and in float in turn.
        for (int y = 35; y >= 0; --y) {
            std::vector<float> row(8 * channels);
            std::vector<unsigned short> wordRow(row.size());
            EXPECT_TRUE(input->read_scanline(y, 0, TypeDesc::FLOAT, row.data()) &&
                        input->read_scanline(y, 0, TypeDesc::UINT16, wordRow.data()));
            EXPECT_TRUE(std::equal(row.begin(), row.end(), &floats[y * row.size()]));
            EXPECT_TRUE(std::equal(wordRow.begin(), wordRow.end(), &words[y * row.size()]));
        }

        // Two channels of native rows that are not all converted together.
        const auto size = input->spec().format.size();
        std::vector<std::byte> all(floats.size() * size);
        std::vector<std::byte> some(2 * 8 * 20 * size);
        EXPECT_TRUE(input->read_native_scanlines(0, 0, 0, 36, 0, all.data()) &&
                    input->read_native_scanlines(0, 0, 10, 30, 0, 1, 3, some.data()));
        for (std::size_t pixel = 0; pixel < 8 * 20; ++pixel)
            EXPECT_TRUE(std::equal(&some[2 * size * pixel], &some[2 * size * pixel] + 2 * size,
                                   &all[(channels * (pixel + 80) + 1) * size]));

        // Floats of any size come of the floats and not of the whole numbers.
        EXPECT_THAT(samplesOf<double>(*input), ElementsAreArray(floats));
    }
}

TEST_F(Reading, showsTheFrameAsTheDataOfThePicture)
{
    struct Windows
    {
        std::uint16_t width, height;
        int fullWidth, fullHeight;
    };
    for (const auto& [width, height, fullWidth, fullHeight] :
         {Windows{8, 6, 8, 6}, {2000, 3, 2000, 3}, {0, 6, 4, 2}}) {
        auto file = noise(RGB_U8.mediaCode, 4, 2);
        file.width = width;
        file.height = height;
        const auto description = open(write(file))->spec();
        EXPECT_EQ(description.roi(), OIIO::ROI(0, 4, 0, 2, 0, 1, 0, 3));
        EXPECT_EQ(description.roi_full(), OIIO::ROI(0, fullWidth, 0, fullHeight, 0, 1, 0, 3));
    }
}

TEST_F(Reading, knowsAFileByItsBeginning)
{
    auto file = noise(BGR_U8.mediaCode, 4, 4);
    file.magic = "zeqZ";
    for (const auto* const name : {"no extension", "\xFF.other", "picture.png"}) {
        const auto input = open(write(file, name));
        ASSERT_TRUE(input) << name;
        EXPECT_EQ(input->spec().get_string_attribute("zeq:format"), "BGR-U8");
        EXPECT_TRUE(input->valid_file(folder.file(name)));
    }
    const auto input = OIIO::ImageInput::create("zeq");
    writeFile(folder.file("other.zeq"), "PNG?");
    EXPECT_FALSE(input->valid_file(folder.file("other.zeq")));
    EXPECT_FALSE(input->valid_file(folder.file("missing.zeq")));
    EXPECT_FALSE(input->valid_file(folder.file("")));
}

TEST_F(Reading, servesSeveralThreads)
{
    const auto input = open(write(noise(ZEQ_422.mediaCode, 64, 200)));
    const auto expected = hostSamples(folder.file("picture.zeq"), 3);
    std::atomic<int> wrong = 0;
    {
        std::vector<std::jthread> threads;
        for (int number = 0; number < 8; ++number)
            threads.emplace_back([&, number] {
                for (int first = number; first < 200; first += 8) {
                    const int rows = number % 2 ? 1 : std::min(40, 200 - first);
                    std::vector<float> samples(std::size_t(rows) * 64 * 3);
                    wrong += !input->read_scanlines(0, 0, first, first + rows, 0, 0, 3,
                                                    TypeDesc::FLOAT, samples.data());
                    wrong += !std::equal(samples.begin(), samples.end(),
                                         &expected[std::size_t(first) * 64 * 3]);
                }
            });
    }
    EXPECT_EQ(wrong, 0);
}

TEST_F(Reading, refusesWhatTheFileDoesNotHave)
{
    const auto input = OIIO::ImageInput::create("zeq");
    std::vector<float> samples(1000, 7);
    const auto refusal = [&](int subimage, int firstY, int endY, int firstChannel) {
        EXPECT_FALSE(input->read_scanlines(subimage, 0, firstY, endY, 0, firstChannel, -1,
                                           TypeDesc::FLOAT, samples.data()));
        return input->geterror();
    };
    EXPECT_EQ(refusal(0, 0, 4, 0), "Media header not available, check the file is open");
    OIIO::ImageSpec description;
    ASSERT_TRUE(input->open(write(noise(RGB_U8.mediaCode, 4, 4)), description));
    EXPECT_EQ(refusal(1, 0, 4, 0), "Media file has one picture of one resolution");
    EXPECT_EQ(refusal(0, -1, 3, 0), "Media file has no rows -1 to 2");
    EXPECT_EQ(refusal(0, 4, 5, 0), "Media file has no rows 4 to 4");
    EXPECT_EQ(refusal(0, 2, 2, 0), "Media file has no rows 2 to 1");
    EXPECT_EQ(refusal(0, 0, 4, 3), "Media file has no channels 3 to 2");
    EXPECT_THAT(samples, Each(7.f));
    EXPECT_EQ(refusal(0, 0, 0, 0), "Media file has no rows 0 to -1");

    // Each file of several, and none after a close or a file that cannot be opened.
    ASSERT_TRUE(input->open(write(noise(RGBA_U8.mediaCode, 4, 8)), description));
    EXPECT_EQ(description.height, 8);
    EXPECT_EQ(samplesOf<float>(*input), hostSamples(folder.file("picture.zeq"), 4));
    EXPECT_FALSE(input->open(folder.file("missing.zeq"), description));
    EXPECT_EQ(input->geterror(), "Failed to open file");
    EXPECT_EQ(refusal(0, 0, 4, 0), "Media header not available, check the file is open");
    EXPECT_TRUE(input->close());
    EXPECT_TRUE(input->close());
}

}
