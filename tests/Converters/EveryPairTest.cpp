#include "MediaConversion/Converters/Kernels.h"
#include "tests/Converters/ConvertedFrames.h"
#include "tests/support/KernelLevels.h"
#include "tests/support/Pools.h"
#include "tests/support/ReferencePackings.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

// The converters and the reference arithmetic give the same bytes.
namespace MediaConversion {
namespace {

using namespace Velmora::Formats;
using Velmora::FrameFormat;

// All tests of the program are on this level.
[[maybe_unused]] const auto usedLevel = useLevelOfEnvironment();

// Expects the reference arithmetic's bytes in the given destinations, or else in all that there are
// for the source.
void expectAsReference(const FrameFormat& source, const cv::Mat& matrix,
                       const std::vector<FrameFormat>& destinations = {})
{
    for (const auto& [pair, making] : converters()) {
        const auto& [from, to] = pair;
        if (from != source || (!destinations.empty() && !std::ranges::count(destinations, to)))
            continue;
        const auto result = converted(source, matrix, to);
        EXPECT_TRUE(sameBytes(reference(*frameOver(source, matrix), to), result))
            << toString(source) << " to " << toString(to) << ", " << matrix.size();
        EXPECT_NE(result.data, matrix.data);
    }
}

// Frames of all shapes, on several threads, and on one with stores past the caches. Sizes are in
// groups.
TEST(EveryPair, givesTheReferencesBytesInsideTheBlocksOfItsFrames)
{
    std::vector<cv::Size> sizes{{131, 67}, {1, 16}, {1, 61}};
    for (int columns = 1; columns <= 70; ++columns)
        sizes.emplace_back(columns, columns % 4 / 2 ? 1 : 3);
    const auto usually = leastBytesPastCaches();
    insideGuardedBlocks([&] {
        for (const auto& size : sizes)
            for (const auto& [pair, making] : converters()) {
                const auto& [source, destination] = pair;
                const auto& packing = destination.pixelPacking;
                const cv::Rect inside(1 + size.width % 3, 1,
                                      size.width * int(packing.columnsPerGroup),
                                      size.height * int(packing.rowsPerGroup));
                // The pixels lie in the midst of others, which nobody may change, and by
                // themselves.
                const auto whole = randomMatrix(source, inside.height + 2, inside.width + 5);
                const cv::Mat before = whole.clone();
                cv::setNumThreads(std::to_array({0, 2, 4, 64})[size.width % 4]);
                expectAsReference(source, whole(inside), {destination});
                EXPECT_TRUE(sameBytes(before, whole)) << toString(source);
                cv::setNumThreads(1);
                storePastCachesFrom(0);
                expectAsReference(source, whole(inside).clone(), {destination});
                storePastCachesFrom(usually);
            }
    });
    cv::setNumThreads(-1);
}

// Every tie between two codes of either depth and its two neighbours; then colours and random bits.
float floatOf(int value, std::uint32_t random)
{
    const float tie = (float(value / 6) + 0.5f) / (value / 3 % 2 ? 1023.0f : 4095.0f);
    if (value < 6 * 4096)
        return std::nextafter(tie, tie + float(value % 3 - 1));
    return value % 2 ? std::bit_cast<float>(random) : float(random % 70000) / 60000 - 0.1f;
}

// The channels run through all that 16 bits can store, each in another order, and are random.
TEST(EveryPair, givesTheReferencesBytesForEveryValueOfItsChannels)
{
    for (const auto& format : allFormats()) {
        cv::Mat matrix = randomMatrix(format(), 512, 256);
        std::mt19937 random;
        const int channels = isPacked(format()) ? 0 : matrix.channels();
        for (int index = 0; index < 65536 * channels; ++index) {
            const int channel = index % channels;
            const int value = index / channels * (2 * channel + 1) & 0xFFFF;
            if (matrix.depth() == CV_8U)
                matrix.data[index] = static_cast<std::uint8_t>(value);
            else if (matrix.depth() == CV_16U)
                matrix.ptr<std::uint16_t>()[index] = static_cast<std::uint16_t>(value);
            else
                matrix.ptr<float>()[index] = floatOf(value, std::uint32_t(random()));
        }
        expectAsReference(format(), matrix);
    }
}

using Samples = Reference::Packing::Samples;

template <class SamplesAt>
cv::Mat groupsOf(const FrameFormat& format, int rows, int columns, const SamplesAt& samplesAt)
{
    cv::Mat groups(rows, columns, matrixType(format));
    const auto& packing = Reference::packingOf(format.pixelFormat);
    for (int row = 0; row < rows; ++row)
        for (int column = 0; column < columns; ++column)
            packing.write(samplesAt(unsigned(row), unsigned(column)), groups.ptr(row, column));
    return groups;
}

// All 2^24 triples of 8-bit samples: one Cb after the other, a row for each Cr.
TEST(YCbCr42x, isDecodedForAllEightBitTriples)
{
    for (unsigned cb = 0; cb < 256 && !HasFailure(); ++cb) {
        const auto yuyv = groupsOf(YUYV_422(), 256, 128, [&](unsigned cr, unsigned x) {
            return Samples{cb, cr, 2 * x, 2 * x + 1};
        });
        expectAsReference(YUYV_422(), yuyv, {RGB_U8(), BGRA_F32()});
        const auto zeq = groupsOf(ZEQ_420(), 256, 64, [&](unsigned cr, unsigned x) {
            return Samples{cb, cr, 4 * x, 4 * x + 1, 4 * x + 2, 4 * x + 3};
        });
        expectAsReference(ZEQ_420(), zeq, {RGB_U8(), BGRA_F32()});
    }
}

TEST(YCbCr42x, isDecodedForAllTenBitLumaAndChroma)
{
    // The ends, the middle, what lies between, chroma by which greens fall between two values, and
    // the pairs 467, 806; 867, 406 and 978, 795, with which the terms of a green cancel out.
    const std::vector<unsigned> chosen{0,   1,   2,   3,    4,    6,    35,   229, 238,
                                       256, 332, 406, 467,  511,  512,  513,  558, 576,
                                       697, 723, 767, 768,  769,  795,  806,  867, 877,
                                       903, 954, 978, 1019, 1020, 1021, 1022, 1023};
    for (const unsigned cb : chosen) {
        const int rows = int(chosen.size());
        const auto tenBits = groupsOf(ZEQ_422(), rows, 512, [&](unsigned row, unsigned x) {
            return Samples{cb, chosen[row], 2 * x, 2 * x + 1};
        });
        expectAsReference(ZEQ_422(), tenBits);
        const auto hybrid = groupsOf(ZEQ_4224_HYBRID(), rows, 2048, [&](unsigned row, unsigned x) {
            return Samples{cb, chosen[row], 2 * x, 2 * x + 1, x / 2, ~x & 1023};
        });
        expectAsReference(ZEQ_4224_HYBRID(), hybrid);
    }
    const auto allChroma = groupsOf(ZEQ_422(), 1024, 1024, [](unsigned cb, unsigned cr) {
        return Samples{cb, cr, (cb * 7 + cr * 5) & 1023, (cb + cr * 3) & 1023};
    });
    expectAsReference(ZEQ_422(), allChroma);
}

TEST(YCbCr42x, isEncodedFromAllEightBitTriples)
{
    cv::Mat triples(4096, 4096, CV_8UC3);
    for (unsigned triple = 0; triple < 1u << 24; ++triple)
        for (unsigned channel = 0; channel < 3; ++channel)
            triples.data[3 * triple + channel] = static_cast<std::uint8_t>(triple >> 8 * channel);
    expectAsReference(RGB_U8(), triples, {YUYV_422(), ZEQ_420()});
}

// Flat groups whose luma, Cb or Cr lies on a tie between two codes or a few floats beside it; each
// fourth is a grey, whose chroma always does.
TEST(YCbCr42x, isEncodedFromFloatsOnTies)
{
    constexpr double weights[][4] = {{0.299, 0.587, 0.114, 0},
                                     {-0.168736, -0.331264, 0.5, 0.5},
                                     {0.5, -0.418688, -0.081312, 0.5}};
    constexpr int largest[] = {255, 1023, 4095};
    std::mt19937 random;
    std::uniform_real_distribution<double> fraction(0, 1);
    cv::Mat groups(1024, 1024, CV_32FC4);
    for (int group = 0; group < int(groups.total());) {
        const double red = fraction(random);
        const double green = fraction(random);
        const auto& weight = weights[random() % 3];
        const int max = largest[random() % 3];
        const double tie = (int(fraction(random) * max) + 0.5) / max;
        const double blue = (tie - weight[3] - weight[0] * red - weight[1] * green) / weight[2];
        if (blue < 0 || blue > 1)
            continue;
        auto near = float(blue);
        for (int steps = int(random() % 7) - 3; steps != 0; steps -= steps > 0 ? 1 : -1)
            near = std::nextafter(near, steps > 0 ? 1.0F : 0.0F);
        auto& pixel = groups.at<cv::Vec4f>(group / groups.cols, group % groups.cols);
        pixel = {near, float(green), float(red), float(tie)};
        if (group % 4 == 0)
            pixel = cv::Vec4f::all(near);
        ++group;
    }
    cv::resize(groups, groups, {}, 2, 2, cv::INTER_NEAREST);
    expectAsReference(BGRA_F32(), groups, {YUYV_422(), ZEQ_420(), ZEQ_422(), ZEQ_4224_HYBRID()});
}

// Each colour as the first endpoint: with itself, its neighbours, the ends, and others; and then
// all pairs of alpha endpoints. All else is random.
TEST(YCoCgDXT5, isDecodedForAllEndpointsAndScales)
{
    for (const auto& format : {YCoCg_DXT5(), RGB_DXT1()}) {
        cv::Mat blocks = randomMatrix(format, 9, 65536);
        for (unsigned colour = 0; colour < 65536; ++colour) {
            const unsigned others[] = {colour, colour + 1, colour - 1, 0u, 65535u};
            for (int row = 0; row < 8; ++row) {
                auto* const bytes = blocks.ptr(row, int(colour)) + blocks.elemSize() - 8;
                std::memcpy(bytes, &colour, 2);
                if (row < 5)
                    std::memcpy(bytes + 2, &others[row], 2);
            }
            std::memcpy(blocks.ptr(8, int(colour)), &colour, 2);
        }
        expectAsReference(format, blocks);
    }
}

// Noise, ramps, one colour, two colours, ends of the scale, almost grey, a little of everything,
// and every flat grey.
TEST(YCoCgDXT5, isEncodedFromBlocksOfManyKinds)
{
    for (const auto& source : {RGB_U8(), BGR_U8(), RGBA_U8(), BGRA_U8()}) {
        const cv::Mat noise = randomMatrix(source, 1024, 1024);
        cv::Mat ramps, flat, grey, mask, twoColours;
        cv::resize(noise({0, 0, 128, 128}), ramps, noise.size());
        cv::resize(noise({0, 0, 256, 256}), flat, noise.size(), 0, 0, cv::INTER_NEAREST);
        cv::extractChannel(ramps, grey, 0);
        cv::merge(std::vector(noise.channels(), grey), grey);
        cv::flip(flat, twoColours, 0);
        cv::extractChannel(noise > 127, mask, 1);
        flat.copyTo(twoColours, mask);
        cv::Mat greys(4, 4 * 256, noise.type());
        for (int column = 0; column < greys.cols; ++column)
            greys.col(column).setTo(cv::Scalar::all(column / 4));
        for (const auto& pixels :
             std::vector<cv::Mat>{noise, ramps, flat, twoColours, noise > 127, grey + noise / 32,
                                  ramps / 2 + noise / 16, greys})
            expectAsReference(source, pixels);
    }
}

}
}
