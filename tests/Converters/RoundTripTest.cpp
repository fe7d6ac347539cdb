#include "MediaConversion/Encoder/Encoder.h"
#include "MediaConversion/MediaFile/Headers.h"
#include "MediaConversion/MediaFile/VelmoraMediaFileReader.h"
#include "tests/support/Pools.h"
#include "tests/support/RoundTrips.h"

#include <gtest/gtest.h>
#include <opencv2/imgproc.hpp>

namespace MediaConversion {
namespace {

using Velmora::Formats::BGRA_F32;

// A format keeps any colours of whole groups as well as its bits can hold them, and a photograph,
// whose pixels share chroma and blocks, well enough to look at.
TEST(RoundTrip, losesWhatTheBitsOfAFormatCannotHold)
{
    const InstalledPool installed;
    const auto frame =
        convert(readMediaFile(PROJECT_FOLDER "/tests/data/cat.rgb-u8.zeq"), BGRA_F32());
    const auto& photograph = frame->image();
    cv::Mat colours(photograph.size(), CV_32FC4);
    cv::randu(colours, cv::Scalar(0, 0, 0, 1), cv::Scalar::all(1));
    cv::vconcat(colours, photograph, colours);
    cv::resize(colours, colours, {}, 4, 4, cv::INTER_NEAREST);
    for (const auto& [code, format] : mediaFormatCodes()) {
        const auto back = [&, &to = format](const cv::Mat& picture) {
            return convert(convert(frameOver(BGRA_F32(), picture), to), BGRA_F32())->image();
        };
        const auto error = cv::norm(back(colours), colours, cv::NORM_INF);
        EXPECT_LE(error, largestError(format)) << toString(format);
        EXPECT_GE(cv::PSNR(back(photograph), photograph, 1), 33) << toString(format);
    }
}

}
}
