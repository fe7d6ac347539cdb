#include "MediaConversion/MediaPipeline/FrameDispatch.h"

#include "MediaConversion/MediaPipeline/Formats.h"
#include "MediaConversion/MediaPipeline/NullProcessors.h"
#include "tests/MediaPipeline/FakeFrames.h"
#include "tests/support/ExpectError.h"

namespace MediaConversion {
namespace {

using Velmora::FrameFormat;
using Velmora::IFrame;
using namespace Velmora::Formats;

// Results tell by their format which processor made them, and that it got the destination.
struct ImageProcessor final : IImageProcessor
{
    explicit ImageProcessor(FrameFormat given) : destination(std::move(given)) {}

    std::unique_ptr<IFrame> onNewImage(std::shared_ptr<const Velmora::IImageFrame> frame) override
    {
        EXPECT_EQ(frame->image().cols, 1);
        return std::make_unique<OtherFrame>(destination);
    }

    FrameFormat destination;
};

struct TextureProcessor final : ITextureProcessor
{
    explicit TextureProcessor(FrameFormat given) : destination(std::move(given)) {}

    std::unique_ptr<IFrame> onNewTexture(
        std::shared_ptr<const Velmora::ITextureFrame> frame) override
    {
        EXPECT_EQ(frame->format(), RGB_U8());
        return std::make_unique<TextureFrame>(destination);
    }

    FrameFormat destination;
};

using Dispatch = FrameDispatch<void, ImageProcessor, TextureProcessor>;
using NullDispatch = FrameDispatch<void, NullImageProcessor, NullTextureProcessor>;

TEST(FrameDispatch, asksTheProcessorForTheKindOfFrame)
{
    Dispatch dispatch(BGRA_U16());
    std::weak_ptr<int> life;
    const auto ofImage = dispatch.process(std::make_unique<WatchedImage>(RGB_U8(), &life));
    EXPECT_NE(dynamic_cast<OtherFrame*>(ofImage.get()), nullptr);
    EXPECT_EQ(ofImage->format(), BGRA_U16());
    EXPECT_TRUE(life.expired());
    const auto ofTexture = dispatch.process(std::make_unique<TextureFrame>(RGB_U8(), &life));
    EXPECT_NE(dynamic_cast<TextureFrame*>(ofTexture.get()), nullptr);
    EXPECT_EQ(ofTexture->format(), BGRA_U16());
    EXPECT_TRUE(life.expired());
}

TEST(FrameDispatch, refusesEmptyImagesAndOtherKindsOfFrames)
{
    NullDispatch dispatch(BGRA_U16());
    std::weak_ptr<int> life;
    uchar callers[1];
    for (const cv::Mat& empty :
         {cv::Mat(), cv::Mat(0, 5, CV_8UC4, callers), cv::Mat(5, 0, CV_8U)}) {
        expectError<std::runtime_error>("no image data in frame", [&] {
            dispatch.process(std::make_unique<WatchedImage>(RGB_U8(), &life, empty));
        });
        EXPECT_TRUE(life.expired());
    }
    expectError<std::runtime_error>("frame is not an IImageFrame or ITextureFrame", [&] {
        dispatch.process(std::make_unique<OtherFrame>(RGB_U8(), &life));
    });
    EXPECT_TRUE(life.expired());
}

TEST(NullProcessors, refuseEveryFrame)
{
    NullDispatch dispatch(BGRA_U16());
    expectError<std::runtime_error>("NullImageProcessor::onNewImage not implemented", [&] {
        dispatch.process(std::make_unique<WatchedImage>(RGB_U8()));
    });
    expectError<std::runtime_error>("NullTextureProcessor::onNewTexture not implemented", [&] {
        dispatch.process(std::make_unique<TextureFrame>(RGB_U8()));
    });
    expectError<std::runtime_error>("invalid frame",
                                    [] { NullImageProcessor().onNewImage(nullptr); });
    expectError<std::runtime_error>("invalid frame",
                                    [] { NullTextureProcessor().onNewTexture(nullptr); });
}

}
}
