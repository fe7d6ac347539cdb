#include "tests/support/PlainEncoding.h"

#include "tests/support/PlainPixels.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <initializer_list>
#include <stdexcept>
#include <string>
#include <utility>

namespace MediaConversion {
namespace Plain {
namespace {

using Velmora::FrameFormat;

// Calls `encode` with the group's pixels, row by row, and the group to write.
template <int rows, int columns, class Element, class Encode>
void forEachGroup(const cv::Mat& pixels, cv::Mat& groups, const Encode& encode)
{
    forEachRow(groups, [&](int row) {
        auto* group = groups.ptr<std::uint8_t>(row);
        for (int x = 0; x < groups.cols; ++x, group += groups.elemSize()) {
            std::array<const Element*, rows * columns> pixel;
            for (int k = 0; k < rows * columns; ++k)
                pixel[k] = pixels.ptr<Element>(row * rows + k / columns) +
                           (x * columns + k % columns) * pixels.channels();
            encode(pixel, group);
        }
    });
}

void write(std::uint8_t* bytes, std::initializer_list<unsigned> values)
{
    for (const unsigned value : values)
        *bytes++ = static_cast<std::uint8_t>(value);
}

void writeWord(std::uint8_t* bytes, unsigned word)
{
    write(bytes, {word, word >> 8, word >> 16, word >> 24});
}

// What is not a number ends at 0.
double clamped(double value, double maximum)
{
    return value > 0 ? (value < maximum ? value : maximum) : 0;
}

// Three samples make a word, six a group of 9 bytes.
template <int pixelCount, int maximum, class Element>
void pack(const cv::Mat& pixels, const FrameFormat& source, const std::string& packing,
          cv::Mat& groups)
{
    const double scale = fullScale(source.channelType);
    const std::array channels{channelOf(packing[0], source.pixelFormat),
                              channelOf(packing[1], source.pixelFormat),
                              channelOf(packing[2], source.pixelFormat)};
    forEachGroup<1, pixelCount, Element>(pixels, groups, [&](const auto& pixel, auto* group) {
        std::array<unsigned, 6> s{};
        for (int k = 0; k < 3 * pixelCount; ++k)
            s[k] = static_cast<unsigned>(
                clamped(pixel[k / 3][channels[k % 3]] / scale * maximum, maximum) + 0.5);
        if (pixelCount == 1)
            writeWord(group, s[0] << 22 | s[1] << 12 | s[2] << 2);
        else
            for (int k = 0; k < 6; k += 2)
                write(group + k / 2 * 3, {s[k] >> 4, s[k] << 4 | s[k + 1] >> 8, s[k + 1]});
    });
}

struct YCbCr
{
    double luma, cb, cr, alpha;
};

template <class Element>
YCbCr yCbCrOf(const Element* pixel, const ColourChannels& channels, double scale)
{
    const double r = clamped(pixel[channels.red] / scale, scale);
    const double g = clamped(pixel[channels.green] / scale, scale);
    const double b = clamped(pixel[channels.blue] / scale, scale);
    return {0.299 * r + 0.587 * g + 0.114 * b, 0.5 * b - 0.168736 * r - 0.331264 * g + 0.5,
            0.5 * r - 0.418688 * g - 0.081312 * b + 0.5,
            channels.alpha < 0 ? 0 : clamped(pixel[channels.alpha] / scale, scale)};
}

// Negative values are cut towards 0, then masked.
template <int bits>
unsigned code(double value)
{
    constexpr int maximum = (1 << bits) - 1;
    return static_cast<int>(value * maximum + 0.5) & maximum;
}

void writeYuyv422(const YCbCr& mean, const std::array<YCbCr, 2>& p, std::uint8_t* group)
{
    write(group, {code<8>(p[0].luma), code<8>(mean.cb), code<8>(p[1].luma), code<8>(mean.cr)});
}

void writeZeq422(const YCbCr& mean, const std::array<YCbCr, 2>& p, std::uint8_t* group)
{
    const unsigned cb = code<10>(mean.cb);
    const unsigned left = code<10>(p[0].luma);
    const unsigned cr = code<10>(mean.cr);
    const unsigned right = code<10>(p[1].luma);
    write(group, {cb >> 2, left >> 2, cr >> 2, right >> 2,
                  (cb & 3) << 6 | (left & 3) << 4 | (cr & 3) << 2 | (right & 3)});
}

// The chroma of the left pixel alone.
void writeHybrid(const YCbCr&, const std::array<YCbCr, 2>& p, std::uint8_t* group)
{
    const auto& [left, right] = p;
    writeWord(group, code<10>(right.alpha) | code<12>(right.luma) << 10 | code<10>(left.cr) << 22);
    writeWord(group + 4,
              code<10>(left.cb) | code<12>(left.luma) << 10 | code<10>(left.alpha) << 22);
}

void writeZeq420(const YCbCr& mean, const std::array<YCbCr, 4>& p, std::uint8_t* group)
{
    write(group, {code<8>(mean.cb), code<8>(mean.cr), code<8>(p[0].luma), code<8>(p[1].luma),
                  code<8>(p[2].luma), code<8>(p[3].luma)});
}

template <auto writeGroup, int rows, class Element>
void encodeYCbCr(const cv::Mat& pixels, const FrameFormat& source, cv::Mat& groups)
{
    const double scale = fullScale(source.channelType);
    const ColourChannels channels(source.pixelFormat);
    forEachGroup<rows, 2, Element>(pixels, groups, [&](const auto& pixel, auto* group) {
        std::array<YCbCr, 2 * rows> p;
        YCbCr mean{};
        for (int k = 0; k < 2 * rows; ++k) {
            p[k] = yCbCrOf(pixel[k], channels, scale);
            mean.cb += p[k].cb;
            mean.cr += p[k].cr;
        }
        mean.cb *= 0.5 / rows;
        mean.cr *= 0.5 / rows;
        writeGroup(mean, p, group);
    });
}

// The channels of a block's pixels: red, green and blue, or Co, Cg, the scale code and Y.
using Colour = std::array<int, 4>;
using Block = std::array<Colour, 16>;
constexpr int co = 0, cg = 1, blue = 2, luma = 3;

struct Box
{
    Colour min{255, 255, 255, 255};
    Colour max{};

    explicit Box(const Block& pixels)
    {
        for (const auto& pixel : pixels)
            for (int k = 0; k < 4; ++k) {
                min[k] = std::min(min[k], pixel[k]);
                max[k] = std::max(max[k], pixel[k]);
            }
    }
};

// A channel cut to its 5 bits, or Cg and green to 6, and widened again.
int expanded(int value, int channel)
{
    return channel == cg ? (value & 0xFC) | value >> 6 : (value & 0xF8) | value >> 5;
}

unsigned pack565(const Colour& colour)
{
    return (colour[0] & 0xF8) << 8 | (colour[1] & 0xFC) << 3 | colour[2] >> 3;
}

// The endpoints, and for each pixel which of four colours to take.
template <int channelCount>
void writeColours(const Block& pixels, const Box& box, std::uint8_t* bytes)
{
    Block e{};
    for (int k = 0; k < channelCount; ++k) {
        e[0][k] = expanded(box.max[k], k);
        e[1][k] = expanded(box.min[k], k);
        e[2][k] = (2 * e[0][k] + e[1][k]) / 3;
        e[3][k] = (e[0][k] + 2 * e[1][k]) / 3;
    }
    unsigned indices = 0;
    for (int i = 0; i < 16; ++i) {
        Colour d{};
        for (int k = 0; k < 4 * channelCount; ++k)
            d[k % 4] += std::abs(e[k % 4][k / 4] - pixels[i][k / 4]);
        const unsigned x0 = d[1] > d[2] && d[0] > d[2];
        const unsigned x1 = d[1] > d[3] && d[0] > d[3];
        const unsigned x2 = d[2] > d[3] && d[0] > d[3];
        indices |= (x2 | (x0 | x1) << 1) << 2 * i;
    }
    writeWord(bytes, pack565(box.max) | pack565(box.min) << 16);
    writeWord(bytes + 4, indices);
}

void shrink(Box& box, int channel, int shift)
{
    int& min = box.min[channel];
    int& max = box.max[channel];
    const int inset = (max - min) - ((1 << (shift - 1)) - 1);
    min = std::max(((min << shift) + inset) >> shift, 0);
    max = std::min(((max << shift) - inset) >> shift, 255);
}

void writeLuma(const Block& pixels, int min, int max, std::uint8_t* bytes)
{
    const int mid = (max - min) / 14;
    std::array<std::uint8_t, 7> t{static_cast<std::uint8_t>(min + mid)};
    for (int k = 1; k < 7; ++k)
        t[k] = static_cast<std::uint8_t>(((7 - k) * max + k * min) / 7 + mid);
    std::uint64_t indices = 0;
    for (int i = 0; i < 16; ++i) {
        unsigned k = 1;
        for (const int threshold : t)
            k += pixels[i][luma] <= threshold;
        k &= 7;
        indices |= std::uint64_t(k < 2 ? k ^ 1 : k) << 3 * i;
    }
    writeWord(bytes, max | min << 8 | static_cast<unsigned>(indices << 16));
    writeWord(bytes + 4, static_cast<unsigned>(indices >> 16));
}

void encodeDxt5(Block& pixels, std::uint8_t* bytes)
{
    Box box(pixels);
    int m = 0;
    for (const int k : {co, cg})
        m = std::max({m, std::abs(box.min[k] - 128), std::abs(box.max[k] - 128)});
    const int scale = m < 32 ? 4 : m < 64 ? 2 : 1;
    const auto scaled = [&](int value) { return ((value - 128) * scale + 128) & 0xFF; };
    for (const int k : {co, cg}) {
        for (auto& pixel : pixels)
            pixel[k] = scaled(pixel[k]);
        box.min[k] = scaled(box.min[k]);
        box.max[k] = scaled(box.max[k]);
        shrink(box, k, 4);
        box.min[k] = expanded(box.min[k], k);
        box.max[k] = expanded(box.max[k], k);
    }
    box.min[blue] = box.max[blue] = (scale - 1) * 8;
    shrink(box, luma, 5);
    const int mid0 = (box.min[co] + box.max[co] + 1) >> 1;
    const int mid1 = (box.min[cg] + box.max[cg] + 1) >> 1;
    const auto isApart = [&](auto& pixel) { return (pixel[co] >= mid0) != (pixel[cg] >= mid1); };
    if (std::count_if(pixels.begin(), pixels.end(), isApart) > 8)
        std::swap(box.min[cg], box.max[cg]);
    writeLuma(pixels, box.min[luma], box.max[luma], bytes);
    writeColours<2>(pixels, box, bytes + 8);
}

void encodeDxt1(const Block& pixels, std::uint8_t* bytes)
{
    Box box(pixels);
    for (int k = 0; k < 3; ++k) {
        const int inset = (box.max[k] - box.min[k]) >> 4;
        box.min[k] = std::min(box.min[k] + inset, 255);
        box.max[k] = std::max(box.max[k] - inset, 0);
    }
    writeColours<3>(pixels, box, bytes);
}

template <class EncodeBlock>
void encodeBlocks(const cv::Mat& pixels, cv::Mat& blocks, const EncodeBlock& encodeBlock)
{
    forEachGroup<4, 4, std::uint8_t>(pixels, blocks, [&](const auto& pixel, auto* bytes) {
        Block block;
        for (int k = 0; k < 16; ++k)
            block[k] = {pixel[k][0], pixel[k][1], pixel[k][2], pixel[k][3]};
        encodeBlock(block, bytes);
    });
}

cv::Mat coCgAYOf(const cv::Mat& pixels, const ColourChannels& channels)
{
    cv::Mat codes(pixels.size(), CV_8UC4);
    forEachGroup<1, 1, std::uint8_t>(pixels, codes, [&](const auto& pixel, auto* code) {
        const unsigned r = pixel[0][channels.red];
        const unsigned g = pixel[0][channels.green];
        const unsigned b = pixel[0][channels.blue];
        const int orange = int(2 * r - 2 * b + 2) >> 2;
        const int green = int(2 * g - r - b + 2) >> 2;
        write(code, {orange > 127 ? 255u : orange + 128u, green > 127 ? 255u : green + 128u, 127,
                     (r + 2 * g + b + 2) >> 2});
    });
    return codes;
}

}
}

cv::Mat plainEncode(const Velmora::FullFrame& frame, const Velmora::FrameFormat& destination)
{
    using namespace Plain;
    const cv::Mat& pixels = frame.image();
    const FrameFormat& source = frame.format();
    const auto& [bytes, samples, rows, columns] = destination.pixelPacking;
    const std::string& packing = destination.pixelFormat;
    cv::Mat groups(frame.height() / int(rows), frame.width() / int(columns),
                   openCvType(destination, Velmora::PackedFormatCvTypes()));
    withElement(source.channelType, [&]<class Element>(Element) {
        if (packing.ends_with("-DPX-FILLED"))
            pack<1, 1023, Element>(pixels, source, packing, groups);
        else if (packing.ends_with("-SMPTE-2110"))
            pack<2, 4095, Element>(pixels, source, packing, groups);
        else if (packing == "YUYV-422")
            encodeYCbCr<writeYuyv422, 1, Element>(pixels, source, groups);
        else if (packing == "ZEQ-422")
            encodeYCbCr<writeZeq422, 1, Element>(pixels, source, groups);
        else if (packing == "ZEQ-4224-HYBRID")
            encodeYCbCr<writeHybrid, 1, Element>(pixels, source, groups);
        else if (packing == "ZEQ-420")
            encodeYCbCr<writeZeq420, 2, Element>(pixels, source, groups);
        else if (packing == "YCoCg-DXT5")
            encodeBlocks(coCgAYOf(pixels, ColourChannels(source.pixelFormat)), groups, encodeDxt5);
        else if (packing == "RGB-DXT1")
            encodeBlocks(pixels, groups, encodeDxt1);
        else
            throw std::invalid_argument("no plain arithmetic for " + packing);
    });
    return groups;
}

}
