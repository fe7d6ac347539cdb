#pragma once

#include "tests/Converters/ConvertedFrames.h"
#include "tests/support/ExpectError.h"
#include "tests/support/PlainEncoding.h"

#include <set>
#include <string>

// What the tests of the encoding converters say, beside what those of all converters say.
namespace MediaConversion {

// A packed or full frame, as the format is, of random pixels.
inline std::shared_ptr<const Velmora::IImageFrame> randomFrame(const Velmora::FrameFormat& format,
                                                               int columns, int rows)
{
    const auto pixels = randomMatrix(format, rows, columns);
    if (Velmora::PackedFormatCvTypes().contains(format))
        return std::make_shared<Velmora::PackedFrame>(format, pixels);
    return std::make_shared<Velmora::FullFrame>(format, pixels);
}

// A frame that a converter refuses, and the whole message.
struct RefusedFrame
{
    std::shared_ptr<const Velmora::IImageFrame> frame;
    Velmora::FrameFormat destination;
    std::string text;
};

template <class Processor>
void expectRefused(const std::vector<RefusedFrame>& refusedFrames)
{
    for (const auto& refused : refusedFrames)
        expectError<std::runtime_error>(
            refused.text, [&] { Processor(refused.destination).onNewImage(refused.frame); });
}

// The groups that the converter makes of the pixels; checks the kind and the format of the result.
template <class Processor>
cv::Mat encoded(const Velmora::FrameFormat& source, const cv::Mat& pixels,
                const Velmora::FrameFormat& destination)
{
    const auto result =
        Processor(destination).onNewImage(std::make_shared<Velmora::FullFrame>(source, pixels));
    const auto& packedFrame = dynamic_cast<const Velmora::PackedFrame&>(*result);
    EXPECT_TRUE(packedFrame.format() == destination) << toString(packedFrame.format());
    return packedFrame.image();
}

// The pixels of one group row by row, and the group. If only one pixel is given, all are like it.
struct EncodingCase
{
    const char* name;
    Velmora::FrameFormat source;
    std::vector<double> channels;
    Velmora::FrameFormat destination;
    std::vector<unsigned> bytes;
};

// Expects both the converter and the plain arithmetic to make the case's groups.
template <class Processor>
void expectEncoded(const std::vector<EncodingCase>& cases)
{
    for (const auto& [name, source, channels, destination, bytes] : cases) {
        const auto& packing = destination.pixelPacking;
        const bool isOnePixel = channels.size() == source.pixelPacking.channelsPerGroup;
        cv::Mat pixels(channels, true);
        pixels = pixels.reshape(int(source.pixelPacking.channelsPerGroup),
                                isOnePixel ? 1 : int(packing.rowsPerGroup));
        if (isOnePixel)
            pixels = cv::repeat(pixels, int(packing.rowsPerGroup), int(packing.columnsPerGroup));
        pixels.convertTo(pixels, openCvType(source, Velmora::FullFormatCvTypes()));
        const auto expected = groupsOf(destination, {bytes.begin(), bytes.end()});
        EXPECT_TRUE(sameBytes(expected, encoded<Processor>(source, pixels, destination))) << name;
        EXPECT_TRUE(sameBytes(expected, plainEncode({source, pixels}, destination)))
            << name << " by the plain arithmetic";
    }
}

// The formats that the converter can encode.
template <class Processor>
std::set<Velmora::FrameFormat> sourcesOf()
{
    std::set<Velmora::FrameFormat> sources;
    for (const auto& entry : Processor::conversions())
        sources.insert(entry.first.first);
    return sources;
}

// Encodes the pixels to all destinations that the table has for their format.
template <class Processor>
void expectEncodedAsPlain(const Velmora::FrameFormat& source, const cv::Mat& pixels)
{
    for (const auto& entry : Processor::conversions()) {
        const auto& destination = entry.first.second;
        if (entry.first.first != source)
            continue;
        EXPECT_TRUE(sameBytes(plainEncode({source, pixels}, destination),
                              encoded<Processor>(source, pixels, destination)))
            << toString(source) << " to " << toString(destination) << ", " << pixels.cols << " x "
            << pixels.rows;
    }
}

// Encodes every source, its pixels in the midst of others, which nobody may change: rows of 1 to 36
// groups of up to 4 x 4 pixels and a larger frame, on one thread and on two.
template <class Processor>
void expectAllShapesEncodedAsPlain()
{
    for (int groups = 1; groups <= 38; ++groups) {
        cv::setNumThreads(1 + groups % 2);
        const cv::Rect inside(1 + groups % 3, 1, groups > 36 ? 524 : 4 * groups,
                              groups > 36 ? 268 : 4);
        for (const auto& source : sourcesOf<Processor>()) {
            const auto whole = randomMatrix(source, inside.height + 2, inside.width + 5, groups);
            const cv::Mat before = whole.clone();
            expectEncodedAsPlain<Processor>(source, whole(inside));
            EXPECT_TRUE(sameBytes(before, whole)) << "the pixels of " << toString(source);
        }
    }
    cv::setNumThreads(-1);
}

}
