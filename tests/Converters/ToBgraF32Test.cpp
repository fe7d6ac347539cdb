#include "MediaConversion/MediaPipeline/Encoder.h"
#include "MediaConversion/MediaPipeline/Formats.h"
#include "MediaConversion/MediaPipeline/FrameSinkDestination.h"
#include "tests/Converters/ConvertedFrames.h"
#include "tests/support/InstalledPool.h"
#include "tests/support/PlainDecoding.h"

#include <memory>

// The whole way of a media file's frame to float.
namespace MediaConversion {
namespace {

using namespace Velmora::Formats;
using Velmora::FrameFormat;

std::unique_ptr<Velmora::ImageFrame> randomFrame(const FrameFormat& format, std::uint64_t seed)
{
    const auto matrix = randomMatrix(format, 36, 60, seed);
    if (Velmora::PackedFormatCvTypes().contains(format))
        return std::make_unique<Velmora::PackedFrame>(format, matrix);
    return std::make_unique<Velmora::FullFrame>(format, matrix);
}

TEST(ToBgraF32, givesThePlainPixelsForAllMediaFormats)
{
    // Blocks that come back to the pool are dirty: what a converter does not write would show.
    const InstalledPool pool;
    for (const auto& format : {YUYV_422(), ZEQ_420(), RGB_U8(), BGR_U8(), RGBA_U8(), BGRA_U8(),
                               ZEQ_422(), RGB_DPX_FILLED(), BGR_DPX_FILLED(), ZEQ_4224_HYBRID(),
                               RGB_SMPTE_2110(), BGR_SMPTE_2110(), YCoCg_DXT5()}) {
        Encoder encoder(format, BGRA_F32());
        FrameSinkDestination sink;
        encoder.connectFrameSink(&sink);
        encoder.start();
        for (std::uint64_t seed = 1; seed <= 3; ++seed) {
            auto frame = randomFrame(format, seed);
            const cv::Mat expected = plainBgraF32(*frame);
            encoder.onNewFrame(std::move(frame));
            const auto result = sink.takeFrame();
            EXPECT_TRUE(result->format() == BGRA_F32()) << toString(result->format());
            EXPECT_TRUE(
                sameBytes(expected, dynamic_cast<const Velmora::FullFrame&>(*result).image()))
                << toString(format);
        }
    }
}

TEST(ToBgraF32, movesEightBitChannelsByName)
{
    struct Case
    {
        FrameFormat source;
        cv::Scalar pixel;
        std::vector<double> channels;
    };
    const double one = 51 / 255.0;
    // clang-format off
    const Case cases[] = {
        {RGB_U8(),  {255, 51, 0},      {0, one, 1, 1}},
        {BGR_U8(),  {255, 51, 0},      {1, one, 0, 1}},
        {RGBA_U8(), {255, 51, 0, 0},   {0, one, 1, 0}},
        {BGRA_U8(), {255, 51, 0, 0},   {1, one, 0, 0}},
    };
    // clang-format on
    for (const auto& [source, pixel, channels] : cases) {
        const cv::Mat pixels(1, 1, openCvType(source, Velmora::FullFormatCvTypes()), pixel);
        const auto values = channelValues(plainBgraF32(Velmora::FullFrame(source, pixels)));
        ASSERT_EQ(values.size(), channels.size());
        for (std::size_t channel = 0; channel < channels.size(); ++channel)
            EXPECT_FLOAT_EQ(float(values[channel]), float(channels[channel])) << toString(source);
    }
}

}
}
