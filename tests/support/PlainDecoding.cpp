#include "tests/support/PlainDecoding.h"

#include "MediaConversion/MediaPipeline/Formats.h"
#include "tests/support/PlainBlocks.h"
#include "tests/support/PlainRgbPackings.h"
#include "tests/support/PlainYCbCrPackings.h"

#include <stdexcept>
#include <string>

namespace MediaConversion {

namespace Plain {

namespace {

using Velmora::FrameFormat;

void fill(cv::Mat& pixels, const FrameFormat& destination)
{
    pixels.setTo(cv::Scalar::all(fullScale(destination.channelType)));
}

template <class Packing>
void unpackRgb(const cv::Mat& groups, const std::string& packing, const FrameFormat& destination,
               cv::Mat& pixels)
{
    fill(pixels, destination);
    const std::array channels{channelOf(packing[0], destination.pixelFormat),
                              channelOf(packing[1], destination.pixelFormat),
                              channelOf(packing[2], destination.pixelFormat)};
    const int channelCount = pixels.channels();
    const double maximum = fullScale(destination.channelType);
    withElement(destination.channelType, [&]<class Element>(Element) {
        forEachRow(groups, [&](int row) {
            const auto* group = groups.ptr<std::uint8_t>(row);
            auto* pixel = pixels.ptr<Element>(row);
            for (int x = 0; x < groups.cols; ++x)
                unpackGroup<Packing>(group + x * groups.elemSize(), channels, channelCount, maximum,
                                     pixel + x * Packing::pixels * channelCount);
        });
    });
}

template <class Packing>
void decodeYCbCr(const cv::Mat& groups, const FrameFormat& destination, cv::Mat& pixels)
{
    if constexpr (!Packing::hasAlpha)
        fill(pixels, destination);
    const ColourChannels channels(destination.pixelFormat);
    const double maximum = fullScale(destination.channelType);
    withElement(destination.channelType, [&]<class Element>(Element) {
        forEachRow(groups, [&](int groupRow) {
            const auto* group = groups.ptr<std::uint8_t>(groupRow);
            for (int x = 0; x < groups.cols; ++x) {
                std::array<Element*, Packing::rows> rows;
                for (int row = 0; row < Packing::rows; ++row)
                    rows[row] = pixels.ptr<Element>(groupRow * Packing::rows + row) +
                                x * 2 * channels.count;
                decodeGroup<Packing>(group + x * groups.elemSize(), channels, maximum, rows);
            }
        });
    });
}

void writeTexel(std::uint8_t* pixel, const ColourChannels& channels, const Texel& texel)
{
    pixel[channels.red] = static_cast<std::uint8_t>(texel.red);
    pixel[channels.green] = static_cast<std::uint8_t>(texel.green);
    pixel[channels.blue] = static_cast<std::uint8_t>(texel.blue);
}

void decodeDxt1(const cv::Mat& blocks, const FrameFormat& destination, cv::Mat& pixels)
{
    fill(pixels, destination);
    const ColourChannels channels(destination.pixelFormat);
    forEachRow(blocks, [&](int y) {
        for (int x = 0; x < blocks.cols; ++x) {
            const auto texels = decodeDxt1Block(blocks.ptr<std::uint8_t>(y) + x * 8);
            for (int k = 0; k < 16; ++k)
                writeTexel(
                    pixels.ptr<std::uint8_t>(4 * y + k / 4) + (4 * x + k % 4) * channels.count,
                    channels, texels[k]);
        }
    });
}

cv::Mat coCgAYOfBlocks(const cv::Mat& blocks)
{
    cv::Mat codes(4 * blocks.rows, 4 * blocks.cols, CV_8UC4);
    forEachRow(blocks, [&](int y) {
        for (int x = 0; x < blocks.cols; ++x) {
            const auto texels = decodeDxt5Block(blocks.ptr<std::uint8_t>(y) + x * 16);
            for (int k = 0; k < 16; ++k) {
                const auto& [red, green, blue, alpha] = texels[k];
                codes.at<cv::Vec4b>(4 * y + k / 4, 4 * x + k % 4) =
                    cv::Vec4b(static_cast<std::uint8_t>(red), static_cast<std::uint8_t>(green),
                              static_cast<std::uint8_t>(blue), static_cast<std::uint8_t>(alpha));
            }
        }
    });
    return codes;
}

void decodeYCoCgDxt5(const cv::Mat& blocks, const FrameFormat& destination, cv::Mat& pixels)
{
    const cv::Mat codes = coCgAYOfBlocks(blocks);
    fill(pixels, destination);
    const ColourChannels channels(destination.pixelFormat);
    forEachRow(codes, [&](int row) {
        const auto* code = codes.ptr<std::uint8_t>(row);
        auto* pixel = pixels.ptr<std::uint8_t>(row);
        for (int x = 0; x < codes.cols; ++x, code += 4, pixel += channels.count)
            writeTexel(pixel, channels, colourOfCoCgAY({code[0], code[1], code[2], code[3]}));
    });
}

// An 8-bit frame with its channels moved by name; alpha that was not there is opaque.
cv::Mat bgraU8(const cv::Mat& pixels, const std::string& pixelFormat)
{
    const ColourChannels from(pixelFormat);
    cv::Mat bgra(pixels.size(), CV_8UC4);
    forEachRow(pixels, [&](int row) {
        const auto* pixel = pixels.ptr<std::uint8_t>(row);
        for (int x = 0; x < pixels.cols; ++x, pixel += from.count)
            bgra.at<cv::Vec4b>(row, x) =
                cv::Vec4b(pixel[from.blue], pixel[from.green], pixel[from.red],
                          from.alpha < 0 ? 255 : pixel[from.alpha]);
    });
    return bgra;
}

}

}

void plainDecode(const Velmora::PackedFrame& source, const Velmora::FrameFormat& destination,
                 cv::Mat& pixels)
{
    using namespace Plain;
    const cv::Mat& groups = source.image();
    const std::string& packing = source.format().pixelFormat;
    pixels.create(source.height(), source.width(),
                  openCvType(destination, Velmora::FullFormatCvTypes()));
    if (packing.ends_with("-DPX-FILLED"))
        unpackRgb<DpxFilled>(groups, packing, destination, pixels);
    else if (packing.ends_with("-DPX-PACKED"))
        unpackRgb<DpxPacked>(groups, packing, destination, pixels);
    else if (packing.ends_with("-SMPTE-2110"))
        unpackRgb<Smpte2110>(groups, packing, destination, pixels);
    else if (packing == "YUYV-422")
        decodeYCbCr<Yuyv422>(groups, destination, pixels);
    else if (packing == "ZEQ-422")
        decodeYCbCr<Zeq422>(groups, destination, pixels);
    else if (packing == "ZEQ-4224-HYBRID")
        decodeYCbCr<Zeq4224Hybrid>(groups, destination, pixels);
    else if (packing == "ZEQ-420")
        decodeYCbCr<Zeq420>(groups, destination, pixels);
    else if (packing == "RGB-DXT1")
        decodeDxt1(groups, destination, pixels);
    else if (packing == "YCoCg-DXT5")
        decodeYCoCgDxt5(groups, destination, pixels);
    else
        throw std::invalid_argument("no plain arithmetic for " + packing);
}

cv::Mat plainDecode(const Velmora::PackedFrame& source, const Velmora::FrameFormat& destination)
{
    cv::Mat pixels;
    plainDecode(source, destination, pixels);
    return pixels;
}

void plainBgraF32(const Velmora::ImageFrame& source, cv::Mat& pixels)
{
    using namespace Velmora::Formats;
    constexpr double scale = 1.0 / 255;
    const auto* packed = dynamic_cast<const Velmora::PackedFrame*>(&source);
    if (!packed)
        Plain::bgraU8(source.image(), source.format().pixelFormat).convertTo(pixels, CV_32F, scale);
    else if (source.format() == YCoCg_DXT5())
        plainDecode(*packed, BGRA_U8()).convertTo(pixels, CV_32F, scale);
    else
        plainDecode(*packed, BGRA_F32(), pixels);
}

cv::Mat plainBgraF32(const Velmora::ImageFrame& source)
{
    cv::Mat pixels;
    plainBgraF32(source, pixels);
    return pixels;
}

}
