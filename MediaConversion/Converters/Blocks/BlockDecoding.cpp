#include "MediaConversion/Converters/Blocks/BlockLanes.h"
#include "MediaConversion/Converters/Kernels.h"

#include <algorithm>
#include <bit>

namespace MediaConversion {

namespace {

// Palettes are computed in 16-bit elements, one for each block. Pixels are bytes, so that two
// vectors of palettes become one of pixels: in each 128-bit lane, the first half of the blocks
// gives the low bytes of the elements and the second half the high bytes.
inline constexpr int blocksAtOnce = 2 * blocksPerVector;

template <class T>
struct BothHalves
{
    T low;
    T high;
};

// Loads the blocks so that a vector holds the same 16-bit word of each of them.
template <std::size_t words>
BothHalves<std::array<BlockWords, words>> loadBlocks(const std::uint8_t* blocks)
{
    constexpr int bytesOfHalf = words * laneBytes;
    const auto load = [](const std::uint8_t* half) {
        std::array<BlockWords, words> rows;
        for (std::size_t row = 0; row < words; ++row)
            rows[row] =
                loadLanes(half + row * laneBytes, 2 * bytesOfHalf).template bits<std::uint16_t>();
        return transposed<blocksPerLane>(rows);
    };
    return {load(blocks), load(blocks + bytesOfHalf)};
}

// Packs two vectors of values from 0 to 255 into one of bytes.
Bytes bytesOf(const BlockValues& low, const BlockValues& high)
{
    return (low | high << 8).bits<std::uint8_t>();
}

// Expands a 5-bit or 6-bit channel of an endpoint to 8 bits, rounded to the nearest.
template <int bits>
BlockValues expandedRounding(const BlockWords& value)
{
    const auto scaled = value * BlockWords(255) + BlockWords(1 << (bits - 1));
    return ((scaled + (scaled >> bits)) >> bits).template bits<std::int16_t>();
}

Rgb endpoint(const BlockWords& colour565)
{
    return {expandedRounding<5>(colour565 >> 11),
            expandedRounding<6>(colour565 >> 5 & BlockWords(63)),
            expandedRounding<5>(colour565 & BlockWords(31))};
}

// Two thirds of the near colour and one third of the far one, rounded down.
Rgb twoThirds(const Rgb& near, const Rgb& far)
{
    return {quotient<3>(near.red + near.red + far.red),
            quotient<3>(near.green + near.green + far.green),
            quotient<3>(near.blue + near.blue + far.blue)};
}

Rgb mean(const Rgb& one, const Rgb& other)
{
    return {(one.red + other.red) >> 1, (one.green + other.green) >> 1,
            (one.blue + other.blue) >> 1};
}

using Colours = std::array<Rgb, 4>;

Colours fourColours(const BlockWords& colour0, const BlockWords& colour1)
{
    const Rgb first = endpoint(colour0);
    const Rgb second = endpoint(colour1);
    return {first, second, twoThirds(first, second), twoThirds(second, first)};
}

// The palette of DXT1, where endpoints in ascending order give three colours and black.
Colours colours(const BlockWords& colour0, const BlockWords& colour1)
{
    Colours palette = fourColours(colour0, colour1);
    const auto isFour = (colour0 > colour1).bits<std::int16_t>();
    const auto middle = mean(palette[0], palette[1]);
    palette[2] = {select(isFour, palette[2].red, middle.red),
                  select(isFour, palette[2].green, middle.green),
                  select(isFour, palette[2].blue, middle.blue)};
    palette[3] = {palette[3].red & isFour, palette[3].green & isFour, palette[3].blue & isFour};
    return palette;
}

// The palette of the alpha half. Descending endpoints have six steps between them, others have
// four, followed by 0 and 255.
std::array<BlockValues, 8> alphas(const BlockWords& endpoints)
{
    const auto alpha0 = (endpoints & BlockWords(255)).bits<std::int16_t>();
    const auto alpha1 = (endpoints >> 8).bits<std::int16_t>();
    const auto isEight = alpha0 > alpha1;
    std::array<BlockValues, 8> palette{alpha0, alpha1};
    auto sevenths = alpha0 * BlockValues(7);
    auto fifths = alpha0 * BlockValues(5);
    for (std::size_t index = 2; index < 8; ++index) {
        sevenths = sevenths + alpha1 - alpha0;
        fifths = fifths + alpha1 - alpha0;
        const auto ofSix = index == 6   ? BlockValues(0)
                           : index == 7 ? BlockValues(255)
                                        : quotient<5>(fifths);
        palette[index] = select(isEight, quotient<7>(sevenths), ofSix);
    }
    return palette;
}

// Splits a block's indices by rows of pixels, which begin at the lowest bit: 12 bits a row for the
// palette of eight entries, 8 for that of four.
std::array<BlockWords, blockSide> alphaIndexRows(const BlockWords& word0, const BlockWords& word1,
                                                 const BlockWords& word2)
{
    return {word0, word0 >> 12 | word1 << 4, word1 >> 8 | word2 << 8, word2 >> 4};
}

std::array<BlockWords, blockSide> colourIndexRows(const BlockWords& word0, const BlockWords& word1)
{
    return {word0, word0 >> 8, word1, word1 >> 8};
}

// The indices of a block, `bits` bits for each pixel. The leftmost pixel of a row has the lowest
// bits.
template <int bits>
class Indices
{
public:
    using Rows = std::array<BlockWords, blockSide>;

    Indices(const Rows& low, const Rows& high)
    {
        for (int row = 0; row < blockSide; ++row)
            m_rows[row] = {(low[row] & BlockWords(0x00FF)) | high[row] << 8,
                           low[row] >> 8 | (high[row] & BlockWords(0xFF00))};
    }

    // The bits of one pixel's index, each as the highest bit of bytes, where select() looks.
    std::array<Bytes, bits> at(int row, int column) const
    {
        std::array<Bytes, bits> index;
        for (int bit = 0; bit < bits; ++bit) {
            const int place = bits * column + bit;
            index[bit] = (m_rows[row][place / 8] << (7 - place % 8)).template bits<std::uint8_t>();
        }
        return index;
    }

private:
    std::array<std::array<BlockWords, 2>, blockSide> m_rows;
};

// Selects the entry that the index names by halving the palette, from the highest bit down.
template <std::size_t count, std::size_t bits>
Bytes selectedEntry(const Bytes* palette, const std::array<Bytes, bits>& index)
{
    if constexpr (count == 1)
        return *palette;
    else
        return select(index[std::bit_width(count) - 2],
                      selectedEntry<count / 2>(palette + count / 2, index),
                      selectedEntry<count / 2>(palette, index));
}

template <std::size_t count, std::size_t bits>
Bytes selectedEntry(const std::array<Bytes, count>& palette, const std::array<Bytes, bits>& index)
{
    static_assert(count == 1 << bits);
    return selectedEntry<count>(palette.data(), index);
}

struct RgbBytes
{
    Bytes red;
    Bytes green;
    Bytes blue;
};

// Stores the pixels that pixel(row, column) gives. Alpha is opaque.
template <ChannelOrder order, class Pixel>
void storePixels(const Pixel& pixel, std::uint8_t* pixels, std::size_t pixelRowStep)
{
    constexpr int bytesOfBlock = blockSide * order.channels();
    for (int row = 0; row < blockSide; ++row, pixels += pixelRowStep) {
        std::array<Bytes, laneBytes> bytes;
        bytes.fill(Bytes(255));
        for (int column = 0; column < blockSide; ++column) {
            const RgbBytes colour = pixel(row, column);
            const auto place = column * order.channels();
            bytes[place + order.red] = colour.red;
            bytes[place + order.green] = colour.green;
            bytes[place + order.blue] = colour.blue;
        }
        const auto blocks = transposed<laneBytes>(bytes);
        for (int block = 0; block < blocksPerLane; ++block) {
            const auto store = [&](const Bytes& vector, int place) {
                storeLanes<bytesOfBlock>(vector, pixels + place * bytesOfBlock,
                                         2 * blocksPerLane * bytesOfBlock);
            };
            store(blocks[2 * block], block);
            store(blocks[2 * block + 1], blocksPerLane + block);
        }
    }
}

template <class Packing>
struct BlockDecoder;

template <>
struct BlockDecoder<RgbDxt1>
{
    template <ChannelOrder order>
    [[gnu::flatten]] static void decode(const std::uint8_t* blocks, std::uint8_t* pixels,
                                        std::size_t pixelRowStep)
    {
        const auto [low, high] = loadBlocks<4>(blocks);
        const auto lowColours = colours(low[0], low[1]);
        const auto highColours = colours(high[0], high[1]);
        std::array<Bytes, 4> red;
        std::array<Bytes, 4> green;
        std::array<Bytes, 4> blue;
        for (int entry = 0; entry < 4; ++entry) {
            red[entry] = bytesOf(lowColours[entry].red, highColours[entry].red);
            green[entry] = bytesOf(lowColours[entry].green, highColours[entry].green);
            blue[entry] = bytesOf(lowColours[entry].blue, highColours[entry].blue);
        }
        const Indices<2> indices(colourIndexRows(low[2], low[3]),
                                 colourIndexRows(high[2], high[3]));
        storePixels<order>(
            [&](int row, int column) {
                const auto index = indices.at(row, column);
                return RgbBytes{selectedEntry(red, index), selectedEntry(green, index),
                                selectedEntry(blue, index)};
            },
            pixels, pixelRowStep);
    }
};

// What the entries of a palette add to luma for one colour, as bytes: a rise or a fall, of which
// one is 0.
struct ChromaPalette
{
    std::array<Bytes, 4> rises;
    std::array<Bytes, 4> falls;

    void set(int entry, const BlockValues& low, const BlockValues& high)
    {
        const BlockValues zero(0);
        const auto risen = [&](const BlockValues& value) {
            return min(max(value, zero), BlockValues(255));
        };
        rises[entry] = bytesOf(risen(low), risen(high));
        falls[entry] = bytesOf(risen(zero - low), risen(zero - high));
    }

    Bytes added(const Bytes& luma, const std::array<Bytes, 2>& index) const
    {
        const auto rise = selectedEntry(rises, index);
        const auto fall = selectedEntry(falls, index);
        return max(min(luma, Bytes(255) - rise) + rise, fall) - fall;
    }
};

template <>
struct BlockDecoder<YCoCgDxt5>
{
    using HalfLanes = Vector<std::int32_t, registerBytes / 4>;

    // Divides toward zero. The numbers are so small that a float never rounds a quotient up to the
    // next integer.
    static BlockValues quotient(const BlockValues& dividend, const BlockValues& divisor)
    {
        const auto divided = [](const HalfLanes& one, const HalfLanes& other) {
            return (one.as<float>() / other.as<float>()).template as<std::int32_t>();
        };
        const auto dividends = dividend.bits<std::int32_t>();
        const auto divisors = divisor.bits<std::int32_t>();
        const auto even = divided((dividends << 16) >> 16, divisors & HalfLanes(0xFFFF));
        const auto odd = divided(dividends >> 16, divisors >> 16);
        return ((even & HalfLanes(0xFFFF)) | odd << 16).bits<std::int16_t>();
    }

    // What the codes of a palette entry add to luma.
    static Rgb addends(const Rgb& codes)
    {
        const auto scale = (codes.blue >> 3) + BlockValues(1);
        const auto co = quotient(codes.red - BlockValues(128), scale);
        const auto cg = quotient(codes.green - BlockValues(128), scale);
        return {co - cg, cg, BlockValues(0) - co - cg};
    }

    template <ChannelOrder order>
    [[gnu::flatten]] static void decode(const std::uint8_t* blocks, std::uint8_t* pixels,
                                        std::size_t pixelRowStep)
    {
        const auto [low, high] = loadBlocks<8>(blocks);
        const auto lowLumas = alphas(low[0]);
        const auto highLumas = alphas(high[0]);
        std::array<Bytes, 8> lumas;
        for (int entry = 0; entry < 8; ++entry)
            lumas[entry] = bytesOf(lowLumas[entry], highLumas[entry]);

        const auto lowColours = fourColours(low[4], low[5]);
        const auto highColours = fourColours(high[4], high[5]);
        ChromaPalette red;
        ChromaPalette green;
        ChromaPalette blue;
        for (int entry = 0; entry < 4; ++entry) {
            const auto ofLow = addends(lowColours[entry]);
            const auto ofHigh = addends(highColours[entry]);
            red.set(entry, ofLow.red, ofHigh.red);
            green.set(entry, ofLow.green, ofHigh.green);
            blue.set(entry, ofLow.blue, ofHigh.blue);
        }

        const Indices<3> lumaIndices(alphaIndexRows(low[1], low[2], low[3]),
                                     alphaIndexRows(high[1], high[2], high[3]));
        const Indices<2> chromaIndices(colourIndexRows(low[6], low[7]),
                                       colourIndexRows(high[6], high[7]));
        storePixels<order>(
            [&](int row, int column) {
                const auto luma = selectedEntry(lumas, lumaIndices.at(row, column));
                const auto index = chromaIndices.at(row, column);
                return RgbBytes{red.added(luma, index), green.added(luma, index),
                                blue.added(luma, index)};
            },
            pixels, pixelRowStep);
    }
};

template <class Packing, ChannelOrder order>
void decodeRow(const std::uint8_t* blocks, std::size_t, std::uint8_t* pixels,
               std::size_t pixelRowStep, int blockCount, Stores)
{
    constexpr auto decode = BlockDecoder<Packing>::template decode<order>;
    constexpr int bytesOfBlock = blockSide * order.channels();
    int blocksLeft = blockCount;
    for (; blocksLeft >= blocksAtOnce; blocksLeft -= blocksAtOnce) {
        decode(blocks, pixels, pixelRowStep);
        blocks += blocksAtOnce * Packing::bytes;
        pixels += blocksAtOnce * bytesOfBlock;
    }
    if (blocksLeft == 0)
        return;
    // The vectors would reach past the row.
    constexpr int restStep = blocksAtOnce * bytesOfBlock;
    std::array<std::uint8_t, blocksAtOnce * Packing::bytes> restOfBlocks{};
    std::array<std::uint8_t, blockSide * restStep> restOfPixels;
    std::copy_n(blocks, blocksLeft * Packing::bytes, restOfBlocks.data());
    decode(restOfBlocks.data(), restOfPixels.data(), restStep);
    for (int row = 0; row < blockSide; ++row)
        std::copy_n(&restOfPixels[row * restStep], blocksLeft * bytesOfBlock,
                    pixels + row * pixelRowStep);
}

struct Decode
{
    template <class Source, class Destination>
    static constexpr RowKernel row = decodeRow<Source, Destination::order>;
};

}

template <>
const RowKernel* kernelsOf<compiledLevel, Family::BlockDecoding>()
{
    static constexpr auto rows = kernelRows<Decode>(blockDecodings);
    return rows.data();
}

}
