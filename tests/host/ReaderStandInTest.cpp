#include "host/headless/FormatPanel.h"

#include <DDImage/FileReader.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>

using namespace DD::Image;
using namespace testing;

namespace {

class TestReader final : public FileReader
{
public:
    explicit TestReader(int descriptor = -1) : FileReader(nullptr, descriptor, nullptr, 0) {}

    void engine(int, int, int, ChannelMask, Row&) override {}

    using FileReader::filename;
    using FileReader::from_float;
    using FileReader::info_;
    using FileReader::set_info;
};

}

TEST(ReaderStandIn, worksWithoutAnOperator)
{
    TestReader reader;
    EXPECT_EQ(reader.filename(), nullptr);
    reader.open();
    EXPECT_EQ(reader.height(), 0);
}

TEST(ReaderStandIn, pixelAspectOfZeroStandsForSquarePixels)
{
    TestReader reader;
    reader.set_info(1920, 1080, 10, 0.0);
    EXPECT_EQ(reader.info().pixelAspect(), 1.0);
    reader.set_info(720, 576, 8, 1.42);
    EXPECT_EQ(reader.info().pixelAspect(), 1.42);
    EXPECT_EQ(reader.height(), 576);
}

TEST(ReaderStandIn, takesOneSampleOfEachPixel)
{
    TestReader reader;
    const float pixels[] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    float samples[] = {0, 0, 0, -1};
    reader.from_float(Chan_Green, samples, pixels + 1, nullptr, 3, 3);
    EXPECT_THAT(samples, ElementsAre(2, 5, 8, -1));
    reader.from_float(Chan_Red, samples, pixels, nullptr, 0, 3);
    EXPECT_THAT(samples, ElementsAre(2, 5, 8, -1));
}

TEST(ReaderStandIn, closesTheDescriptor)
{
    const int descriptor = ::open("/dev/null", O_RDONLY);
    {
        const TestReader reader(descriptor);
        EXPECT_NE(::fcntl(descriptor, F_GETFD), -1);
    }
    EXPECT_EQ(::fcntl(descriptor, F_GETFD), -1);
}

TEST(RowStandIn, isIndexedByTheColumn)
{
    for (const int x : {-5, 0, 7}) {
        Row row(x, x + 3);
        for (const auto channel : {Chan_Red, Chan_Green, Chan_Blue, Chan_Alpha})
            for (int column = x; column < x + 3; ++column)
                row.writable(channel)[column] = static_cast<float>(10 * channel + column - x);
        EXPECT_EQ(row[Chan_Red][x], 10);
        EXPECT_EQ(row[Chan_Blue][x + 1], 31);
        EXPECT_EQ(row[Chan_Alpha][x + 2], 42);
    }
}

TEST(ChannelSetStandIn, holdsRedGreenBlueAndAlpha)
{
    const ChannelSet none;
    const ChannelSet rgba = Mask_RGBA;
    EXPECT_FALSE(rgba.contains(Chan_Black));
    for (const auto channel : {Chan_Red, Chan_Green, Chan_Blue, Chan_Alpha}) {
        EXPECT_TRUE(rgba.contains(channel)) << channel;
        EXPECT_FALSE(none.contains(channel)) << channel;
    }
    EXPECT_FALSE(rgba.contains(Channel{5}));
}
