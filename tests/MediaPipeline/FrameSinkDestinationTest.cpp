#include "MediaConversion/MediaPipeline/FrameSinkDestination.h"

#include "MediaConversion/MediaPipeline/Formats.h"
#include "tests/MediaPipeline/FakeFrames.h"
#include "tests/support/ExpectError.h"

namespace MediaConversion {
namespace {

TEST(FrameSinkDestination, keepsTheFrameReceivedLast)
{
    FrameSinkDestination destination;
    EXPECT_EQ(destination.takeFrame(), nullptr);
    std::weak_ptr<int> first;
    std::weak_ptr<int> second;
    destination.onNewFrame(std::make_unique<OtherFrame>(Velmora::Formats::RGB_U8(), &first));
    EXPECT_FALSE(first.expired());
    destination.onNewFrame(std::make_unique<OtherFrame>(Velmora::Formats::BGR_U8(), &second));
    EXPECT_TRUE(first.expired());
    expectError<std::runtime_error>("no frame data", [&] { destination.onNewFrame(nullptr); });

    const auto taken = destination.takeFrame();
    ASSERT_NE(taken, nullptr);
    EXPECT_EQ(taken->format(), Velmora::Formats::BGR_U8());
    EXPECT_FALSE(second.expired());
    EXPECT_EQ(destination.takeFrame(), nullptr);
}

}
}
