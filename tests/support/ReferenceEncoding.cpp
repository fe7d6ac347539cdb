#include "tests/support/ReferenceEncoding.h"

#include "tests/support/ReferenceBlocks.h"
#include "tests/support/ReferencePackings.h"
#include "tests/support/ReferencePixels.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>

namespace MediaConversion {

using namespace Reference;

namespace {

// Negative values are cut towards 0, then masked.
unsigned code(double value, int maximum)
{
    return static_cast<int>(value * maximum + 0.5) & maximum;
}

// The chroma of the group is the mean of its pixels'; with alpha, the first pixel's alone.
template <class Packing, class Pixels>
typename Packing::Samples encodeYCbCr(const Pixels& pixel, const Channels& channels, double scale)
{
    constexpr int pixelCount = Packing::rows * Packing::columns;
    constexpr int chromaCount = Packing::hasAlpha ? 1 : pixelCount;
    typename Packing::Samples samples{};
    double cb = 0;
    double cr = 0;
    for (int k = 0; k < pixelCount; ++k) {
        const auto value = [&](int c) { return clamped(pixel[k][channels[c]] / scale, scale); };
        const double r = value(0);
        const double g = value(1);
        const double b = value(2);
        samples[2 + k] = code(0.299 * r + 0.587 * g + 0.114 * b, Packing::lumaMaximum);
        if constexpr (Packing::hasAlpha)
            samples[2 + pixelCount + k] = code(value(3), Packing::chromaMaximum);
        if (k < chromaCount) {
            cb += 0.5 * b - 0.168736 * r - 0.331264 * g + 0.5;
            cr += 0.5 * r - 0.418688 * g - 0.081312 * b + 0.5;
        }
    }
    samples[0] = code(cb / chromaCount, Packing::chromaMaximum);
    samples[1] = code(cr / chromaCount, Packing::chromaMaximum);
    return samples;
}

template <class Packing, class Element>
void encodeGroups(const Velmora::FullFrame& source, const std::string& packing,
                  const cv::Mat& groups)
{
    // An RGB packing's name starts with the order of its samples.
    const auto channels =
        channelsOf(Packing::isRgb ? packing.substr(0, 3) : "RGBA", source.format().pixelFormat);
    const double scale = fullScale(source.format().channelType);
    forEachGroup<Packing::rows, Packing::columns, Element>(
        source.image(), groups, [&](const auto& pixel, auto* group) {
            typename Packing::Samples samples;
            if constexpr (Packing::isRgb)
                for (std::size_t k = 0; k < samples.size(); ++k)
                    samples[k] = quantised<unsigned>(
                        pixel[k / 3][channels[k % 3]] / scale * Packing::maximum, Packing::maximum);
            else
                samples = encodeYCbCr<Packing>(pixel, channels, scale);
            std::fill_n(group, groups.elemSize(), std::uint8_t{0});
            Packing::write(group, samples);
        });
}

void encodeBlocks(const cv::Mat& pixels, const Channels& channels, const cv::Mat& blocks,
                  void (*encode)(const Block&, std::uint8_t*))
{
    forEachGroup<4, 4, std::uint8_t>(pixels, blocks, [&](const auto& pixel, auto* bytes) {
        Block block{};
        for (int k = 0; k < 16; ++k)
            for (int c = 0; c < 3; ++c)
                block[k][c] = pixel[k][channels[c]];
        encode(block, bytes);
    });
}

}

cv::Mat referenceEncode(const Velmora::FullFrame& source, const Velmora::FrameFormat& destination)
{
    const std::string& packing = destination.pixelFormat;
    cv::Mat groups(source.height() / int(destination.pixelPacking.rowsPerGroup),
                   source.width() / int(destination.pixelPacking.columnsPerGroup),
                   openCvType(destination, Velmora::PackedFormatCvTypes()));
    if (packing == "RGB-DXT1" || packing == "YCoCg-DXT5")
        encodeBlocks(source.image(), channelsOf("RGB", source.format().pixelFormat), groups,
                     packing == "RGB-DXT1" ? encodeDxt1 : encodeYCoCgDxt5);
    else
        withPacking(packing, [&]<class Packing>(Packing) {
            withElement(source.format().channelType, [&]<class Element>(Element) {
                encodeGroups<Packing, Element>(source, packing, groups);
            });
        });
    return groups;
}

}
