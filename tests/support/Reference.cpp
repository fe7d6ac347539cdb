#include "tests/support/Reference.h"

#include "MediaConversion/Encoder/ConversionRegistry.h"
#include "MediaConversion/MediaPipeline/Formats.h"
#include "tests/support/ReferenceBlocks.h"
#include "tests/support/ReferencePackings.h"

#include <cmath>
#include <functional>
#include <string>
#include <vector>

namespace MediaConversion {

using namespace Reference;
using Velmora::FrameFormat;

namespace {

double fullScale(const FrameFormat& format)
{
    constexpr std::array fullScales{255.0, 1023.0, 4095.0, 32768.0, 65535.0, 1.0};
    return fullScales.at(static_cast<std::size_t>(format.channelType));
}

// What is not a number ends at 0.
double clamped(double value, double maximum)
{
    return value > 0 ? (value < maximum ? value : maximum) : 0;
}

// The channels of these letters, bit by bit; alpha that was not there is opaque.
cv::Mat reordered(const cv::Mat& pixels, const std::string& from, const std::string& to,
                  double opaque)
{
    cv::Mat result(pixels.size(), CV_MAKETYPE(pixels.depth(), int(to.size())),
                   cv::Scalar::all(opaque));
    std::vector<int> moves;
    for (std::size_t k = 0; k < to.size(); ++k)
        if (const auto channel = from.find(to[k]); channel != from.npos)
            moves.insert(moves.end(), {int(channel), int(k)});
    cv::mixChannels(std::vector{pixels}, std::vector{result}, moves);
    return result;
}

// How the pixels of one group are made of its bytes, and the bytes of its pixels.
struct Arithmetic
{
    std::function<void(const std::uint8_t*, bool isToBytes, std::vector<Rgba>&)> decode;
    std::function<void(const std::vector<Rgba>&, std::uint8_t*)> encode;
};

Arithmetic ofBlocks(Block decode(const std::uint8_t*), void encode(const Block&, std::uint8_t*))
{
    return {[=](const std::uint8_t* bytes, bool, std::vector<Rgba>& colours) {
                const Block block = decode(bytes);
                for (int k = 0; k < 64; ++k)
                    colours[k / 4][k % 4] = block[k / 4][k % 4] / 255.0;
            },
            [=](const std::vector<Rgba>& colours, std::uint8_t* bytes) {
                Block block;
                for (int k = 0; k < 64; ++k)
                    block[k / 4][k % 4] = cvRound(colours[k / 4][k % 4] * 255);
                encode(block, bytes);
            }};
}

Arithmetic arithmeticOf(const std::string& name)
{
    if (name == "RGB-DXT1")
        return ofBlocks(decodeDxt1, encodeDxt1);
    if (name == "YCoCg-DXT5")
        return ofBlocks(decodeYCoCgDxt5, encodeYCoCgDxt5);
    const auto& packing = packingOf(name);
    return {std::bind_front(&Packing::decode, &packing),
            std::bind_front(&Packing::encode, &packing)};
}

// From groups to pixels or back: the one matrix is read and the other filled.
void convertGroups(const FrameFormat& packed, cv::Mat groups, const FrameFormat& full,
                   const cv::Mat& pixels, bool isDecoding)
{
    const auto arithmetic = arithmeticOf(packed.pixelFormat);
    const int rows = int(packed.pixelPacking.rowsPerGroup);
    const int columns = int(packed.pixelPacking.columnsPerGroup);
    const std::string letters = packed.pixelFormat.starts_with("BGR") ? "BGRA" : "RGBA";
    const double scale = fullScale(full);
    const auto convertRow = [&](int row) {
        cv::Mat part = pixels.rowRange(row * rows, (row + 1) * rows);
        cv::Mat_<cv::Vec4d> colours(part.size());
        if (!isDecoding) {
            cv::Mat values;
            part.convertTo(values, CV_64F);
            colours = reordered(values, full.pixelFormat, letters, scale);
        }
        std::vector<Rgba> group(std::size_t(rows * columns));
        for (int x = 0; x < groups.cols; ++x) {
            auto* const bytes = groups.ptr(row, x);
            if (isDecoding)
                arithmetic.decode(bytes, part.depth() == CV_8U, group);
            for (int k = 0; k < 4 * rows * columns; ++k) {
                const int pixel = k / 4;
                auto& colour = group[pixel][k % 4];
                auto& value = colours(pixel / columns, x * columns + pixel % columns)[k % 4];
                if (!isDecoding)
                    colour = clamped(value / scale, scale);
                else if (value = clamped(colour * scale, scale); part.depth() != CV_32F)
                    value = std::floor(value + 0.5);
            }
            if (!isDecoding)
                arithmetic.encode(group, bytes);
        }
        if (isDecoding)
            reordered(colours, letters, full.pixelFormat, scale).convertTo(part, part.depth());
    };
    cv::parallel_for_({0, groups.rows}, [&](const cv::Range& range) {
        for (int row = range.start; row < range.end; ++row)
            convertRow(row);
    });
}

}

bool isPacked(const FrameFormat& format)
{
    return Velmora::PackedFormatCvTypes().contains(format);
}

int matrixType(const FrameFormat& format)
{
    return openCvType(
        format, isPacked(format) ? Velmora::PackedFormatCvTypes() : Velmora::FullFormatCvTypes());
}

cv::Mat reference(const Velmora::ImageFrame& source, const FrameFormat& destination)
{
    const auto& format = source.format();
    const auto& packing = destination.pixelPacking;
    cv::Mat result(source.height() / int(packing.rowsPerGroup),
                   source.width() / int(packing.columnsPerGroup), matrixType(destination));
    if (isPacked(destination))
        convertGroups(destination, result, format, source.image(), false);
    else if (isPacked(format))
        convertGroups(format, source.image(), destination, result, true);
    else if (format.pixelFormat != destination.pixelFormat)
        return reordered(source.image(), format.pixelFormat, destination.pixelFormat,
                         fullScale(destination));
    else
        source.image().convertTo(result, result.depth(),
                                 fullScale(destination) / fullScale(format));
    return result;
}

cv::Mat referenceOfChain(const Velmora::ImageFrame& source, const FrameFormat& destination)
{
    const auto hub = Velmora::Formats::BGRA_F32();
    const auto& format = source.format();
    if (format == destination)
        return source.image();
    const auto chain = conversionRegistry().find({destination, format});
    if (chain == conversionRegistry().end())
        return referenceOfChain(*frameOver(hub, referenceOfChain(source, hub)), destination);
    auto result = frameOver(format, source.image());
    for (const auto& step : chain->second)
        result = frameOver(step.format, reference(*result, step.format));
    return result->image();
}

}
