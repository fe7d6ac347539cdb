#include "reader/FrameForHost.h"
#include "tests/MediaPipeline/Fakes.h"
#include "tests/reader/ReaderTest.h"

#include <sys/stat.h>
#include <opencv2/core.hpp>

#include <algorithm>
#include <array>
#include <limits>
#include <memory>
#include <numeric>
#include <tuple>

using namespace DD::Image;
using namespace testing;
using Velmora::ChannelType;

using Registration = ReaderTest;
using Construction = ReaderTest;
using Open = ReaderTest;
using Samples = ReaderTest;

TEST_F(Registration, namesTheFormatAndRecognisesFilesByThreeLetters)
{
    EXPECT_THAT(description().names(), ElementsAre("zeq"));
    EXPECT_STREQ(description().label(), "qmx");
    for (const std::string beginning :
         {"zeq ", "zeqZ", "zeq", "zeqz", "ZEQ ", "ZEQZ", "Zeq ", "zEq ", "zeQ ", " zeq"})
        EXPECT_EQ(
            description().accepts(-1, reinterpret_cast<const unsigned char*>(beginning.c_str()), 4),
            beginning.starts_with("zeq"))
            << beginning;
}

TEST_F(Registration, thePanelShowsBothVersionsInOneReadOnlyKnob)
{
    EXPECT_THAT(
        Headless::formatPanel(description()),
        ElementsAre(FieldsAre(26, 19, nullptr, std::nullopt, std::nullopt,
                              "Reader Plugin version = 2.3.1\n"
                              "MediaConversion Library version = " LIBRARY_VERSION " Beta")));
}

// The conversion is chosen at construction. Where that failed there is none, and a file that has
// come since does not change it.
TEST_F(Construction, refusesWhatIsNotAFileForEverAndDoesNotWait)
{
    std::filesystem::create_directory(path("folder"));
    ASSERT_EQ(::mkfifo(path("pipe").c_str(), 0600), 0);
    for (const auto& name : {path("missing"), path("missing/file"), path("folder"), path("pipe"),
                             std::string(), std::string("/dev/zero")}) {
        auto reader = opened(name);
        EXPECT_THAT(reader.takeMessages(),
                    ElementsAre("Failed to open file", "Failed to open file"))
            << name;
        EXPECT_EQ(reader.reader().depth(), 0);
    }
    auto reader = construct(path(pictureName));
    write(uniformPicture(rgbaU8, 4, 4, 0x33));
    reader.open();
    EXPECT_THAT(reader.takeMessages(),
                ElementsAre("Failed to open file", "No frameSink connected"));
}

TEST_F(Construction, withoutAFileNameOrAnOperatorIsReported)
{
    struct : Read
    {
        const char* filename() const override { return nullptr; }
    } nameless;
    internal::CaptureStderr();
    for (auto* const readOperator : std::initializer_list<Read*>{&nameless, nullptr}) {
        const std::unique_ptr<Reader> reader(description().newReader(readOperator, -1, nullptr, 0));
        firstSample(*reader);
        reader->open();
    }
    const std::string ofBoth = "\nNo input frame!\nReader could not obtain filename\n";
    EXPECT_EQ(internal::GetCapturedStderr(), "Reader could not obtain filename" + ofBoth +
                                                 "Invalid Op passed to qmxReader" + ofBoth);
}

// Rows come from the frame, not from the file, whatever has become of it between two opens.
TEST_F(Open, thatFailsKeepsTheFrameAndTheNextOneWorks)
{
    const auto brighter = uniformPicture(rgbaU8, 4, 4, 0x66);
    const std::pair<std::string, std::string> cases[] = {
        {uniformPicture(0x202, 4, 4, 0x66).bytes(), "input format must be RGBA_U8_RGBA"},
        {uniformPicture(rgbaU8, 0, 0, 0).bytes(), "no image data in frame"},
        {brighter.bytesCutTo(91), "Media file has unexpectedly reached End-Of-File"},
        {"", "Media file is corrupt"},
    };
    for (const auto& [bytes, message] : cases) {
        auto reader = opened(write(uniformPicture(rgbaU8, 4, 4, 0x33)));
        write(pictureName, bytes);
        for (int attempt = 0; attempt < 2; ++attempt) {
            reader.open();
            EXPECT_THAT(reader.takeMessages(), ElementsAre(message));
            EXPECT_FLOAT_EQ(firstSample(reader.reader()), 0.2f) << message;
        }
        write(brighter);
        reader.open();
        EXPECT_THAT(reader.takeMessages(), IsEmpty());
        EXPECT_FLOAT_EQ(firstSample(reader.reader()), 0.4f) << message;
    }
}

namespace {

class Rows : public ReaderTest
{
protected:
    static constexpr std::array channels{Chan_Red, Chan_Green, Chan_Blue, Chan_Alpha};
    static constexpr float untouched = -7.f;
    static constexpr int none = -1, unwritten = -2;  // instead of a stored row
    static constexpr int storedWidth = 4, storedHeight = 3;

    // Full RGBA pixels, of whose bytes no two are alike and none is 0.
    static MediaFileBytes numberedPicture()
    {
        std::string data(storedHeight * storedWidth * 4, '\0');
        std::iota(data.begin(), data.end(), '\1');
        return MediaFileBytes::picture(rgbaU8, storedWidth, storedHeight, data);
    }

    static float numberedSample(int channel, int row, int column)
    {
        return static_cast<float>(1 + (row * storedWidth + column) * 4 + channel) / 255;
    }

    // Asks for any columns x to r - 1 within a row that is wider on both sides. The stored row has
    // zeros all around, and all channels are written whichever are asked for.
    static void expectRow(Headless::HostedReader& reader, int y, int storedRow)
    {
        for (int x = -5; x < 10; ++x)
            for (int r = x; r < 10; ++r) {
                Row row(x - 3, r + 3);
                for (const auto channel : channels)
                    std::fill_n(row.writable(channel) + row.x(), row.r() - row.x(), untouched);
                reader.reader().engine(y, x, r, r % 2 == 0 ? Mask_RGBA : Mask_None, row);
                for (int channel = 0; channel < 4; ++channel)
                    for (int column = row.x(); column < row.r(); ++column) {
                        float sample = 0;
                        if (storedRow == unwritten || column < x || r <= column)
                            sample = untouched;
                        else if (storedRow != none && 0 <= column && column < storedWidth)
                            sample = numberedSample(channel, storedRow, column);
                        ASSERT_FLOAT_EQ(row[channels[channel]][column], sample)
                            << "at " << y << " from " << x << " to " << r << ": " << column;
                    }
            }
    }
};

}

// Any columns, on several threads at once. Rows are counted from the bottom, the stored ones from
// the top. The picture hangs from its top row, as high as the media header says, which may differ
// from the stored frame.
TEST_F(Rows, areZeroOutsideTheStoredFrame)
{
    using Limits = std::numeric_limits<int>;
    const std::pair<std::uint16_t, std::vector<int>> cases[] = {
        // width, stored rows by y
        {4, {2, 1, 0}}, {6, {none, none, 2, 1, 0}}, {2, {1, 0}},
        {6, {1, 0}},    {2, {none, none, 2, 1, 0}},
    };
    for (const auto& [width, storedRows] : cases) {
        const int height = static_cast<int>(storedRows.size());
        auto file = numberedPicture();
        file.width = width;
        file.height = static_cast<std::uint16_t>(height);
        auto reader = opened(write(file));
        onThreads([&, &rows = storedRows](int) {
            for (int y = 0; y < height; ++y)
                expectRow(reader, y, rows[y]);
            for (const int y : {Limits::min(), -1 - height, height, Limits::max()})
                expectRow(reader, y, none);
        });
        EXPECT_FLOAT_EQ(reader.picture().pixel(1, 1)[2], numberedSample(2, 1, 1));
        EXPECT_THAT(reader.takeMessages(), IsEmpty());
    }
}

TEST_F(Rows, areLeftAloneBeforeTheFirstOpen)
{
    auto reader = construct(write(numberedPicture()));
    expectRow(reader, 0, unwritten);
    EXPECT_THAT(reader.takeMessages(), Each("No input frame!"));
}

// The picture with the most bits stands for the original, and one of 8 bits for its alpha. To both,
// each sample is as near as its format lets it be, in the mean.
TEST_F(Samples, showTheOriginal)
{
    const auto read = [&](const std::string& format) {
        return m_host->read(SAMPLES "/coffee." + format + ".zeq").pixels;
    };
    const auto opaque = read("rgb-smpte-2110");
    auto transparent = opaque;
    const auto withAlpha = read("rgba-u8");
    for (std::size_t alpha = 3; alpha < transparent.size(); alpha += 4)
        transparent[alpha] = withAlpha.at(alpha);
    const std::tuple<const char*, const std::vector<float>&, double> cases[] = {
        // clang-format off
        {"rgb-u8",          opaque,      0.00075},
        {"bgr-u8",          opaque,      0.00075},
        {"rgba-u8",         transparent, 0.00075},
        {"bgra-u8",         transparent, 0.00075},
        {"rgb-dpx-filled",  opaque,      0.00018},
        {"bgr-dpx-filled",  opaque,      0.00018},
        {"rgb-smpte-2110",  opaque,      0},
        {"bgr-smpte-2110",  opaque,      0},
        {"yuyv-422",        opaque,      0.0042},
        {"zeq-422",         opaque,      0.0039},
        {"zeq-4224-hybrid", transparent, 0.0042},
        {"zeq-420",         opaque,      0.0056},
        {"ycocg-dxt5",      opaque,      0.0064},
        // clang-format on
    };
    for (const auto& [format, original, meanError] : cases) {
        const auto pixels = read(format);
        ASSERT_EQ(pixels.size(), 300 * 200 * 4u) << format;
        EXPECT_LE(cv::norm(pixels, original, cv::NORM_L1) / (300 * 200 * 4), meanError) << format;
    }
}

// No media file has such a format today.
TEST(FrameForHost, isRefusedWithMoreThan12BitsOrAsNoImage)
{
    for (const auto type :
         {ChannelType::U15plus1, ChannelType::U16, ChannelType::F32, ChannelType{6}})
        expectError("Unsupported channel type " + toString(type), [&] { ForHost::depth(type); });
    const OtherFrame frame(Velmora::Formats::BGRA_F32());
    expectError("Unsupported input frame type!", [&] { ForHost::image(&frame); });
}
