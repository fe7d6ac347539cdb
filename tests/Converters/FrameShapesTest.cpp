#include "tests/Converters/ConvertedFrames.h"
#include "tests/support/GuardedMemoryResource.h"

#include <vector>

// Every pair of every converter on frames of many shapes, on one thread and on two.
namespace MediaConversion {
namespace {

// The pixels of that many groups, or as many pixels where the destination has no groups.
cv::Size fillingGroups(const cv::Size& count, const Velmora::FrameFormat& destination)
{
    const auto& packing = destination.pixelPacking;
    return {count.width * int(packing.columnsPerGroup), count.height * int(packing.rowsPerGroup)};
}

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

TYPED_TEST(FrameShapes, areAllConvertedAsTheReferenceDoes)
{
    std::vector<cv::Size> sizes{{131, 67}, {131, 67}, {1, 16}, {1, 61}};
    for (int columns = 1; columns <= 36; ++columns)
        sizes.emplace_back(columns, columns % 4 / 2 ? 1 : 3);
    int threads = 1;
    for (const auto& size : sizes) {
        cv::setNumThreads(threads);
        threads = 3 - threads;
        for (const auto& [source, destination] : pairsOf<TypeParam>()) {
            const cv::Rect inside({1 + size.width % 3, 1}, fillingGroups(size, destination));
            // The pixels lie in the midst of others, which nobody may change.
            const auto whole = randomMatrix(source, inside.height + 2, inside.width + 5);
            const cv::Mat before = whole.clone();
            expectAsReference<TypeParam>(source, whole(inside), {destination});
            EXPECT_TRUE(sameBytes(before, whole)) << toString(source);
        }
    }
}

TYPED_TEST(FrameShapes, areAllConvertedInsideTheirBlocks)
{
    insideGuardedBlocks([] {
        for (int columns = 1; columns <= 70; ++columns)
            for (const auto& [source, destination] : pairsOf<TypeParam>()) {
                const auto size = fillingGroups({columns, 1 + columns % 3}, destination);
                converted<TypeParam>(source, randomMatrix(source, size.height, size.width),
                                     destination);
            }
    });
}

}
}
