#include "tests/reader/ReaderTest.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

using namespace DD::Image;
using namespace testing;

namespace {

constexpr float untouched = -7.f;
constexpr Channel rgba[] = {Chan_Red, Chan_Green, Chan_Blue, Chan_Alpha};

class Rows : public ReaderTest
{
protected:
    // Asks for the columns x to r - 1 within a row that is wider on both sides.
    static Row pull(HostedReader& reader, int y, int x, int r, ChannelMask channels = Mask_RGBA)
    {
        Row row(x - margin, r + margin);
        for (const auto channel : rgba)
            for (int column = row.x(); column < row.r(); ++column)
                row.writable(channel)[column] = untouched;
        reader.reader().engine(y, x, r, channels, row);
        return row;
    }

    // Compares with the given row of a telling picture, which has zeros all around.
    static void expectRow(const Row& row, int storedRow, int storedWidth)
    {
        for (int channel = 0; channel < 4; ++channel)
            for (int column = row.x(); column < row.r(); ++column) {
                SCOPED_TRACE("channel " + std::to_string(channel) + ", column " +
                             std::to_string(column));
                const float sample = row[rgba[channel]][column];
                if (column < row.x() + margin || column >= row.r() - margin)
                    EXPECT_EQ(sample, untouched);
                else if (storedRow == none || column < 0 || column >= storedWidth)
                    EXPECT_EQ(sample, 0.f);
                else
                    EXPECT_FLOAT_EQ(sample, tellingSample(channel, storedRow, column));
            }
    }

    static constexpr int margin = 3;
    static constexpr int none = -1;
};

}

TEST_F(Rows, areCountedFromTheBottomAndColumnsFromTheLeft)
{
    auto reader = construct(write(tellingPicture(7, 5)));
    reader.open();
    for (int y = 0; y < 5; ++y) {
        SCOPED_TRACE(y);
        expectRow(pull(reader, y, 0, 7), 4 - y, 7);
        expectRow(pull(reader, y, 2, 5), 4 - y, 7);
        expectRow(pull(reader, y, 6, 7), 4 - y, 7);
    }
    EXPECT_THAT(reader.takeMessages(), IsEmpty());
}

TEST_F(Rows, haveAllChannelsWhicheverAreAskedFor)
{
    auto reader = construct(write(tellingPicture(3, 2)));
    reader.open();
    expectRow(pull(reader, 1, 0, 3, Mask_None), 0, 3);
}

// Nothing is written where no column is asked for.
TEST_F(Rows, areZeroOutsideTheStoredFrame)
{
    constexpr int least = std::numeric_limits<int>::min();
    constexpr int most = std::numeric_limits<int>::max();
    auto reader = construct(write(tellingPicture(4, 3)));
    reader.open();
    const struct
    {
        int y, x, r;
        int storedRow;
    } cases[] = {
        {0, -2, 6, 2},      {0, -2, 2, 2},        {0, 2, 6, 2},        {0, -5, -1, 2},
        {0, 4, 9, 2},       {0, 1000, 1004, 2},   {-1, 0, 4, none},    {3, 0, 4, none},
        {1000, 0, 4, none}, {least, -1, 5, none}, {most, -1, 5, none}, {0, -1, -1, 2},
        {0, 3, 3, 2},       {0, 9, 9, 2},
    };
    for (const auto& [y, x, r, storedRow] : cases) {
        SCOPED_TRACE("y " + std::to_string(y) + ", x " + std::to_string(x));
        expectRow(pull(reader, y, x, r), storedRow, 4);
    }
    EXPECT_THAT(reader.takeMessages(), IsEmpty());
}

// The picture hangs from its top row, as high as the media header says.
TEST_F(Rows, followTheMediaHeaderWhereTheFrameHasAnotherSize)
{
    const struct
    {
        std::uint16_t width, height;
        std::vector<int> storedRows;  // by y
    } cases[] = {
        {6, 5, {none, none, 2, 1, 0}},
        {2, 2, {1, 0}},
        {6, 2, {1, 0}},
        {2, 5, {none, none, 2, 1, 0}},
    };
    for (const auto& [width, height, storedRows] : cases) {
        auto file = tellingPicture(4, 3);
        file.width = width;
        file.height = height;
        auto reader = construct(write(file));
        reader.open();
        for (int y = 0; y < height; ++y) {
            SCOPED_TRACE("height " + std::to_string(height) + ", y " + std::to_string(y));
            expectRow(pull(reader, y, 0, width), storedRows[static_cast<std::size_t>(y)], 4);
        }
        EXPECT_THAT(reader.takeMessages(), IsEmpty());
    }
}

TEST_F(Rows, areLeftAloneBeforeTheFirstOpen)
{
    auto reader = construct(write(tellingPicture(4, 3)));
    const auto row = pull(reader, 0, 0, 4);
    for (const auto channel : rgba)
        for (int column = row.x(); column < row.r(); ++column)
            EXPECT_EQ(row[channel][column], untouched);
    EXPECT_THAT(reader.takeMessages(), ElementsAre("No input frame!"));
}
