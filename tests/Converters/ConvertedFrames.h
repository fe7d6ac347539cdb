#pragma once

#include "MediaConversion/MediaPipeline/FullFrame.h"
#include "MediaConversion/MediaPipeline/IFrame.h"
#include "MediaConversion/MediaPipeline/PackedFrame.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

// What the converters' tests say: make a frame, convert it, compare matrices.
namespace MediaConversion {

// An image frame that is neither full nor packed.
class ForeignImageFrame final : public Velmora::IImageFrame
{
public:
    ForeignImageFrame(Velmora::FrameFormat format, cv::Mat image)
        : m_format(std::move(format)), m_image(std::move(image))
    {
    }

    const Velmora::FrameFormat& format() const override { return m_format; }
    const cv::Mat& image() const override { return m_image; }

private:
    Velmora::FrameFormat m_format;
    cv::Mat m_image;
};

// One source and all the formats that it can be converted to.
struct ConversionRow
{
    Velmora::FrameFormat source;
    std::vector<Velmora::FrameFormat> destinations;
};

// A pair that a table lacks, and the text that names it in the message.
struct RefusedPair
{
    Velmora::FrameFormat source;
    Velmora::FrameFormat destination;
    const char* text;
};

// Expects a table of conversions to hold the pairs of the rows and no others.
template <class Table>
void expectPairs(const Table& table, const std::vector<ConversionRow>& rows)
{
    std::size_t count = 0;
    for (const auto& [source, destinations] : rows)
        for (const auto& destination : destinations) {
            EXPECT_TRUE(table.contains({source, destination}))
                << "missing: " << toString(source) << " to " << toString(destination);
            ++count;
        }
    EXPECT_EQ(table.size(), count);
}

// The pixels that the converter makes of the frame; checks the kind and the format of the result.
template <class Processor>
cv::Mat converted(std::shared_ptr<const Velmora::IImageFrame> frame,
                  const Velmora::FrameFormat& destination)
{
    Processor processor(destination);
    const auto result = processor.onNewImage(std::move(frame));
    const auto* fullFrame = dynamic_cast<const Velmora::FullFrame*>(result.get());
    if (!fullFrame) {
        ADD_FAILURE() << "The result is not a full frame";
        return {};
    }
    EXPECT_TRUE(fullFrame->format() == destination) << toString(fullFrame->format());
    return fullFrame->image();
}

template <class Processor>
cv::Mat converted(const Velmora::FrameFormat& format, const cv::Mat& groups,
                  const Velmora::FrameFormat& destination)
{
    return converted<Processor>(std::make_shared<Velmora::PackedFrame>(format, groups),
                                destination);
}

// Whether two matrices hold the same bytes; if not, says where they first differ.
testing::AssertionResult sameBytes(const cv::Mat& expected, const cv::Mat& actual);

// The channels of all pixels, row by row.
std::vector<double> channelValues(const cv::Mat& pixels);

// Groups for a packed format, or pixels for a full one, made of random bytes.
cv::Mat randomMatrix(const Velmora::FrameFormat& format, int rows, int columns,
                     std::uint64_t seed = 1);

// A matrix of groups, one row, from their bytes.
cv::Mat groupsOf(const Velmora::FrameFormat& format, const std::vector<std::uint8_t>& bytes);

// One group, and what becomes of it: the channels of its pixels row by row. If only one pixel is
// given, all pixels of the group are like it.
struct DecodingCase
{
    const char* name;
    Velmora::FrameFormat source;
    std::vector<std::uint8_t> group;
    Velmora::FrameFormat destination;
    std::vector<double> channels;
};

// Expects both the pixels of the converter and those of the plain arithmetic to be the case's.
void expectChannels(const DecodingCase& decodingCase, const cv::Mat& pixels);

}
