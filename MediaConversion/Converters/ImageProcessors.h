#pragma once

#include "MediaConversion/Converters/ConversionTable.h"
#include "MediaConversion/MediaPipeline/FrameFlow.h"

#include <map>
#include <memory>
#include <utility>

// The processors of frames in host memory. Each is constructed from the format that it converts to,
// and its table says from which formats it does. All failures are std::runtime_errors. Alpha that
// the source has not is opaque.
namespace MediaConversion {

// A new frame of the destination format with the pixels of the source. Fails when they do not fill
// whole groups.
using ConvertFunction = std::unique_ptr<Velmora::ImageFrame> (*)(
    const Velmora::ImageFrame& source, const Velmora::FrameFormat& destination);
using ConvertTable = ConversionTable<ConvertFunction>;

// A processor between packed formats of one family and full ones. Refuses frames of another kind,
// pairs that the table lacks and, but for RGB packings, frames without data, in this order; only
// when it packs RGB does it look the pair up first.
template <Family family>
class PackingProcessor : public IImageProcessor
{
public:
    explicit PackingProcessor(const Velmora::FrameFormat& destination) : m_destination(destination)
    {
    }

    std::unique_ptr<Velmora::IFrame> onNewImage(
        std::shared_ptr<const Velmora::IImageFrame> frame) override;

    static const ConvertTable& conversions();

private:
    Velmora::FrameFormat m_destination;
};

// Unpacks 10-bit DPX-filled words and 12-bit DPX and SMPTE ST 2110 groups into full frames; 62
// pairs. Integer channels of more than 8 bits are the sample scaled to full scale and rounded half
// up, float ones the sample over its full scale; U8 channels are the top eight bits of the sample.
class ImageToFullFrame final : public PackingProcessor<Family::RgbUnpacking>
{
    using PackingProcessor::PackingProcessor;
};

// Packs full frames into 10-bit DPX-filled words and 12-bit SMPTE ST 2110 groups; 40 pairs. A
// sample is the channel as a fraction of its full scale, times 1023 or 4095, clamped to that and
// rounded half up. Alpha is dropped.
class ImageToPackedFrame final : public PackingProcessor<Family::RgbPacking>
{
    using PackingProcessor::PackingProcessor;
};

// Decodes YCbCr frames with shared chroma into RGB frames by the full-range matrix of ITU-T T.871;
// 22 pairs. Chroma is repeated over the pixels of its group.
class ImageYCbCr42xToRGB final : public PackingProcessor<Family::YCbCrDecoding>
{
    using PackingProcessor::PackingProcessor;
};

// Encodes RGB frames as YCbCr with shared chroma, by the full-range matrix of ITU-T T.871; 25
// pairs. The chroma of a group is the average of its pixels'; ZEQ-4224-HYBRID takes the left
// pixel's alone and keeps alpha.
class ImageRGBtoYCbCr42x final : public PackingProcessor<Family::YCbCrEncoding>
{
    using PackingProcessor::PackingProcessor;
};

// Decodes block-compressed frames, scaled YCoCg in DXT5 (BC3) blocks and ordinary DXT1 (BC1), into
// 8-bit RGB frames; 6 pairs. Alpha is opaque, for the transparent colour of DXT1 too.
class ImageYCoCgDXT5toRGB final : public PackingProcessor<Family::BlockDecoding>
{
    using PackingProcessor::PackingProcessor;
};

// Compresses 8-bit RGB frames to scaled YCoCg in DXT5 (BC3) blocks or to ordinary DXT1 (BC1); 5
// pairs. A fast single-pass encoder: it fits a box around the colours of a block and does not
// search for better endpoints. Alpha is dropped. Each entry of the table refuses any destination
// but its own.
class ImageRGBtoYCoCgDXT5 final : public PackingProcessor<Family::BlockEncoding>
{
    using PackingProcessor::PackingProcessor;
};

// Changes the channel type of a full frame, all channels alike. The result is that of
// cv::Mat::convertTo: rounded to nearest and saturated at the storage, not at full scale (F32 1.5
// becomes U10 1534). Refuses frames that are not full, that differ from the destination in
// colourspace or channel order, or whose pair of channel types the table lacks.
class ImageBitDepth final : public IImageProcessor
{
public:
    struct Scaling
    {
        int depth;     // OpenCV's element depth of the result
        double scale;  // destination full scale over source full scale
    };

    // Source first, destination second.
    using Table = std::map<std::pair<Velmora::ChannelType, Velmora::ChannelType>, Scaling>;

    explicit ImageBitDepth(const Velmora::FrameFormat& destination) : m_destination(destination) {}

    std::unique_ptr<Velmora::IFrame> onNewImage(
        std::shared_ptr<const Velmora::IImageFrame> frame) override;

    // The 12 supported pairs.
    static const Table& conversions();

private:
    Velmora::FrameFormat m_destination;
};

// Reorders the channels of a full frame and adds or drops alpha; the channel type stays. Refuses
// frames that are not full and pairs that the table lacks.
class ImageColourspace final : public IImageProcessor
{
public:
    // OpenCV's colour conversion code for each pair.
    using Table = ConversionTable<int>;

    explicit ImageColourspace(const Velmora::FrameFormat& destination) : m_destination(destination)
    {
    }

    std::unique_ptr<Velmora::IFrame> onNewImage(
        std::shared_ptr<const Velmora::IImageFrame> frame) override;

    // The 13 supported pairs.
    static const Table& conversions();

private:
    Velmora::FrameFormat m_destination;
};

// Conversions to BGRA_F32 in one pass, with the bytes of the two steps that they stand for: the way
// by BGRA_U8 and a change of the bit depth. What lies between never leaves the cache.
const ConvertTable& onePassConversions();

// The graphics card's side of the converters. This build has no OpenGL, so all of them refuse:
// "Not built with OpenGL support".
class TextureProcessor : public ITextureProcessor
{
public:
    explicit TextureProcessor(const Velmora::FrameFormat&) {}

    std::unique_ptr<Velmora::IFrame> onNewTexture(
        std::shared_ptr<const Velmora::ITextureFrame> frame) final;
};

// clang-format off
class TextureToFullFrame    final : public TextureProcessor { using TextureProcessor::TextureProcessor; };
class TextureYCbCr42xToRGB  final : public TextureProcessor { using TextureProcessor::TextureProcessor; };
class TextureYCoCgDXT5toRGB final : public TextureProcessor { using TextureProcessor::TextureProcessor; };
class TextureToPackedFrame  final : public TextureProcessor { using TextureProcessor::TextureProcessor; };
class TextureRGBtoYCbCr42x  final : public TextureProcessor { using TextureProcessor::TextureProcessor; };
class TextureRGBtoYCoCgDXT5 final : public TextureProcessor { using TextureProcessor::TextureProcessor; };
// clang-format on

}
