#include "MediaConversion/Encoder/Encoder.h"
#include "MediaConversion/MediaFile/Headers.h"
#include "MediaConversion/MediaPipeline/Frames.h"
#include "fuzz/Fuzzing.h"
#include "tests/support/RoundTrips.h"

#include <opencv2/imgproc.hpp>

#include <cstdint>
#include <memory>
#include <utility>

using Velmora::Formats::BGRA_F32;

// Colours that fill whole groups, to every format that files have and back.
void fuzz(FuzzedDataProvider& input)
{
    const int columns = input.ConsumeIntegralInRange(1, 20);
    const int rows = input.ConsumeIntegralInRange(1, 3);
    cv::Mat colours(rows, columns, CV_32FC4);
    colours.forEach<cv::Vec4f>([&](cv::Vec4f& pixel, auto) { pixel[3] = 1; });
    for (int pixel = 0; pixel < rows * columns; ++pixel)
        for (int channel = 0; channel < 3; ++channel)
            colours.at<cv::Vec4f>(pixel / columns, pixel % columns)[channel] =
                static_cast<float>(input.ConsumeIntegral<std::uint16_t>()) / 0xFFFF;
    cv::Mat picture;
    cv::resize(colours, picture, {}, 4, 4, cv::INTER_NEAREST);

    for (const auto& [code, format] : MediaConversion::mediaFormatCodes()) {
        auto packed = MediaConversion::convert(Velmora::frameOver(BGRA_F32(), picture), format);
        const auto back = MediaConversion::convert(std::move(packed), BGRA_F32());
        require(cv::norm(back->image(), picture, cv::NORM_INF) <= largestError(format));
    }
}
