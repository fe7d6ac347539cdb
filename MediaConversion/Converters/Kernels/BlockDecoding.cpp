#include "MediaConversion/Converters/Kernels/Kernels.h"
#include "MediaConversion/Converters/Kernels/Vectors.h"

#include <opencv2/core/hal/intrin.hpp>

#include <algorithm>
#include <array>
#include <bit>

namespace MediaConversion {

namespace {

// Four pixels of four bytes in channel order, of which three-channel pixels leave out the last.
template <ChannelOrder order>
void storePixels(std::uint8_t* pixels, const cv::v_uint8x16& four)
{
    if constexpr (order.channels() == 4) {
        cv::v_store(pixels, four);
    } else {
        std::array<std::uint8_t, 16> bytes;
        cv::v_store(bytes.data(), four);
        for (std::size_t pixel = 0; pixel < blockSide; ++pixel)
            std::copy_n(&bytes[4 * pixel], 3, pixels + 3 * pixel);
    }
}

// A colour as four values in channel order.
template <class Value, ChannelOrder order>
std::array<Value, 4> inOrder(const Rgb8& colour, Value alpha)
{
    std::array<Value, 4> values{alpha, alpha, alpha, alpha};
    values[order.red] = static_cast<Value>(colour.red);
    values[order.green] = static_cast<Value>(colour.green);
    values[order.blue] = static_cast<Value>(colour.blue);
    return values;
}

template <class Packing>
struct BlockDecoder;

template <>
struct BlockDecoder<RgbDxt1>
{
    template <ChannelOrder order>
    static void decodeBlock(const std::uint8_t* block, std::uint8_t* pixels,
                            std::size_t pixelRowStep)
    {
        const ColourBlock colourBlock(block);
        std::array<std::uint32_t, 4> palette;
        std::ranges::transform(colourBlock.colours(), palette.begin(), [](const Rgb8& colour) {
            return std::bit_cast<std::uint32_t>(inOrder<std::uint8_t, order>(colour, 255));
        });
        for (int pixel = 0; pixel < 16; pixel += blockSide, pixels += pixelRowStep) {
            const auto colour = [&](int column) {
                return palette[colourBlock.index(pixel + column)];
            };
            storePixels<order>(pixels, cv::v_reinterpret_as_u8(cv::v_uint32x4(
                                           colour(0), colour(1), colour(2), colour(3))));
        }
    }
};

// A Co or Cg code without its offset, over the scale; the division is toward zero.
constexpr auto chromaOfCode = [] {
    std::array<std::array<std::int8_t, 256>, 32> chroma{};
    for (int scale = 1; scale <= 32; ++scale)
        for (int code = 0; code < 256; ++code)
            chroma[static_cast<std::size_t>(scale - 1)][static_cast<std::size_t>(code)] =
                static_cast<std::int8_t>((code - 128) / scale);
    return chroma;
}();

template <>
struct BlockDecoder<YCoCgDxt5>
{
    // What a palette entry adds to Y. To alpha it adds full scale, which stays 255 whatever Y is.
    template <ChannelOrder order>
    static std::uint64_t addend(const Rgb8& entry)
    {
        const auto& chroma = chromaOfCode[static_cast<std::size_t>(entry.blue >> 3)];
        const int co = chroma[static_cast<std::size_t>(entry.red)];
        const int cg = chroma[static_cast<std::size_t>(entry.green)];
        return std::bit_cast<std::uint64_t>(
            inOrder<std::int16_t, order>({co - cg, cg, -co - cg}, 255));
    }

    template <ChannelOrder order>
    static void decodeBlock(const std::uint8_t* block, std::uint8_t* pixels,
                            std::size_t pixelRowStep)
    {
        const AlphaBlock lumaBlock(block);
        const ColourBlock chromaBlock(block + AlphaBlock::bytes);
        std::array<std::uint64_t, 8> lumas;
        std::array<std::uint64_t, 4> chromas;
        std::ranges::transform(lumaBlock.alphas(), lumas.begin(), [](int luma) {
            return static_cast<std::uint64_t>(luma) * 0x0001'0001'0001'0001;
        });
        std::ranges::transform(chromaBlock.fourColours(), chromas.begin(), addend<order>);

        const auto twoPixels = [&](int pixel) {
            const cv::v_uint64x2 luma(lumas[lumaBlock.index(pixel)],
                                      lumas[lumaBlock.index(pixel + 1)]);
            const cv::v_uint64x2 chroma(chromas[chromaBlock.index(pixel)],
                                        chromas[chromaBlock.index(pixel + 1)]);
            return cv::v_reinterpret_as_s16(luma) + cv::v_reinterpret_as_s16(chroma);
        };
        for (int pixel = 0; pixel < 16; pixel += blockSide, pixels += pixelRowStep)
            storePixels<order>(pixels, cv::v_pack_u(twoPixels(pixel), twoPixels(pixel + 2)));
    }
};

template <class Packing, ChannelOrder order>
void decodeRow(const std::uint8_t* blocks, int blockCount, std::uint8_t* pixels,
               std::size_t pixelRowStep)
{
    for (int block = 0; block < blockCount; ++block) {
        BlockDecoder<Packing>::template decodeBlock<order>(blocks, pixels, pixelRowStep);
        blocks += Packing::bytes;
        pixels += blockSide * order.channels();
    }
}

struct Decode
{
    template <class Source, class Destination>
    static constexpr DecodeRow row = decodeRow<Source, Destination::order>;
};

}

template <>
constinit const DecodeRows<blockDecodings> KernelsOf<compiledLevel>::decodeBlocks =
    kernelRows<Decode>(blockDecodings);

}
