#include "MediaConversion/Converters/ImageYCoCgDXT5toRGB.h"

#include "MediaConversion/Converters/BlockPackings.h"
#include "MediaConversion/Converters/Pixels.h"

#include <algorithm>

namespace MediaConversion {

namespace {

constexpr int blockSide = 4;

template <ChannelOrder order>
void writePixel(std::uint8_t* pixel, const Rgb8& colour)
{
    const auto byte = [](int value) {
        return static_cast<std::uint8_t>(std::clamp(value, 0, 255));
    };
    pixel[order.red] = byte(colour.red);
    pixel[order.green] = byte(colour.green);
    pixel[order.blue] = byte(colour.blue);
    if constexpr (order.alpha != ChannelOrder::none) pixel[order.alpha] = 255;
}

// Calls `colourOf` for the pixels 0 to 15 of a block and writes what it returns.
template <ChannelOrder order, class ColourOf>
void writeBlock(std::uint8_t* pixels, std::size_t pixelRowStep, const ColourOf& colourOf)
{
    for (int row = 0; row < blockSide; ++row, pixels += pixelRowStep)
        for (int column = 0; column < blockSide; ++column)
            writePixel<order>(pixels + column * order.channels(),
                              colourOf(blockSide * row + column));
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
        const auto palette = colourBlock.colours();
        writeBlock<order>(pixels, pixelRowStep,
                          [&](int pixel) { return palette[colourBlock.index(pixel)]; });
    }
};

// The alpha half of the block is Y. The colour half carries Co and Cg, both offset by 128 and
// scaled up, as red and green; its blue is the scale.
struct YCoCgDxt5
{
    static constexpr int bytes = AlphaBlock::bytes + ColourBlock::bytes;

    static FrameFormat format() { return Velmora::Formats::YCoCg_DXT5(); }

    // What a palette entry adds to Y. Division is toward zero.
    static constexpr Rgb8 chroma(const Rgb8& entry)
    {
        const int scale = (entry.blue >> 3) + 1;
        const int co = (entry.red - 128) / scale;
        const int cg = (entry.green - 128) / scale;
        return {co - cg, cg, -co - cg};
    }

    template <ChannelOrder order>
    static void decodeBlock(const std::uint8_t* block, std::uint8_t* pixels,
                            std::size_t pixelRowStep)
    {
        const AlphaBlock lumaBlock(block);
        const ColourBlock chromaBlock(block + AlphaBlock::bytes);
        const auto lumas = lumaBlock.alphas();
        auto chromas = chromaBlock.fourColours();
        std::ranges::transform(chromas, chromas.begin(), chroma);
        writeBlock<order>(pixels, pixelRowStep, [&](int pixel) {
            const int luma = lumas[lumaBlock.index(pixel)];
            const Rgb8& add = chromas[chromaBlock.index(pixel)];
            return Rgb8{luma + add.red, luma + add.green, luma + add.blue};
        });
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
    using Entry = DecodeRow;

    template <class Source, class Destination>
    static constexpr Entry entry = decodeRow<Source, Destination::order>;
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
