#include "MediaConversion/Converters/Blocks/BlockLanes.h"
#include "MediaConversion/Converters/Kernels.h"

#include <algorithm>

namespace MediaConversion {

namespace {

// One channel of the 16 pixels.
using BlockChannel = std::array<BlockValues, blockPixels>;

// Loads a row of pixels of each block. Reads whole lanes, which reach past pixels of three
// channels.
template <ChannelOrder order>
std::array<Rgb, blockSide> loadPixels(const std::uint8_t* pixels)
{
    constexpr int bytesOfBlock = blockSide * order.channels();
    std::array<BlockWords, blocksPerLane> blocks;
    for (int block = 0; block < blocksPerLane; ++block)
        blocks[block] = loadLanes(pixels + block * bytesOfBlock, blocksPerLane * bytesOfBlock)
                            .bits<std::uint16_t>();
    const auto words = transposed<blocksPerLane>(blocks);
    const auto channel = [&](int byte) {
        const auto& word = words[byte / 2];
        return (byte % 2 == 0 ? word & BlockWords(255) : word >> 8).template bits<std::int16_t>();
    };
    std::array<Rgb, blockSide> row;
    for (int column = 0; column < blockSide; ++column) {
        const int pixel = column * order.channels();
        row[column] = {channel(pixel + order.red), channel(pixel + order.green),
                       channel(pixel + order.blue)};
    }
    return row;
}

// Calls use(number, colour) for every pixel.
template <ChannelOrder order, class Use>
void forEachPixel(const std::uint8_t* pixels, std::size_t pixelRowStep, const Use& use)
{
    for (int row = 0; row < blockSide; ++row) {
        const auto colours = loadPixels<order>(pixels + row * pixelRowStep);
        for (int column = 0; column < blockSide; ++column)
            use(blockSide * row + column, colours[column]);
    }
}

// Stores blocks from vectors that hold the same 16-bit word of each of them.
template <std::size_t words>
void storeBlocks(const std::array<BlockWords, words>& wordsOfBlocks, std::uint8_t* blocks)
{
    const auto rows = transposed<words>(wordsOfBlocks);
    for (std::size_t row = 0; row < words; ++row)
        storeLanes<laneBytes>(rows[row].template bits<std::uint8_t>(), blocks + row * laneBytes,
                              words * laneBytes);
}

// Expands a channel of an endpoint by repeating its upper bits; the decoder rounds instead.
BlockValues expand5(const BlockValues& value)
{
    return (value & BlockValues(0xF8)) | value >> 5;
}

BlockValues expand6(const BlockValues& value)
{
    return (value & BlockValues(0xFC)) | value >> 6;
}

BlockWords pack565(const BlockValues& red, const BlockValues& green, const BlockValues& blue)
{
    return ((red & BlockValues(0xF8)) << 8 | (green & BlockValues(0xFC)) << 3 | blue >> 3)
        .bits<std::uint16_t>();
}

struct Range
{
    BlockValues min;
    BlockValues max;
};

Range rangeOf(const BlockChannel& values)
{
    Range range{values[0], values[0]};
    for (const auto& value : values)
        range = {min(range.min, value), max(range.max, value)};
    return range;
}

// A channel and its palette: both endpoints and the thirds between them.
struct PaletteChannel
{
    const BlockChannel& values;
    std::array<BlockValues, 4> palette;

    PaletteChannel(const BlockChannel& channel, const BlockValues& e0, const BlockValues& e1)
        : values(channel), palette{e0, e1, quotient<3>(e0 + e0 + e1), quotient<3>(e0 + e1 + e1)}
    {
    }

    BlockValues distance(int pixel, int entry) const { return abs(values[pixel] - palette[entry]); }
};

// The index of the palette entry that is nearest in all channels; the strict comparisons decide
// ties.
template <class... Channels>
BlockValues colourIndex(int pixel, const Channels&... channels)
{
    const auto d0 = (channels.distance(pixel, 0) + ...);
    const auto d1 = (channels.distance(pixel, 1) + ...);
    const auto d2 = (channels.distance(pixel, 2) + ...);
    const auto d3 = (channels.distance(pixel, 3) + ...);
    const auto x0 = (d1 > d2) & (d0 > d2);
    const auto x1 = (d1 > d3) & (d0 > d3);
    const auto x2 = (d2 > d3) & (d0 > d3);
    return (x2 & BlockValues(1)) | ((x0 | x1) & BlockValues(2));
}

// The indices by rows of pixels, `bits` bits for each. The leftmost pixel has the lowest bits.
template <int bits, class Index>
std::array<BlockWords, blockSide> indexRows(const Index& index)
{
    std::array<BlockWords, blockSide> rows;
    for (int row = 0; row < blockSide; ++row) {
        BlockValues indices(0);
        for (int column = blockSide - 1; column >= 0; --column)
            indices = indices << bits | index(blockSide * row + column);
        rows[row] = indices.bits<std::uint16_t>();
    }
    return rows;
}

template <class... Channels>
std::array<BlockWords, 2> colourIndices(const Channels&... channels)
{
    const auto rows = indexRows<2>([&](int pixel) { return colourIndex(pixel, channels...); });
    return {rows[0] | rows[1] << 8, rows[2] | rows[3] << 8};
}

// The larger endpoint stands first, which makes a palette of eight entries.
std::array<BlockWords, 3> lumaIndices(const BlockChannel& luma, const Range& range)
{
    const auto& [min, max] = range;
    const auto middle = quotient<14>(max - min);
    std::array<BlockValues, 7> thresholds{min + middle};
    for (std::int16_t step = 1; step < 7; ++step)
        thresholds[step] =
            quotient<7>(BlockValues(7) * max - BlockValues(step) * (max - min)) + middle;
    const auto rows = indexRows<3>([&](int pixel) {
        // Minus the number of thresholds exceeded: modulo 8, one more than the number of the
        // others.
        BlockValues exceeded(0);
        for (const auto& threshold : thresholds)
            exceeded = exceeded + (luma[pixel] > threshold);
        const auto k = exceeded & BlockValues(7);
        return k ^ ((BlockValues(2) > k) & BlockValues(1));
    });
    return {rows[0] | rows[1] << 12, rows[1] >> 4 | rows[2] << 8, rows[2] >> 8 | rows[3] << 4};
}

template <class Packing>
struct BlockEncoder;

template <>
struct BlockEncoder<RgbDxt1>
{
    static Range inset(const Range& range)
    {
        const auto inset = (range.max - range.min) >> 4;
        return {range.min + inset, range.max - inset};
    }

    template <ChannelOrder order>
    [[gnu::flatten]] static void encode(const std::uint8_t* pixels, std::size_t pixelRowStep,
                                        std::uint8_t* blocks)
    {
        BlockChannel r;
        BlockChannel g;
        BlockChannel b;
        forEachPixel<order>(pixels, pixelRowStep, [&](int pixel, const Rgb& colour) {
            r[pixel] = colour.red;
            g[pixel] = colour.green;
            b[pixel] = colour.blue;
        });
        const Range red = inset(rangeOf(r));
        const Range green = inset(rangeOf(g));
        const Range blue = inset(rangeOf(b));
        const auto indices =
            colourIndices(PaletteChannel(r, expand5(red.max), expand5(red.min)),
                          PaletteChannel(g, expand6(green.max), expand6(green.min)),
                          PaletteChannel(b, expand5(blue.max), expand5(blue.min)));
        storeBlocks<4>({pack565(red.max, green.max, blue.max),
                        pack565(red.min, green.min, blue.min), indices[0], indices[1]},
                       blocks);
    }
};

template <>
struct BlockEncoder<YCoCgDxt5>
{
    // Moves both ends of a range inwards by a fraction of 1 / 2^shift, less half a step.
    template <int shift>
    static Range inset(const Range& range)
    {
        const auto inset = range.max - range.min - BlockValues((1 << (shift - 1)) - 1);
        return {max(((range.min << shift) + inset) >> shift, BlockValues(0)),
                min(((range.max << shift) - inset) >> shift, BlockValues(255))};
    }

    // The factor by which chroma, whose ranges lie around 0, may be scaled up: 1, 2 or 4.
    static BlockValues scaleFor(const Range& co, const Range& cg)
    {
        const BlockValues zero(0);
        const auto largest = max(max(zero - co.min, co.max), max(zero - cg.min, cg.max));
        return BlockValues(1) + ((BlockValues(64) > largest) & BlockValues(1)) +
               ((BlockValues(32) > largest) & BlockValues(2));
    }

    // Never leaves 0 to 255: the scale is chosen for it.
    static void scaleUp(BlockChannel& chroma, Range& range, const BlockValues& scale)
    {
        const auto scaled = [&](const BlockValues& value) {
            return value * scale + BlockValues(128);
        };
        for (auto& value : chroma)
            value = scaled(value);
        range = {scaled(range.min), scaled(range.max)};
    }

    // Whether most pixels are off the main diagonal of the box.
    static BlockValues isOffDiagonal(const BlockChannel& co, const Range& coEnds,
                                     const BlockChannel& cg, const Range& cgEnds)
    {
        const auto belowMiddle = [](const Range& ends) {
            return ((ends.min + ends.max + BlockValues(1)) >> 1) - BlockValues(1);
        };
        const auto belowCo = belowMiddle(coEnds);
        const auto belowCg = belowMiddle(cgEnds);
        BlockValues off(0);  // minus the number of pixels
        for (int pixel = 0; pixel < blockPixels; ++pixel)
            off = off + ((co[pixel] > belowCo) ^ (cg[pixel] > belowCg));
        return BlockValues(-8) > off;
    }

    template <ChannelOrder order>
    [[gnu::flatten]] static void encode(const std::uint8_t* pixels, std::size_t pixelRowStep,
                                        std::uint8_t* blocks)
    {
        BlockChannel luma;
        BlockChannel co;
        BlockChannel cg;
        forEachPixel<order>(pixels, pixelRowStep, [&](int pixel, const Rgb& colour) {
            const auto& [r, g, b] = colour;
            const BlockValues one(1);
            const BlockValues two(2);
            co[pixel] = min((r - b + one) >> 1, BlockValues(127));
            cg[pixel] = min((g + g - r - b + two) >> 2, BlockValues(127));
            luma[pixel] = (r + g + g + b + two) >> 2;
        });

        Range coRange = rangeOf(co);
        Range cgRange = rangeOf(cg);
        const auto scale = scaleFor(coRange, cgRange);
        scaleUp(co, coRange, scale);
        scaleUp(cg, cgRange, scale);
        const Range lumaEnds = inset<5>(rangeOf(luma));
        Range coEnds = inset<4>(coRange);
        Range cgEnds = inset<4>(cgRange);
        coEnds = {expand5(coEnds.min), expand5(coEnds.max)};
        cgEnds = {expand6(cgEnds.min), expand6(cgEnds.max)};
        const auto swaps = isOffDiagonal(co, coEnds, cg, cgEnds);
        cgEnds = {select(swaps, cgEnds.max, cgEnds.min), select(swaps, cgEnds.min, cgEnds.max)};

        const auto lumas = lumaIndices(luma, lumaEnds);
        const auto colours =
            colourIndices(PaletteChannel(co, expand5(coEnds.max), expand5(coEnds.min)),
                          PaletteChannel(cg, expand6(cgEnds.max), expand6(cgEnds.min)));
        const auto blue = (scale - BlockValues(1)) << 3;
        storeBlocks<8>({(lumaEnds.max | lumaEnds.min << 8).bits<std::uint16_t>(), lumas[0],
                        lumas[1], lumas[2], pack565(coEnds.max, cgEnds.max, blue),
                        pack565(coEnds.min, cgEnds.min, blue), colours[0], colours[1]},
                       blocks);
    }
};

template <ChannelOrder order, class Packing>
void encodeRow(const std::uint8_t* pixels, std::size_t pixelRowStep, std::uint8_t* blocks,
               std::size_t, int blockCount, Stores)
{
    constexpr auto encode = BlockEncoder<Packing>::template encode<order>;
    constexpr int bytesOfBlock = blockSide * order.channels();
    constexpr int bytesRead = (blocksPerVector - 1) * bytesOfBlock + laneBytes;
    int blocksLeft = blockCount;
    for (; blocksLeft * bytesOfBlock >= bytesRead; blocksLeft -= blocksPerVector) {
        encode(pixels, pixelRowStep, blocks);
        pixels += blocksPerVector * bytesOfBlock;
        blocks += blocksPerVector * Packing::bytes;
    }
    if (blocksLeft == 0)
        return;
    // The vectors would reach past the row.
    std::array<std::uint8_t, blockSide * bytesRead> restOfPixels{};
    std::array<std::uint8_t, blocksPerVector * Packing::bytes> restOfBlocks;
    for (int row = 0; row < blockSide; ++row)
        std::copy_n(pixels + row * pixelRowStep, blocksLeft * bytesOfBlock,
                    &restOfPixels[row * bytesRead]);
    encode(restOfPixels.data(), bytesRead, restOfBlocks.data());
    std::copy_n(restOfBlocks.data(), blocksLeft * Packing::bytes, blocks);
}

struct Encode
{
    template <class Source, class Destination>
    static constexpr RowKernel row = encodeRow<Source::order, Destination>;
};

}

template <>
const RowKernel* kernelsOf<compiledLevel, Family::BlockEncoding>()
{
    static constexpr auto rows = kernelRows<Encode>(blockEncodings);
    return rows.data();
}

}
