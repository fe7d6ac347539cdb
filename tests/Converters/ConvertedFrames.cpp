#include "tests/Converters/ConvertedFrames.h"

#include "MediaConversion/Converters/ImageProcessors.h"

#include <algorithm>
#include <random>

namespace MediaConversion {
namespace {

using Velmora::FrameFormat;

template <class Processor>
std::unique_ptr<IImageProcessor> make(const FrameFormat& destination)
{
    return std::make_unique<Processor>(destination);
}

template <class... Processors>
Converters convertersOf()
{
    Converters all;
    const auto add = [&](const auto& table, auto* making) {
        for (const auto& [pair, conversion] : table)
            all[pair] = making;
    };
    (add(Processors::conversions(), make<Processors>), ...);
    for (const auto& [from, fromType] : Velmora::FullFormatCvTypes())
        for (const auto& [to, toType] : Velmora::FullFormatCvTypes())
            if (from.colourspace == to.colourspace && from.pixelFormat == to.pixelFormat &&
                ImageBitDepth::conversions().contains({from.channelType, to.channelType}))
                all[{from, to}] = make<ImageBitDepth>;
    return all;
}

}

std::vector<Velmora::NamedFormat> allFormats()
{
    std::vector formats(begin(Velmora::Formats::full), end(Velmora::Formats::full));
    formats.insert(formats.end(), begin(Velmora::Formats::packed), end(Velmora::Formats::packed));
    return formats;
}

cv::Mat randomMatrix(const FrameFormat& format, int rows, int columns)
{
    cv::Mat matrix(rows, columns, matrixType(format));
    std::generate(matrix.data, matrix.data + matrix.total() * matrix.elemSize(),
                  [random = std::mt19937_64()]() mutable { return uchar(random() >> 32); });
    return matrix;
}

testing::AssertionResult sameBytes(const cv::Mat& expected, const cv::Mat& actual)
{
    if (expected.size() != actual.size() || expected.type() != actual.type())
        return testing::AssertionFailure() << actual.size() << " of type " << actual.type();
    const auto bytesOf = [](const cv::Mat& matrix) {
        const int columns = int(matrix.cols * matrix.elemSize());
        return cv::Mat(matrix.rows, columns, CV_8U, matrix.data, matrix.step);
    };
    double largest = 0;
    cv::Point place;
    cv::minMaxLoc(bytesOf(expected) != bytesOf(actual), nullptr, &largest, nullptr, &place);
    if (largest == 0)
        return testing::AssertionSuccess();
    const cv::Rect element(place.x / int(expected.elemSize()), place.y, 1, 1);
    return testing::AssertionFailure()
           << "row " << element.y << ", column " << element.x << ": expected " << expected(element)
           << ", got " << actual(element);
}

const Converters& converters()
{
    static const auto all =
        convertersOf<ImageColourspace, ImageToFullFrame, ImageToPackedFrame, ImageYCbCr42xToRGB,
                     ImageRGBtoYCbCr42x, ImageYCoCgDXT5toRGB, ImageRGBtoYCoCgDXT5>();
    return all;
}

cv::Mat converted(const FrameFormat& source, const cv::Mat& matrix, const FrameFormat& destination)
{
    const auto processor = converters().at({source, destination})(destination);
    const auto result = processor->onNewImage(frameOver(source, matrix));
    const auto& frame = dynamic_cast<const Velmora::ImageFrame&>(*result);
    EXPECT_TRUE(frame.format() == destination) << toString(frame.format());
    EXPECT_EQ(dynamic_cast<const Velmora::PackedFrame*>(&frame) != nullptr, isPacked(destination));
    return frame.image();
}

}
