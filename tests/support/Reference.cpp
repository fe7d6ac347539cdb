#include "tests/support/Reference.h"

#include "MediaConversion/MediaPipeline/Formats.h"
#include "tests/support/ReferenceBlocks.h"
#include "tests/support/ReferencePackings.h"

#include <algorithm>
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

// Which channels of a pixel hold the colours of these letters; -1 for one that it lacks.
std::array<int, 4> channelsOf(const std::string& colours, const std::string& pixelFormat)
{
    std::array<int, 4> channels{};
    for (std::size_t k = 0; k < colours.size(); ++k)
        channels[k] = static_cast<int>(pixelFormat.find(colours[k]));
    return channels;
}

// Calls `body` with each group's pixels, row by row, and the group.
template <class Packing, class Element, class Body>
void forEachGroup(cv::Mat pixels, cv::Mat groups, const Body& body)
{
    cv::parallel_for_(cv::Range(0, groups.rows), [&](const cv::Range& range) {
        for (int row = range.start; row < range.end; ++row)
            for (int x = 0; x < groups.cols; ++x) {
                std::array<Element*, Packing::rows * Packing::columns> pixel;
                for (int k = 0; k < int(pixel.size()); ++k)
                    pixel[k] = pixels.ptr<Element>(row * Packing::rows + k / Packing::columns) +
                               (x * Packing::columns + k % Packing::columns) * pixels.channels();
                body(pixel, groups.ptr<std::uint8_t>(row) + x * groups.elemSize());
            }
    });
}

// From groups to pixels or back: the one matrix is read and the other filled.
template <class Packing, class Element>
void convertGroups(const FrameFormat& packed, cv::Mat groups, const FrameFormat& full,
                   cv::Mat pixels, bool isDecoding)
{
    const bool isBlueFirst = packed.pixelFormat.starts_with("BGR");
    const auto channels = channelsOf(isBlueFirst ? "BGRA" : "RGBA", full.pixelFormat);
    const double scale = fullScale(full);
    if (isDecoding)
        forEachGroup<Packing, Element>(pixels, groups, [&](const auto& pixel, auto* group) {
            const auto colours = Packing::template decode<sizeof(Element) == 1>(group);
            for (std::size_t k = 0; k < pixel.size(); ++k)
                for (int c = 0; c < 4; ++c)
                    if (channels[c] >= 0)
                        pixel[k][channels[c]] = quantised<Element>(colours[k][c] * scale, scale);
        });
    else
        forEachGroup<Packing, Element>(pixels, groups, [&](const auto& pixel, auto* group) {
            Colours<Packing::rows * Packing::columns> colours{};
            for (std::size_t k = 0; k < pixel.size(); ++k)
                for (int c = 0; c < 4; ++c)
                    if (channels[c] >= 0)
                        colours[k][c] = clamped(pixel[k][channels[c]] / scale, scale);
            std::fill_n(group, groups.elemSize(), std::uint8_t{0});
            Packing::encode(colours, group);
        });
}

void convertGroups(const FrameFormat& packed, const cv::Mat& groups, const FrameFormat& full,
                   const cv::Mat& pixels, bool isDecoding)
{
    const auto convertAll = [&]<class Packing>(Packing) {
        const auto convertAs = pixels.depth() == CV_8U    ? convertGroups<Packing, std::uint8_t>
                               : pixels.depth() == CV_32F ? convertGroups<Packing, float>
                                                          : convertGroups<Packing, std::uint16_t>;
        convertAs(packed, groups, full, pixels, isDecoding);
    };
    if (packed.pixelFormat == "RGB-DXT1")
        convertAll(Dxt1{});
    else if (packed.pixelFormat == "YCoCg-DXT5")
        convertAll(YCoCgDxt5{});
    else
        withPacking(packed.pixelFormat, convertAll);
}

// Channels come through bit by bit; alpha that was not there is opaque.
void reorder(const cv::Mat& pixels, const FrameFormat& from, const FrameFormat& to, cv::Mat result)
{
    result.setTo(cv::Scalar::all(fullScale(to)));
    std::vector<int> moves;
    const auto channels = channelsOf(to.pixelFormat, from.pixelFormat);
    for (int k = 0; k < result.channels(); ++k)
        if (channels[k] >= 0)
            moves.insert(moves.end(), {channels[k], k});
    cv::mixChannels(std::vector{pixels}, std::vector{result}, moves);
}

}

cv::Mat reference(const Velmora::ImageFrame& source, const FrameFormat& destination)
{
    const auto& format = source.format();
    const bool isPacking = Velmora::PackedFormatCvTypes().contains(destination);
    const auto& [bytes, channels, rows, columns] = destination.pixelPacking;
    cv::Mat result(source.height() / int(rows), source.width() / int(columns),
                   openCvType(destination, isPacking ? Velmora::PackedFormatCvTypes()
                                                     : Velmora::FullFormatCvTypes()));
    if (isPacking)
        convertGroups(destination, result, format, source.image(), false);
    else if (Velmora::PackedFormatCvTypes().contains(format))
        convertGroups(format, source.image(), destination, result, true);
    else if (format.pixelFormat != destination.pixelFormat)
        reorder(source.image(), format, destination, result);
    else
        source.image().convertTo(result, result.depth(),
                                 fullScale(destination) / fullScale(format));
    return result;
}

cv::Mat referenceBgraF32(const Velmora::ImageFrame& source)
{
    using namespace Velmora::Formats;
    const auto& format = source.format();
    const bool isPacked = Velmora::PackedFormatCvTypes().contains(format);
    if (format == BGRA_U8() || (isPacked && format != YCoCg_DXT5()))
        return reference(source, BGRA_F32());
    return reference(*frameOver(BGRA_U8(), reference(source, BGRA_U8())), BGRA_F32());
}

}
