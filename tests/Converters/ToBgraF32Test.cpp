#include "MediaConversion/MediaPipeline/Encoder.h"
#include "MediaConversion/MediaPipeline/FrameSinkDestination.h"
#include "tests/Converters/ConvertedFrames.h"
#include "tests/support/InstalledPool.h"
#include "tests/support/PlainDecoding.h"

// The whole way of a media file's frame to float.
namespace MediaConversion {
namespace {

using namespace Velmora::Formats;

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
            auto frame = frameOf(format, randomMatrix(format, 36, 60, seed));
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

}
}
