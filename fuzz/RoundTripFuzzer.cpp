#include "MediaConversion/Encoder/Encoder.h"
#include "MediaConversion/MediaPipeline/Frames.h"
#include "fuzz/Fuzzing.h"
#include "tests/support/RoundTrips.h"

#include <opencv2/imgproc.hpp>

#include <cstdint>
#include <memory>
#include <utility>

using Velmora::Formats::BGRA_F32;

// Colours that fill whole groups, to every format that files have and back. Blocks that are of one
// colour lose no more than their end points do.
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

    constexpr double errorOfBlocks = 0.05;
    for (const auto& [format, chromaGroup, chromaFromLeft, error] : largestErrors()) {
        auto packed = MediaConversion::convert(
            std::make_unique<Velmora::FullFrame>(BGRA_F32(), picture), format);
        const auto back = MediaConversion::convert(std::move(packed), BGRA_F32());
        const auto& image = dynamic_cast<const Velmora::IImageFrame&>(*back).image();
        require(cv::norm(image, picture, cv::NORM_INF) <= (error > 0 ? error : errorOfBlocks));
    }
}
