#include "tests/Converters/ConvertedFrames.h"

#include "tests/support/ReferencePackings.h"

#include <algorithm>
#include <cstring>
#include <random>

namespace MediaConversion {
namespace {

using Velmora::FrameFormat;

int typeOf(const FrameFormat& format)
{
    return openCvType(
        format, isPacked(format) ? Velmora::PackedFormatCvTypes() : Velmora::FullFormatCvTypes());
}

}

bool isPacked(const FrameFormat& format)
{
    return Velmora::PackedFormatCvTypes().contains(format);
}

cv::Mat randomMatrix(const FrameFormat& format, int rows, int columns)
{
    cv::Mat matrix(rows, columns, typeOf(format));
    std::generate(matrix.data, matrix.data + matrix.total() * matrix.elemSize(),
                  [random = std::mt19937_64()]() mutable { return uchar(random() >> 32); });
    return matrix;
}

cv::Mat groupsOf(const FrameFormat& format, int rows, int columns, const SamplesAt& samplesAt)
{
    cv::Mat groups = cv::Mat::zeros(rows, columns, typeOf(format));
    Reference::withPacking(format.pixelFormat, [&]<class Packing>(Packing) {
        for (int row = 0; row < rows; ++row)
            for (int column = 0; column < columns; ++column) {
                typename Packing::Samples samples{};
                std::ranges::copy(samplesAt(row, column), samples.begin());
                Packing::write(groups.ptr(row, column), samples);
            }
    });
    return groups;
}

std::vector<double> groupOf(const FrameFormat& format, const std::vector<unsigned>& samples)
{
    const auto group = groupsOf(format, 1, 1, [&](unsigned, unsigned) { return samples; });
    return {group.data, group.data + group.elemSize()};
}

testing::AssertionResult sameBytes(const cv::Mat& expected, const cv::Mat& actual)
{
    if (expected.size() != actual.size() || expected.type() != actual.type())
        return testing::AssertionFailure() << actual.size() << " of type " << actual.type();
    for (int row = 0; row < expected.rows; ++row)
        for (int column = 0; column < expected.cols; ++column)
            if (std::memcmp(expected.ptr(row, column), actual.ptr(row, column),
                            expected.elemSize()))
                return testing::AssertionFailure()
                       << "row " << row << ", column " << column << ": expected "
                       << expected({column, row, 1, 1}) << ", got " << actual({column, row, 1, 1});
    return testing::AssertionSuccess();
}

cv::Mat ConversionCase::matrixOf(const FrameFormat& format, const std::vector<double>& values) const
{
    if (isPacked(format)) {
        cv::Mat group(1, 1, typeOf(format));
        EXPECT_EQ(values.size(), group.elemSize()) << name;
        std::ranges::transform(values, group.data, [](double byte) { return std::uint8_t(byte); });
        return group;
    }
    const auto& packing = (isPacked(source) ? source : destination).pixelPacking;
    const auto channels = format.pixelPacking.channelsPerGroup;
    const bool isOnePixel = values.size() == channels;
    const int rows = isOnePixel ? 1 : int(packing.rowsPerGroup);
    cv::Mat pixels = cv::Mat(values, true).reshape(int(channels), rows);
    if (isOnePixel)
        pixels = cv::repeat(pixels, int(packing.rowsPerGroup), int(packing.columnsPerGroup));
    pixels.convertTo(pixels, typeOf(format));
    return pixels;
}

}
