#include "MediaConversion/Converters/ImageYCoCgDXT5toRGB.h"

#include "MediaConversion/Converters/BlockPackings.h"
#include "MediaConversion/Converters/Pixels.h"

#include <opencv2/core/hal/intrin.hpp>

#include <algorithm>
#include <array>
#include <bit>

namespace MediaConversion {

namespace {

constexpr int blockSide = 4;

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

struct RgbDxt1
{
    static constexpr int bytes = ColourBlock::bytes;

    static FrameFormat format() { return Velmora::Formats::RGB_DXT1(); }

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

// The alpha half of the block is Y. The colour half carries Co and Cg, both offset by 128 and
// scaled up, as red and green; its blue is the scale.
struct YCoCgDxt5
{
    static constexpr int bytes = AlphaBlock::bytes + ColourBlock::bytes;

    static FrameFormat format() { return Velmora::Formats::YCoCg_DXT5(); }

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
        Packing::template decodeBlock<order>(blocks, pixels, pixelRowStep);
        blocks += Packing::bytes;
        pixels += blockSide * order.channels();
    }
}

struct Decode
{
    using Entry = DecodeFunction;

    template <class Source, class Destination>
    static constexpr Entry entry = decodeBy<decodeRow<Source, Destination::order>>;
};

}

ImageYCoCgDXT5toRGB::ImageYCoCgDXT5toRGB(const FrameFormat& destination)
    : m_destination(destination)
{
}

std::unique_ptr<Velmora::IFrame> ImageYCoCgDXT5toRGB::onNewImage(
    std::shared_ptr<const Velmora::IImageFrame> frame)
{
    return decodeToRgb(frame.get(), m_destination, conversions());
}

const DecodeTable& ImageYCoCgDXT5toRGB::conversions()
{
    static const DecodeTable& table = *new DecodeTable(
        conversionTable<Decode>(from<YCoCgDxt5, RgbDxt1>(to<RgbU8, BgrU8, BgraU8>)));
    return table;
}

namespace {

[[maybe_unused]] const auto& tableAtStartUp = ImageYCoCgDXT5toRGB::conversions();

}

}
