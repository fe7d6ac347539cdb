#include "tests/Converters/ConvertedFrames.h"

// Every pair of every converter on frames of many shapes, on one thread and on two.
namespace MediaConversion {
namespace {

template <class Processor>
class FrameShapes : public testing::Test
{
protected:
    ~FrameShapes() override { cv::setNumThreads(-1); }
};

using Processors = testing::Types<ImageBitDepth, ImageColourspace, ImageToFullFrame,
                                  ImageToPackedFrame, ImageYCbCr42xToRGB, ImageRGBtoYCbCr42x,
                                  ImageYCoCgDXT5toRGB, ImageRGBtoYCoCgDXT5>;
TYPED_TEST_SUITE(FrameShapes, Processors);

TYPED_TEST(FrameShapes, areAllConvertedAsPlain)
{
    std::vector<cv::Size> sizes{{131, 67}, {131, 67}, {1, 16}, {1, 61}};
    for (int columns = 1; columns <= 36; ++columns)
        sizes.emplace_back(columns, columns % 4 / 2 ? 1 : 3);
    int threads = 1;
    for (const auto& size : sizes) {
        cv::setNumThreads(threads);
        threads = 3 - threads;
        for (const auto& [source, destination] : pairsOf<TypeParam>()) {
            // Pixels that have to fill groups of up to 4 x 4.
            const int unit = isPacked(destination) ? 4 : 1;
            const cv::Rect inside(1 + size.width % 3, 1, unit * size.width, unit * size.height);
            // The pixels lie in the midst of others, which nobody may change.
            const auto whole = randomMatrix(source, inside.height + 2, inside.width + 5);
            const cv::Mat before = whole.clone();
            expectAsPlain<TypeParam>(source, whole(inside), {destination});
            EXPECT_TRUE(sameBytes(before, whole)) << toString(source);
        }
    }
}

}
}
