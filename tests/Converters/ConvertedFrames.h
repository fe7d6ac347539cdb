#pragma once

#include "MediaConversion/Converters/ImageProcessors.h"
#include "MediaConversion/MediaPipeline/Formats.h"
#include "MediaConversion/MediaPipeline/Frames.h"
#include "tests/support/Reference.h"

#include <gtest/gtest.h>
#include <opencv2/core.hpp>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <limits>
#include <type_traits>
#include <utility>
#include <vector>

// What the tests of all converters say: make a frame, convert it, compare it with the plain
// arithmetic.
namespace MediaConversion {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

bool isPacked(const Velmora::FrameFormat& format);

// Groups for a packed format, or pixels for a full one, made of random bytes.
cv::Mat randomMatrix(const Velmora::FrameFormat& format, int rows, int columns);

// Groups that hold the samples for each row and column, in the order of the reference arithmetic:
// three for each pixel, or Cb, Cr, luma and perhaps alpha.
using SamplesAt = std::function<std::vector<unsigned>(unsigned row, unsigned column)>;
cv::Mat groupsOf(const Velmora::FrameFormat& format, int rows, int columns,
                 const SamplesAt& samplesAt);

// The bytes of one such group.
std::vector<double> groupOf(const Velmora::FrameFormat& format,
                            const std::vector<unsigned>& samples);

// Whether two matrices hold the same bytes; if not, says where they first differ.
testing::AssertionResult sameBytes(const cv::Mat& expected, const cv::Mat& actual);

// The pairs of formats that the processor converts, source first.
using FormatPairs = std::vector<std::pair<Velmora::FrameFormat, Velmora::FrameFormat>>;

template <class Processor>
FormatPairs pairsOf()
{
    FormatPairs pairs;
    if constexpr (std::is_same_v<Processor, ImageBitDepth>) {
        for (const auto& [source, sourceType] : Velmora::FullFormatCvTypes())
            for (const auto& [to, type] : Velmora::FullFormatCvTypes())
                if (source.colourspace == to.colourspace && source.pixelFormat == to.pixelFormat &&
                    Processor::conversions().contains({source.channelType, to.channelType}))
                    pairs.emplace_back(source, to);
    } else {
        for (const auto& [pair, conversion] : Processor::conversions())
            pairs.push_back(pair);
    }
    return pairs;
}

// The matrix that the processor makes; checks the kind and the format of the result.
template <class Processor>
cv::Mat converted(const Velmora::FrameFormat& source, const cv::Mat& matrix,
                  const Velmora::FrameFormat& destination)
{
    const auto result = Processor(destination).onNewImage(frameOver(source, matrix));
    const auto& frame = dynamic_cast<const Velmora::ImageFrame&>(*result);
    EXPECT_TRUE(frame.format() == destination) << toString(frame.format());
    EXPECT_EQ(dynamic_cast<const Velmora::PackedFrame*>(&frame) != nullptr, isPacked(destination));
    return frame.image();
}

// Expects the reference arithmetic's bytes in the given destinations, or else in all that there are
// for the source.
template <class Processor>
void expectAsReference(const Velmora::FrameFormat& source, const cv::Mat& matrix,
                       const std::vector<Velmora::FrameFormat>& destinations = {})
{
    for (const auto& [from, to] : pairsOf<Processor>())
        if (from == source && (destinations.empty() || std::ranges::count(destinations, to))) {
            const auto result = converted<Processor>(source, matrix, to);
            EXPECT_TRUE(sameBytes(reference(*frameOver(source, matrix), to), result))
                << toString(source) << " to " << toString(to) << ", " << matrix.size();
            EXPECT_NE(result.data, matrix.data);
        }
}

// What becomes of one group or pixel: bytes of groups, channels of pixels row by row. If only one
// pixel is given, all pixels of the group are like it.
struct ConversionCase
{
    const char* name;
    Velmora::FrameFormat source;
    std::vector<double> given;
    Velmora::FrameFormat destination;
    std::vector<double> expected;

    cv::Mat matrixOf(const Velmora::FrameFormat& format, const std::vector<double>& values) const;
};

// Expects the cases of both the processor and the reference arithmetic.
template <class Processor>
void expectCases(const std::vector<ConversionCase>& cases)
{
    for (const auto& row : cases) {
        const auto given = row.matrixOf(row.source, row.given);
        const auto expected = row.matrixOf(row.destination, row.expected);
        EXPECT_TRUE(sameBytes(expected, converted<Processor>(row.source, given, row.destination)))
            << row.name;
        EXPECT_TRUE(sameBytes(expected, reference(*frameOver(row.source, given), row.destination)))
            << row.name << " by the reference arithmetic";
    }
}

}
