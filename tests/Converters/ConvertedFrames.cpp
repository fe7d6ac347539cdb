#include "tests/Converters/ConvertedFrames.h"

#include "tests/support/PlainDecoding.h"

#include <cmath>
#include <cstring>
#include <iomanip>
#include <random>

namespace MediaConversion {

namespace {

double channelValue(const cv::Mat& pixels, int row, int index)
{
    switch (pixels.depth()) {
        case CV_8U:
            return pixels.ptr<std::uint8_t>(row)[index];
        case CV_16U:
            return pixels.ptr<std::uint16_t>(row)[index];
        case CV_32F:
            return static_cast<double>(pixels.ptr<float>(row)[index]);
        default:
            return std::nan("");
    }
}

testing::AssertionResult differenceInRow(const cv::Mat& expected, const cv::Mat& actual, int row)
{
    const auto channelSize = expected.elemSize1();
    int index = 0;
    while (!std::memcmp(expected.ptr(row) + index * channelSize,
                        actual.ptr(row) + index * channelSize, channelSize))
        ++index;
    return testing::AssertionFailure()
           << std::setprecision(9) << "row " << row << ", column " << index / expected.channels()
           << ", channel " << index % expected.channels() << ": expected "
           << channelValue(expected, row, index) << ", got " << channelValue(actual, row, index);
}

std::vector<double> allChannels(const DecodingCase& decodingCase)
{
    const auto& packing = decodingCase.source.pixelPacking;
    const std::size_t pixels = packing.rowsPerGroup * packing.columnsPerGroup;
    if (decodingCase.channels.size() != decodingCase.destination.pixelPacking.channelsPerGroup)
        return decodingCase.channels;
    std::vector<double> channels;
    for (std::size_t pixel = 0; pixel < pixels; ++pixel)
        channels.insert(channels.end(), decodingCase.channels.begin(), decodingCase.channels.end());
    return channels;
}

}

testing::AssertionResult sameBytes(const cv::Mat& expected, const cv::Mat& actual)
{
    if (expected.size() != actual.size() || expected.type() != actual.type())
        return testing::AssertionFailure()
               << "expected " << expected.cols << " x " << expected.rows << " of type "
               << expected.type() << ", got " << actual.cols << " x " << actual.rows << " of type "
               << actual.type();
    const auto rowSize = expected.cols * expected.elemSize();
    for (int row = 0; row < expected.rows; ++row)
        if (std::memcmp(expected.ptr(row), actual.ptr(row), rowSize) != 0)
            return differenceInRow(expected, actual, row);
    return testing::AssertionSuccess();
}

std::vector<double> channelValues(const cv::Mat& pixels)
{
    std::vector<double> values;
    for (int row = 0; row < pixels.rows; ++row)
        for (int index = 0; index < pixels.cols * pixels.channels(); ++index)
            values.push_back(channelValue(pixels, row, index));
    return values;
}

cv::Mat randomMatrix(const Velmora::FrameFormat& format, int rows, int columns, std::uint64_t seed)
{
    const bool isPacked = Velmora::PackedFormatCvTypes().contains(format);
    cv::Mat matrix(rows, columns,
                   openCvType(format, isPacked ? Velmora::PackedFormatCvTypes()
                                               : Velmora::FullFormatCvTypes()));
    std::mt19937_64 random(seed);
    for (std::size_t byte = 0; byte < matrix.total() * matrix.elemSize(); ++byte)
        matrix.data[byte] = static_cast<std::uint8_t>(random() >> 32);
    return matrix;
}

cv::Mat groupsOf(const Velmora::FrameFormat& format, const std::vector<std::uint8_t>& bytes)
{
    const auto count = bytes.size() / format.pixelPacking.bytesPerGroup;
    cv::Mat groups(1, static_cast<int>(count), openCvType(format, Velmora::PackedFormatCvTypes()));
    std::memcpy(groups.data, bytes.data(), bytes.size());
    return groups;
}

void expectChannels(const DecodingCase& decodingCase, const cv::Mat& pixels)
{
    SCOPED_TRACE(decodingCase.name);
    auto expected = allChannels(decodingCase);
    if (decodingCase.destination.channelType == Velmora::ChannelType::F32)
        for (auto& value : expected)
            value = static_cast<double>(static_cast<float>(value));
    EXPECT_EQ(channelValues(pixels), expected);
    const Velmora::PackedFrame frame(decodingCase.source,
                                     groupsOf(decodingCase.source, decodingCase.group));
    EXPECT_EQ(channelValues(plainDecode(frame, decodingCase.destination)), expected)
        << "by the plain arithmetic";
}

}
