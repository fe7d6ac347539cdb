#include "tests/reader/ReaderTest.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <numeric>
#include <string>
#include <thread>
#include <vector>

using namespace Headless;

using namespace DD::Image;
using namespace testing;

namespace {

class Rows : public ReaderTest
{
protected:
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
    static void expectRow(HostedReader& reader, int y, int storedRow)
    {
        for (int x = -5; x < 10; ++x)
            for (int r = x; r < 10; ++r) {
                Row row(x - 3, r + 3);
                for (const auto channel : channels)
                    std::fill_n(row.writable(channel) + row.x(), row.r() - row.x(), untouched);
                reader.reader().engine(y, x, r, r % 2 == 0 ? Mask_RGBA : Mask_None, row);
                for (int channel = 0; channel < 4; ++channel)
                    for (int column = row.x(); column < row.r(); ++column) {
                        const bool isStored = storedRow >= 0 && 0 <= column && column < storedWidth;
                        const bool isWritten = storedRow != unwritten && x <= column && column < r;
                        const float sample =
                            isStored ? numberedSample(channel, storedRow, column) : 0;
                        ASSERT_FLOAT_EQ(row[channels[channel]][column],
                                        isWritten ? sample : untouched)
                            << "y " << y << ", columns " << x << " to " << r << ": channel "
                            << channel << ", column " << column;
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
    constexpr int least = std::numeric_limits<int>::min();
    constexpr int most = std::numeric_limits<int>::max();
    const struct
    {
        std::uint16_t width;
        std::vector<int> storedRows;  // by y
    } cases[] = {
        {4, {2, 1, 0}}, {6, {none, none, 2, 1, 0}}, {2, {1, 0}},
        {6, {1, 0}},    {2, {none, none, 2, 1, 0}},
    };
    for (const auto& [width, storedRows] : cases) {
        const int height = static_cast<int>(storedRows.size());
        auto file = numberedPicture();
        file.width = width;
        file.height = static_cast<std::uint16_t>(height);
        auto reader = opened(write(file));
        const auto pullRows = [&, &storedRows = storedRows] {
            for (int y = 0; y < height; ++y)
                expectRow(reader, y, storedRows[y]);
            for (const int y : {least, -1 - height, height, most})
                expectRow(reader, y, none);
        };
        {
            std::vector<std::jthread> threads;
            for (int thread = 0; thread < 8; ++thread)
                threads.emplace_back(pullRows);
        }
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
