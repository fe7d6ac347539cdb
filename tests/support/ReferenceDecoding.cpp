#include "tests/support/ReferenceDecoding.h"

#include "MediaConversion/MediaPipeline/Formats.h"
#include "tests/support/ReferenceBlocks.h"
#include "tests/support/ReferencePackings.h"
#include "tests/support/ReferencePixels.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace MediaConversion {

using namespace Reference;

namespace {

// 8-bit channels take the top eight bits of a sample, all others the nearest value.
template <class Packing, class Element>
Element channelOf(unsigned sample, double maximum)
{
    constexpr int lostBits = sizeof(Element) == 1 ? Packing::bits - 8 : 0;
    constexpr int sampleMaximum = (1 << (Packing::bits - lostBits)) - 1;
    return quantised<Element>((sample >> lostBits) / double(sampleMaximum) * maximum, maximum);
}

// Red, green, blue and alpha of a group's pixel, with a full scale of 1.
template <class Packing>
std::array<double, 4> rgbaOf(const typename Packing::Samples& samples, std::size_t pixel)
{
    const double luma = samples[2 + pixel] / double(Packing::lumaMaximum);
    const double cb = samples[0] / double(Packing::chromaMaximum) - 0.5;
    const double cr = samples[1] / double(Packing::chromaMaximum) - 0.5;
    const double alpha = Packing::hasAlpha ? samples[4 + pixel] / 1023.0 : 1;
    return {luma + 1.402 * cr, luma - 0.34414 * cb - 0.71414 * cr, luma + 1.772 * cb, alpha};
}

template <class Packing, class Element>
void decodeGroups(const Velmora::PackedFrame& source, const Velmora::FrameFormat& destination,
                  const cv::Mat& pixels)
{
    // An RGB packing's name starts with the order of its samples.
    const auto colours = Packing::isRgb ? source.format().pixelFormat.substr(0, 3) : "RGBA";
    const auto channels = channelsOf(colours, destination.pixelFormat);
    const double maximum = fullScale(destination.channelType);
    forEachGroup<Packing::rows, Packing::columns, Element>(
        pixels, source.image(), [&](const auto& pixel, const std::uint8_t* group) {
            const auto samples = Packing::read(group);
            if constexpr (Packing::isRgb)
                for (std::size_t k = 0; k < samples.size(); ++k)
                    pixel[k / 3][channels[k % 3]] =
                        channelOf<Packing, Element>(samples[k], maximum);
            else
                for (std::size_t k = 0; k < pixel.size(); ++k) {
                    const auto rgba = rgbaOf<Packing>(samples, k);
                    for (int c = 0; c < pixels.channels(); ++c)
                        pixel[k][channels[c]] = quantised<Element>(rgba[c] * maximum, maximum);
                }
        });
}

void decodeBlocks(const cv::Mat& blocks, const Channels& channels, const cv::Mat& pixels,
                  Block (*decode)(const std::uint8_t*))
{
    forEachGroup<4, 4, std::uint8_t>(pixels, blocks, [&](const auto& pixel, const auto* bytes) {
        const auto block = decode(bytes);
        for (int k = 0; k < 16; ++k)
            for (int c = 0; c < 3; ++c)
                pixel[k][channels[c]] = static_cast<std::uint8_t>(block[k][c]);
    });
}

// An 8-bit frame with its channels moved by name; alpha that was not there is opaque.
cv::Mat bgraU8(const cv::Mat& pixels, const std::string& pixelFormat)
{
    const auto channels = channelsOf("BGRA", pixelFormat);
    cv::Mat bgra(pixels.size(), CV_8UC4);
    forEachGroup<1, 1, std::uint8_t>(pixels, bgra, [&](const auto& pixel, auto* to) {
        for (int c = 0; c < 4; ++c)
            to[c] = channels[c] < 0 ? 255 : pixel[0][channels[c]];
    });
    return bgra;
}

}

cv::Mat referenceDecode(const Velmora::PackedFrame& source, const Velmora::FrameFormat& destination)
{
    const std::string& packing = source.format().pixelFormat;
    cv::Mat pixels(source.height(), source.width(),
                   openCvType(destination, Velmora::FullFormatCvTypes()));
    pixels.setTo(cv::Scalar::all(fullScale(destination.channelType)));
    if (packing == "RGB-DXT1" || packing == "YCoCg-DXT5")
        decodeBlocks(source.image(), channelsOf("RGB", destination.pixelFormat), pixels,
                     packing == "RGB-DXT1" ? decodeDxt1 : decodeYCoCgDxt5);
    else
        withPacking(packing, [&]<class Packing>(Packing) {
            withElement(destination.channelType, [&]<class Element>(Element) {
                decodeGroups<Packing, Element>(source, destination, pixels);
            });
        });
    return pixels;
}

cv::Mat referenceBgraF32(const Velmora::ImageFrame& source)
{
    using namespace Velmora::Formats;
    const auto* packed = dynamic_cast<const Velmora::PackedFrame*>(&source);
    if (packed && source.format() != YCoCg_DXT5())
        return referenceDecode(*packed, BGRA_F32());
    cv::Mat pixels = packed ? referenceDecode(*packed, BGRA_U8())
                            : bgraU8(source.image(), source.format().pixelFormat);
    pixels.convertTo(pixels, CV_32F, 1.0 / 255);
    return pixels;
}

}
