#include "tests/Converters/ConvertedFrames.h"
#include "tests/support/GuardedMemoryResource.h"

#include <vector>

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

// Every pair on frames of many shapes, on one thread and on two. Sizes are in groups.
TYPED_TEST(FrameShapes, areAllConvertedAsTheReferenceDoesInsideTheirBlocks)
{
    std::vector<cv::Size> sizes{{131, 67}, {1, 16}, {1, 61}};
    for (int columns = 1; columns <= 70; ++columns)
        sizes.emplace_back(columns, columns % 4 / 2 ? 1 : 3);
    insideGuardedBlocks([&] {
        for (const auto& size : sizes)
            for (const auto& [source, destination] : pairsOf<TypeParam>()) {
                const auto& packing = destination.pixelPacking;
                const cv::Rect inside(1 + size.width % 3, 1,
                                      size.width * int(packing.columnsPerGroup),
                                      size.height * int(packing.rowsPerGroup));
                // The pixels lie in the midst of others, which nobody may change, and by
                // themselves.
                const auto whole = randomMatrix(source, inside.height + 2, inside.width + 5);
                const cv::Mat before = whole.clone();
                cv::setNumThreads(2);
                expectAsReference<TypeParam>(source, whole(inside), {destination});
                EXPECT_TRUE(sameBytes(before, whole)) << toString(source);
                cv::setNumThreads(1);
                expectAsReference<TypeParam>(source, whole(inside).clone(), {destination});
            }
    });
}

}
}
