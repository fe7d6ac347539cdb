#include "MediaConversion/Converters/ImageToFullFrame.h"
#include "MediaConversion/Converters/ImageYCbCr42xToRGB.h"
#include "MediaConversion/Converters/ImageYCoCgDXT5toRGB.h"
#include "tests/Converters/ConvertedFrames.h"
#include "tests/support/PlainDecoding.h"

#include <opencv2/core.hpp>

#include <string>
#include <type_traits>

// Every pair of the three decoders on frames of many shapes.
namespace MediaConversion {
namespace {

template <class Processor>
class DecodingShapes : public testing::Test
{
protected:
    // Decodes groups that lie in the midst of others, which nobody may change.
    static void expectDecodedAsPlain(int rows, int columns)
    {
        for (const auto& entry : Processor::conversions()) {
            const auto& [source, destination] = entry.first;
            const int left = 1 + columns % 3;
            const auto whole = randomMatrix(source, rows + 2, columns + 5,
                                            static_cast<std::uint64_t>(rows * 1000 + columns));
            const cv::Mat before = whole.clone();
            const auto frame =
                std::make_shared<Velmora::PackedFrame>(source, whole({left, 1, columns, rows}));
            EXPECT_TRUE(sameBytes(plainDecode(*frame, destination),
                                  converted<Processor>(frame, destination)))
                << toString(source) << " to " << toString(destination) << ", " << columns << " x "
                << rows << " groups";
            EXPECT_TRUE(sameBytes(before, whole)) << "the groups of " << toString(source);
        }
    }
};

class ThreadCount
{
public:
    explicit ThreadCount(int threads) { cv::setNumThreads(threads); }
    ThreadCount(const ThreadCount&) = delete;
    ThreadCount& operator=(const ThreadCount&) = delete;
    ~ThreadCount() { cv::setNumThreads(-1); }
};

using Decoders = testing::Types<ImageToFullFrame, ImageYCbCr42xToRGB, ImageYCoCgDXT5toRGB>;

class DecoderNames
{
public:
    template <class Processor>
    static std::string GetName(int)
    {
        return std::is_same_v<Processor, ImageToFullFrame>     ? "ToFullFrame"
               : std::is_same_v<Processor, ImageYCbCr42xToRGB> ? "YCbCr42xToRGB"
                                                               : "YCoCgDXT5toRGB";
    }
};

TYPED_TEST_SUITE(DecodingShapes, Decoders, DecoderNames);

TYPED_TEST(DecodingShapes, decodeWhateverTheirWidth)
{
    for (int columns = 1; columns <= 36; ++columns)
        this->expectDecodedAsPlain(columns % 2 ? 1 : 3, columns);
}

TYPED_TEST(DecodingShapes, decodeWhateverTheirHeight)
{
    for (const int rows : {2, 5, 16, 61})
        this->expectDecodedAsPlain(rows, 1);
}

TYPED_TEST(DecodingShapes, decodeAlikeOnOneThreadAndOnTwo)
{
    for (const int threads : {1, 2}) {
        const ThreadCount guard(threads);
        this->expectDecodedAsPlain(67, 131);
    }
}

TYPED_TEST(DecodingShapes, decodeFrameAfterFrameWithOneProcessor)
{
    for (const auto& first : TypeParam::conversions()) {
        const auto& destination = first.first.second;
        TypeParam processor(destination);
        for (const auto& entry : TypeParam::conversions()) {
            const auto& source = entry.first.first;
            if (entry.first.second != destination)
                continue;
            const auto frame =
                std::make_shared<Velmora::PackedFrame>(source, randomMatrix(source, 3, 5));
            const auto result = processor.onNewImage(frame);
            EXPECT_TRUE(sameBytes(plainDecode(*frame, destination),
                                  dynamic_cast<const Velmora::FullFrame&>(*result).image()))
                << toString(source) << " to " << toString(destination);
        }
    }
}

}
}
