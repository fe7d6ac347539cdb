#include "MediaConversion/Converters/ImageProcessors.h"

#include "MediaConversion/Converters/Kernels.h"
#include "MediaConversion/Errors.h"
#include "MediaConversion/MediaPipeline/Frames.h"

#include <opencv2/core/utility.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cstddef>
#include <exception>
#include <string_view>

namespace MediaConversion {

using Velmora::FrameFormat;
using Velmora::FullFrame;
using Velmora::ImageFrame;
using Velmora::PackedFrame;

namespace {

// Calls the kernel with bands of rows, [first, end), on OpenCV's workers. The only place that knows
// of threads: kernels write disjoint rows and read what nobody writes. Where no worker can be
// started the loop fails before it is through. Then the rows are all done here, one by one: what
// OpenCV does inside a kernel spreads over workers, too, but never a single row.
template <class Kernel>
void forEachBandOfRows(int rows, const Kernel& kernel)
{
    try {
        cv::parallel_for_(cv::Range(0, rows),
                          [&](const cv::Range& band) { kernel(band.start, band.end); });
    } catch (const std::exception&) {
        for (int row = 0; row < rows; ++row)
            kernel(row, row + 1);
    }
}

// Which frames a family converts, and its texts for those that it refuses.
template <class SourceFrame, class DestinationFrame>
struct FramesOf
{
    using Source = SourceFrame;
    using Destination = DestinationFrame;

    std::string_view wrongKind;
    std::string_view unsupportedPair;
};

template <Family family>
constexpr int rulesOf = 0;
// clang-format off
//                                                        source       destination
template <> constexpr FramesOf<PackedFrame, FullFrame  > rulesOf<Family::RgbUnpacking> {"Can only convert packed images",      "Unpacking is not supported from "};
template <> constexpr FramesOf<FullFrame,   PackedFrame> rulesOf<Family::RgbPacking>   {"Can only convert FullFrame images",   "Packing is not supported from "};
template <> constexpr FramesOf<PackedFrame, FullFrame  > rulesOf<Family::YCbCrDecoding>{"Can only convert PackedFrame images", "RGB conversion is not supported from "};
template <> constexpr FramesOf<ImageFrame,  PackedFrame> rulesOf<Family::YCbCrEncoding>{"Can only convert FullFrame images",   "YCbCr 4:2:2 conversion is not supported from "};  // for 4:2:0, too
template <> constexpr FramesOf<PackedFrame, FullFrame  > rulesOf<Family::BlockDecoding>{"Can only convert PackedFrame images", "RGB conversion is not supported from "};
template <> constexpr FramesOf<ImageFrame,  PackedFrame> rulesOf<Family::BlockEncoding>{"Can only convert FullFrame images",   "DXT conversion is not supported from "};
template <> constexpr FramesOf<FullFrame,   FullFrame  > rulesOf<Family::BytesToFloats>{};

template <Family family> constexpr int pairsOf = 0;
template <> constexpr auto pairsOf<Family::RgbUnpacking>  = rgbUnpackings;
template <> constexpr auto pairsOf<Family::RgbPacking>    = rgbPackings;
template <> constexpr auto pairsOf<Family::YCbCrDecoding> = yCbCrDecodings;
template <> constexpr auto pairsOf<Family::YCbCrEncoding> = yCbCrEncodings;
template <> constexpr auto pairsOf<Family::BlockDecoding> = blockDecodings;
template <> constexpr auto pairsOf<Family::BlockEncoding> = blockEncodings;
// clang-format on

Stores storesFor(const cv::Mat& result)
{
    return result.total() * result.elemSize() < leastBytesPastCaches() ? Stores::Plain
                                                                       : Stores::PastCaches;
}

// Spreads the rows of groups over the workers. A group covers several pixels, rows and columns; in
// the matrix of the full side each of them is an element of its own.
void convertRows(const ImageFrame& source, const ImageFrame& destination, RowKernel convertRow)
{
    const auto& from = source.format().pixelPacking;
    const auto& to = destination.format().pixelPacking;
    const auto groupRows = std::max(from.rowsPerGroup, to.rowsPerGroup);
    const auto sourceRows = static_cast<int>(groupRows / from.rowsPerGroup);
    const auto destinationRows = static_cast<int>(groupRows / to.rowsPerGroup);
    const cv::Mat& read = source.image();
    cv::Mat written = destination.image();
    const int groups = std::min(read.cols, written.cols);
    const auto stores = storesFor(written);
    forEachBandOfRows(written.rows / destinationRows, [&](int first, int end) {
        for (int row = first; row < end; ++row)
            convertRow(read.ptr(row * sourceRows), read.step, written.ptr(row * destinationRows),
                       written.step, groups, stores);
    });
}

template <Family family>
struct Convert
{
    using Entry = ConvertFunction;

    template <class Conversion, std::size_t index>
    static std::unique_ptr<ImageFrame> entry(const ImageFrame& source,
                                             const FrameFormat& destination)
    {
        if constexpr (family == Family::BlockEncoding) {
            // The two blanks before the second name are part of the message.
            using Packing = typename Conversion::Destination;
            if (destination != Packing::format())
                fail(Packing::name, " conversion destination format only supports ",
                     Packing::format(), ", no support for  ", destination);
        }
        using Destination = typename decltype(rulesOf<family>)::Destination;
        auto converted =
            std::make_unique<Destination>(destination, source.width(), source.height());
        convertRows(source, *converted, kernels(family)[index]);
        return converted;
    }
};

// OpenCV names its codes for a blue-first source; only whether red and blue change places matters.
// Other orders do not compile.
constexpr int conversionCode(ChannelOrder source, ChannelOrder destination)
{
    const auto hasBlueFirst = [](const ChannelOrder& order) {
        if (order == channelOrder("BGR") || order == channelOrder("BGRA"))
            return true;
        if (order == channelOrder("RGB") || order == channelOrder("RGBA"))
            return false;
        throw "no code of OpenCV's for this order";
    };
    const bool swaps = hasBlueFirst(source) != hasBlueFirst(destination);
    const bool hasAlpha = source.alpha != ChannelOrder::none;
    const bool wantsAlpha = destination.alpha != ChannelOrder::none;
    if (hasAlpha == wantsAlpha)
        return hasAlpha ? cv::COLOR_BGRA2RGBA : cv::COLOR_BGR2RGB;
    if (wantsAlpha)
        return swaps ? cv::COLOR_BGR2RGBA : cv::COLOR_BGR2BGRA;
    return swaps ? cv::COLOR_RGBA2BGR : cv::COLOR_BGRA2BGR;
}

struct Reorder
{
    using Entry = int;

    template <class Conversion, std::size_t>
    static constexpr Entry entry = conversionCode(Conversion::Source::order,
                                                  Conversion::Destination::order);
};

}

template <Family family>
std::unique_ptr<Velmora::IFrame> PackingProcessor<family>::onNewImage(
    std::shared_ptr<const Velmora::IImageFrame> frame)
{
    constexpr const auto& rules = rulesOf<family>;
    const auto lookUp = [&] {
        return findConversion(conversions(), frame->format(), m_destination, rules.unsupportedPair);
    };
    // A packed frame is refused by naming both formats.
    if (family == Family::RgbPacking && frame)
        lookUp();
    using Source = typename std::remove_cvref_t<decltype(rules)>::Source;
    const auto* const source = dynamic_cast<const Source*>(frame.get());
    if (!source)
        fail(rules.wrongKind);
    const auto convert = lookUp();
    constexpr bool refusesEmptyFrames =
        family != Family::RgbUnpacking && family != Family::RgbPacking;
    if (refusesEmptyFrames && source->image().empty())
        fail("no image data in frame");
    return convert(*source, m_destination);
}

template <Family family>
const ConvertTable& PackingProcessor<family>::conversions()
{
    static const ConvertTable& table =
        *new ConvertTable(conversionTable<Convert<family>>(pairsOf<family>));
    return table;
}

template class PackingProcessor<Family::RgbUnpacking>;
template class PackingProcessor<Family::RgbPacking>;
template class PackingProcessor<Family::YCbCrDecoding>;
template class PackingProcessor<Family::YCbCrEncoding>;
template class PackingProcessor<Family::BlockDecoding>;
template class PackingProcessor<Family::BlockEncoding>;

std::unique_ptr<Velmora::IFrame> ImageBitDepth::onNewImage(
    std::shared_ptr<const Velmora::IImageFrame> frame)
{
    const auto* const full = dynamic_cast<const Velmora::FullFrame*>(frame.get());
    if (!full)
        fail("Can only convert FullFrame images");
    const FrameFormat& source = full->format();
    if (source.colourspace != m_destination.colourspace)
        fail("Source colourspace ", source.colourspace, " does not match destination colourspace ",
             m_destination.colourspace);
    if (source.pixelFormat != m_destination.pixelFormat)
        fail("Source channel format ", source.pixelFormat,
             " does not match destination channel format ", m_destination.pixelFormat);
    const auto row = conversions().find({source.channelType, m_destination.channelType});
    if (row == conversions().end())
        fail("Bit depth conversion is not supported from ", source.channelType, " to ",
             m_destination.channelType);

    const auto onePass = onePassConversions().find({source, m_destination});
    if (onePass != onePassConversions().end())
        return onePass->second(*full, m_destination);
    const auto& scaling = row->second;
    const cv::Mat& image = full->image();
    cv::Mat converted(image.size(), CV_MAKETYPE(scaling.depth, image.channels()));
    // convertTo itself runs on one thread.
    forEachBandOfRows(image.rows, [&](int first, int end) {
        cv::Mat band = converted.rowRange(first, end);
        image.rowRange(first, end).convertTo(band, scaling.depth, scaling.scale);
    });
    return std::make_unique<Velmora::FullFrame>(m_destination, converted);
}

const ImageBitDepth::Table& ImageBitDepth::conversions()
{
    using enum Velmora::ChannelType;
    // clang-format off
    static const Table& table = *new Table{
        //  from       to          depth     scale
        {{U8,       U8      }, {CV_8U,      1.0          }},
        {{U8,       U12     }, {CV_16U,  4095.0 / 255    }},
        {{U8,       U15plus1}, {CV_16U, 32768.0 / 255    }},
        {{U8,       F32     }, {CV_32F,     1.0 / 255    }},
        {{U12,      U8      }, {CV_8U,    255.0 / 4095   }},
        {{U12,      U15plus1}, {CV_16U, 32768.0 / 4095   }},
        {{U12,      F32     }, {CV_32F,     1.0 / 4095   }},
        {{U15plus1, U12     }, {CV_16U,  4095.0 / 32768  }},
        {{U16,      U8      }, {CV_8U,    255.0 / 65535  }},
        {{F32,      U8      }, {CV_8U,    255.0          }},
        {{F32,      U10     }, {CV_16U,  1023.0          }},
        {{F32,      U12     }, {CV_16U,  4095.0          }},
    };
    // clang-format on
    return table;
}

std::unique_ptr<Velmora::IFrame> ImageColourspace::onNewImage(
    std::shared_ptr<const Velmora::IImageFrame> frame)
{
    const auto* const full = dynamic_cast<const Velmora::FullFrame*>(frame.get());
    if (!full)
        fail("Can only convert FullFrame images");
    const int code = findConversion(conversions(), full->format(), m_destination,
                                    "Colourspace conversion is not supported from ");
    auto reordered =
        std::make_unique<Velmora::FullFrame>(m_destination, full->width(), full->height());
    cv::Mat pixels = reordered->image();
    forEachBandOfRows(pixels.rows, [&](int first, int end) {
        cv::Mat band = pixels.rowRange(first, end);
        cv::cvtColor(full->image().rowRange(first, end), band, code);
    });
    return reordered;
}

const ImageColourspace::Table& ImageColourspace::conversions()
{
    // clang-format off
    static const Table& table = *new Table(conversionTable<Reorder>(
        from<RgbU8> (to<       BgrU8, RgbaU8, BgraU8>) +
        from<BgrU8> (to<RgbU8,        RgbaU8, BgraU8>) +
        from<RgbaU8>(to<RgbU8, BgrU8,         BgraU8>) +
        from<BgraU8>(to<RgbU8, BgrU8, RgbaU8        >) +
        from<BgrF32>(to<BgraF32>)));
    // clang-format on
    return table;
}

namespace {

// Decodes some blocks to bytes and goes on with those.
std::unique_ptr<ImageFrame> decodeBlocksToFloats(const ImageFrame& source,
                                                 const FrameFormat& destination)
{
    auto converted = std::make_unique<FullFrame>(destination, source.width(), source.height());
    const cv::Mat& blocks = source.image();
    cv::Mat floats = converted->image();
    const auto stores = storesFor(floats);
    const auto toBytes =
        kernels(Family::BlockDecoding)[indexIn<Conversion<YCoCgDxt5, BgraU8>>(blockDecodings)];
    const auto toFloats =
        kernels(Family::BytesToFloats)[indexIn<Conversion<BgraU8, BgraF32>>(bytesToFloats)];
    forEachBandOfRows(blocks.rows, [&](int first, int end) {
        constexpr int blocksAtOnce = 64;
        constexpr std::size_t rowBytes = sizeof(cv::Vec4b) * blockSide * blocksAtOnce;
        std::array<std::uint8_t, blockSide * rowBytes> bytes;
        for (int row = first; row < end; ++row)
            for (int column = 0; column < blocks.cols; column += blocksAtOnce) {
                const int count = std::min(blocksAtOnce, blocks.cols - column);
                toBytes(blocks.ptr(row, column), blocks.step, bytes.data(), rowBytes, count,
                        Stores::Plain);
                for (int line = 0; line < blockSide; ++line)
                    toFloats(&bytes[line * rowBytes], rowBytes,
                             floats.ptr(row * blockSide + line, column * blockSide), floats.step,
                             count * blockSide, stores);
            }
    });
    return converted;
}

}

const ConvertTable& onePassConversions()
{
    static const ConvertTable& table = *new ConvertTable([] {
        auto conversions = conversionTable<Convert<Family::BytesToFloats>>(bytesToFloats);
        conversions.emplace(FormatPair{YCoCgDxt5::format(), BgraF32::format()},
                            decodeBlocksToFloats);
        return conversions;
    }());
    return table;
}

std::unique_ptr<Velmora::IFrame> TextureProcessor::onNewTexture(
    std::shared_ptr<const Velmora::ITextureFrame>)
{
    fail("Not built with OpenGL support");
}

namespace {

// Complete once the library is loaded.
[[maybe_unused]] const bool tablesAtStartUp = [] {
    ImageToFullFrame::conversions();
    ImageToPackedFrame::conversions();
    ImageYCbCr42xToRGB::conversions();
    ImageRGBtoYCbCr42x::conversions();
    ImageYCoCgDXT5toRGB::conversions();
    ImageRGBtoYCoCgDXT5::conversions();
    ImageBitDepth::conversions();
    ImageColourspace::conversions();
    onePassConversions();
    return true;
}();

}

}
