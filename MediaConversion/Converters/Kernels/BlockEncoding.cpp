#include "MediaConversion/Converters/Kernels/BlockValues.h"
#include "MediaConversion/Converters/Kernels/Kernels.h"
#include "MediaConversion/Converters/Kernels/Vectors.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>

namespace MediaConversion {

namespace {

struct RgbBlock
{
    BlockValues red;
    BlockValues green;
    BlockValues blue;
};

template <ChannelOrder order>
RgbBlock loadBlock(const std::uint8_t* pixels, std::size_t pixelRowStep)
{
    constexpr std::size_t rowBytes = blockSide * order.channels();
    std::array<std::uint8_t, blockSide * rowBytes> block;
    for (std::size_t row = 0; row < blockSide; ++row)
        std::memcpy(&block[row * rowBytes], pixels + row * pixelRowStep, rowBytes);
    std::array<cv::v_uint8x16, 4> channels;
    if constexpr (order.channels() == 4)
        cv::v_load_deinterleave(block.data(), channels[0], channels[1], channels[2], channels[3]);
    else
        cv::v_load_deinterleave(block.data(), channels[0], channels[1], channels[2]);
    return {BlockValues(channels[order.red]), BlockValues(channels[order.green]),
            BlockValues(channels[order.blue])};
}

// Unlike the decoder's, these endpoints are expanded by repeating their upper bits.
constexpr int expand5(int value)
{
    return (value & 0xF8) | value >> 5;
}

constexpr int expand6(int value)
{
    return (value & 0xFC) | value >> 6;
}

constexpr std::uint32_t pack565(int red, int green, int blue)
{
    return static_cast<std::uint32_t>((red & 0xF8) << 8 | (green & 0xFC) << 3 | blue >> 3);
}

struct Range
{
    int min;
    int max;
};

Range rangeOf(const BlockValues& values)
{
    return {values.smallest(), values.largest()};
}

// The distances to the four palette entries of one channel: both endpoints and the two thirds.
std::array<BlockValues, 4> distances(const BlockValues& values, const Range& endpoints)
{
    const auto [e1, e0] = endpoints;
    return {values.distanceTo(e0), values.distanceTo(e1), values.distanceTo((2 * e0 + e1) / 3),
            values.distanceTo((e0 + 2 * e1) / 3)};
}

std::array<BlockValues, 4> operator+(const std::array<BlockValues, 4>& one,
                                     const std::array<BlockValues, 4>& other)
{
    return {one[0] + other[0], one[1] + other[1], one[2] + other[2], one[3] + other[3]};
}

// The index of the nearest palette entry; the strict comparisons decide ties.
std::uint32_t colourIndices(const std::array<BlockValues, 4>& d)
{
    const auto x0 = (d[1] > d[2]) & (d[0] > d[2]);
    const auto x1 = (d[1] > d[3]) & (d[0] > d[3]);
    const auto x2 = (d[2] > d[3]) & (d[0] > d[3]);
    const auto indices = (x2 & BlockValues(1)) | ((x0 | x1) & BlockValues(2));
    return static_cast<std::uint32_t>(indices.packed<2>());
}

template <class Packing>
struct BlockEncoder;

template <>
struct BlockEncoder<RgbDxt1>
{
    static Range inset(const Range& range)
    {
        const int inset = (range.max - range.min) >> 4;
        return {std::min(range.min + inset, 255), range.max >= inset ? range.max - inset : 0};
    }

    static void encodeBlock(const RgbBlock& pixels, std::uint8_t* block)
    {
        const Range red = inset(rangeOf(pixels.red));
        const Range green = inset(rangeOf(pixels.green));
        const Range blue = inset(rangeOf(pixels.blue));
        const auto d = distances(pixels.red, {expand5(red.min), expand5(red.max)}) +
                       distances(pixels.green, {expand6(green.min), expand6(green.max)}) +
                       distances(pixels.blue, {expand5(blue.min), expand5(blue.max)});
        storeLittleEndianHalfword(pack565(red.max, green.max, blue.max), block);
        storeLittleEndianHalfword(pack565(red.min, green.min, blue.min), block + 2);
        storeLittleEndianWord(colourIndices(d), block + 4);
    }
};

template <>
struct BlockEncoder<YCoCgDxt5>
{
    // Moves both ends of a range inwards by a fraction of 1 / 2^shift, less half a step.
    static Range inset(const Range& range, int shift)
    {
        const int inset = range.max - range.min - ((1 << (shift - 1)) - 1);
        return {std::max((range.min * (1 << shift) + inset) >> shift, 0),
                std::min((range.max * (1 << shift) - inset) >> shift, 255)};
    }

    static int scaleFor(const Range& co, const Range& cg)
    {
        const int largest = std::max({std::abs(co.min - 128), std::abs(co.max - 128),
                                      std::abs(cg.min - 128), std::abs(cg.max - 128)});
        return largest < 32 ? 4 : largest < 64 ? 2 : 1;
    }

    // Never leaves 0 to 255: the scale is chosen for it.
    static BlockValues scaled(const BlockValues& chroma, int scale)
    {
        const auto centred = chroma - BlockValues(128);
        if (scale == 4)
            return centred.shiftedLeft<2>() + BlockValues(128);
        if (scale == 2)
            return centred.shiftedLeft<1>() + BlockValues(128);
        return chroma;
    }

    // The endpoint that stands first is the larger: eight levels.
    static std::uint64_t lumaIndices(const BlockValues& luma, const Range& range)
    {
        const auto [min, max] = range;
        const int middle = (max - min) / 14;
        auto below = BlockValues(0);  // minus the number of thresholds that a value does not exceed
        for (int step = 0; step < 7; ++step) {
            const int threshold =
                step == 0 ? min + middle : ((7 - step) * max + step * min) / 7 + middle;
            below = below + (BlockValues((threshold & 255) + 1) > luma);
        }
        const auto k = (BlockValues(1) - below) & BlockValues(7);
        return (k ^ ((BlockValues(2) > k) & BlockValues(1))).packed<3>();
    }

    static void encodeBlock(const RgbBlock& pixels, std::uint8_t* block)
    {
        const auto& [r, g, b] = pixels;
        const BlockValues two(2);
        const BlockValues centre(128);
        auto co = (r + r - b - b + two).shiftedRight<2>().atMost(127) + centre;
        auto cg = (g + g - r - b + two).shiftedRight<2>().atMost(127) + centre;
        const auto luma = (r + g + g + b + two).shiftedRight<2>();

        const int scale = scaleFor(rangeOf(co), rangeOf(cg));
        co = scaled(co, scale);
        cg = scaled(cg, scale);
        const Range lumaEnds = inset(rangeOf(luma), 5);
        Range coEnds = inset(rangeOf(co), 4);
        Range cgEnds = inset(rangeOf(cg), 4);
        coEnds = {expand5(coEnds.min), expand5(coEnds.max)};
        cgEnds = {expand6(cgEnds.min), expand6(cgEnds.max)};

        // Most pixels off the main diagonal of the box: the endpoints go to the other diagonal.
        const auto coHigh = co > BlockValues(((coEnds.min + coEnds.max + 1) >> 1) - 1);
        const auto cgHigh = cg > BlockValues(((cgEnds.min + cgEnds.max + 1) >> 1) - 1);
        if ((coHigh ^ cgHigh).count() > 8)
            std::swap(cgEnds.min, cgEnds.max);

        const auto d = distances(co, {expand5(coEnds.min), expand5(coEnds.max)}) +
                       distances(cg, {expand6(cgEnds.min), expand6(cgEnds.max)});
        const int blue = (scale - 1) * 8;
        const auto lumas = lumaIndices(luma, lumaEnds);
        storeLittleEndianHalfword(static_cast<std::uint32_t>(lumaEnds.max | lumaEnds.min << 8),
                                  block);
        storeLittleEndianHalfword(static_cast<std::uint32_t>(lumas), block + 2);
        storeLittleEndianWord(static_cast<std::uint32_t>(lumas >> 16), block + 4);
        storeLittleEndianHalfword(pack565(coEnds.max, cgEnds.max, blue), block + 8);
        storeLittleEndianHalfword(pack565(coEnds.min, cgEnds.min, blue), block + 10);
        storeLittleEndianWord(colourIndices(d), block + 12);
    }
};

template <ChannelOrder order, class Packing>
void encodeRow(const std::uint8_t* pixels, std::size_t pixelRowStep, std::uint8_t* blocks,
               int blockCount)
{
    for (int block = 0; block < blockCount; ++block) {
        BlockEncoder<Packing>::encodeBlock(loadBlock<order>(pixels, pixelRowStep), blocks);
        pixels += blockSide * order.channels();
        blocks += Packing::bytes;
    }
}

struct Encode
{
    template <class Source, class Destination>
    static constexpr EncodeRow row = encodeRow<Source::order, Destination>;
};

}

template <>
constinit const EncodeRows<blockEncodings> KernelsOf<compiledLevel>::encodeBlocks =
    kernelRows<Encode>(blockEncodings);

}
