#include "MediaConversion/Encoder/Filters.h"

#include "MediaConversion/MediaPipeline/Formats.h"
#include "MediaConversion/MediaPipeline/FrameFlow.h"
#include "tests/MediaPipeline/Fakes.h"

#include <functional>
#include <memory>
#include <stdexcept>
#include <utility>

namespace MediaConversion {
namespace {

using namespace Velmora::Formats;
using testing::StrictMock;
using testing::Throw;
using Velmora::IFrame;

const char* const mustBeIdle = "State must be Idle for this operation";
const char* const mustBeActive = "State must be Active for this operation";

// Does with a frame what the test says.
struct Processing
{
    using Process = std::function<std::unique_ptr<IFrame>(std::unique_ptr<IFrame>)>;

    explicit Processing(Process given) : process(std::move(given)) {}

    Process process;
};

class ControllableFilterTest : public testing::Test
{
protected:
    std::unique_ptr<IFrame> newFrame() { return std::make_unique<OtherFrame>(BGR_U8(), &m_life); }

    void pushExpecting(const char* text)
    {
        expectFailure(text, [&] { m_filter.onNewFrame(newFrame()); });
        EXPECT_TRUE(m_life.expired()) << "The frame is still there";
    }

    StrictMock<MockControllableSink> m_sink;
    std::weak_ptr<int> m_life;  // of the frame made last
    Processing::Process m_process = [](std::unique_ptr<IFrame> frame) { return frame; };
    ControllableFilter<Processing> m_filter{
        [this](std::unique_ptr<IFrame> frame) { return m_process(std::move(frame)); }};
};

// Its state changes first when it is started and last when it is stopped.
TEST_F(ControllableFilterTest, isConnectedWhileIdleAndUsedWhileActive)
{
    MockSink other;
    const auto whileActive = [&] {
        expectFailure("no frame data", [&] { m_filter.onNewFrame(nullptr); });
    };
    expectFailure(mustBeActive, [&] { m_filter.stop(); });
    pushExpecting(mustBeActive);
    m_filter.connectFrameSink(&m_sink);
    expectFailure("frameSink was not connected", [&] { m_filter.disconnectFrameSink(&other); });
    EXPECT_CALL(m_sink, start()).WillOnce([&] {
        whileActive();
        fail("sink failed to start");
    });
    expectFailure("sink failed to start", [&] { m_filter.start(); });

    expectFailure(mustBeIdle, [&] { m_filter.start(); });
    expectFailure(mustBeIdle, [&] { m_filter.connectFrameSink(&other); });
    expectFailure(mustBeIdle, [&] { m_filter.disconnectFrameSink(&other); });
    EXPECT_CALL(m_sink, stop()).WillOnce([] { fail("sink failed to stop"); }).WillOnce(whileActive);
    expectFailure("sink failed to stop", [&] { m_filter.stop(); });
    m_filter.stop();

    m_filter.disconnectFrameSink(&m_sink);
    m_filter.start();  // the sink is not started again
    pushExpecting("no frame sink connected");
    EXPECT_EQ(toString(State{4294967295}), "Unknown State 4294967295");
}

TEST_F(ControllableFilterTest, destroysFramesBeforeItPushesTheResultOrFails)
{
    m_filter.connectFrameSink(&m_sink);
    EXPECT_CALL(m_sink, start());
    m_filter.start();
    m_process = [](std::unique_ptr<IFrame>) -> std::unique_ptr<IFrame> {
        fail("not to be processed");
    };
    pushExpecting("not to be processed");  // and the sink sees nothing

    m_process = [](const auto&) { return std::make_unique<OtherFrame>(RGB_U8()); };
    EXPECT_CALL(m_sink, onNewFrame)
        .WillOnce(Throw(std::runtime_error("sink is full")))
        .WillOnce([&](std::unique_ptr<IFrame> frame) {
            EXPECT_TRUE(m_life.expired());
            EXPECT_EQ(frame->format(), RGB_U8());
        });
    pushExpecting("sink is full");
    m_filter.onNewFrame(newFrame());
}

TEST(FramePipeline, chainsFiltersAddedBeforeAndAfterItsSink)
{
    for (int sinkAt = 0; sinkAt <= 2; ++sinkAt) {
        FrameSinkDestination sink;
        FramePipeline pipeline;
        for (int number = 0; number < 3; ++number) {
            if (number == sinkAt)
                pipeline.connectFrameSink(&sink);
            pipeline.addFilter(std::make_unique<ConvertNoOperation>(RGB_U8()));
        }
        pipeline.start();
        pipeline.onNewFrame(std::make_unique<OtherFrame>(RGB_U8()));
        EXPECT_NE(sink.takeFrame(), nullptr);
        expectFailure("Source format RGB_U8_BGR does not match destination format RGB_U8_RGB",
                      [&] { pipeline.onNewFrame(std::make_unique<OtherFrame>(BGR_U8())); });
        pipeline.stop();
        pipeline.disconnectFrameSink(&sink);
        expectFailure("No frameSink connected", [&] { pipeline.start(); });
    }
}

TEST(FramePipeline, isUsableWithASinkAndAFilter)
{
    FrameSinkDestination sink;
    FramePipeline pipeline;
    expectError<std::invalid_argument>("filter is nullptr", [&] { pipeline.addFilter(nullptr); });
    expectFailure("frameSink was not connected", [&] { pipeline.disconnectFrameSink(&sink); });
    for (const auto operation : {&FramePipeline::start, &FramePipeline::stop}) {
        expectFailure("No frameSink connected", [&] { (pipeline.*operation)(); });
        pipeline.connectFrameSink(&sink);
        expectFailure("Pipeline is empty", [&] { (pipeline.*operation)(); });
        pipeline.disconnectFrameSink(&sink);
    }
    expectFailure("Pipeline is empty", [&] { pipeline.onNewFrame(nullptr); });
}

TEST(FrameSinkDestination, keepsTheFrameReceivedLast)
{
    FrameSinkDestination destination;
    EXPECT_EQ(destination.takeFrame(), nullptr);
    std::weak_ptr<int> first;
    destination.onNewFrame(std::make_unique<OtherFrame>(RGB_U8(), &first));
    destination.onNewFrame(std::make_unique<OtherFrame>(BGR_U8()));
    EXPECT_TRUE(first.expired());
    expectFailure("no frame data", [&] { destination.onNewFrame(nullptr); });
    EXPECT_EQ(destination.takeFrame()->format(), BGR_U8());
    EXPECT_EQ(destination.takeFrame(), nullptr);
}

// The refusals are those of the processors for images and for textures.
template <class Filter>
void expectRefusals(const char* ofImage, const char* ofTexture)
{
    FrameSinkDestination sink;
    Filter filter(BGRA_U8());
    filter.connectFrameSink(&sink);
    filter.start();
    std::weak_ptr<int> life;
    const auto expectRefusalOf = [&](std::unique_ptr<IFrame> frame, const char* text) {
        expectFailure(text, [&] { filter.onNewFrame(std::move(frame)); });
        EXPECT_TRUE(life.expired());
    };
    const auto image = [&](const cv::Mat& matrix) {
        return std::make_unique<OtherImage>(matrix, ZEQ_420(), &life);
    };
    expectRefusalOf(image(cv::Mat(1, 1, CV_8U)), ofImage);
    for (const auto& empty : {cv::Mat(), cv::Mat(5, 0, CV_8U)})
        expectRefusalOf(image(empty), "no image data in frame");
    using OtherTexture = WatchedFrame<Velmora::ITextureFrame>;
    expectRefusalOf(std::make_unique<OtherTexture>(ZEQ_420(), &life), ofTexture);
    expectRefusalOf(std::make_unique<OtherFrame>(ZEQ_420(), &life),
                    "frame is not an IImageFrame or ITextureFrame");
}

TEST(Filters, refuseWhatTheirProcessorsRefuse)
{
    const char* const full = "Can only convert FullFrame images";
    const char* const noTextures = "NullTextureProcessor::onNewTexture not implemented";
    const char* const noOpenGl = "Not built with OpenGL support";
    expectRefusals<ConvertBitDepth>(full, noTextures);
    expectRefusals<ConvertColourspace>(full, noTextures);
    expectRefusals<ConvertToPackedFrame>(
        "Packing is not supported from YCbCr_ITU_T871_U8_ZEQ-420 to RGBA_U8_BGRA", noOpenGl);
    expectRefusals<ConvertRGBtoYCbCr42x>(full, noOpenGl);
    expectRefusals<ConvertRGBtoYCoCgDXT5>(full, noOpenGl);
    expectRefusals<ConvertToFullFrame>("Can only convert packed images", noOpenGl);
    expectRefusals<ConvertYCbCr42xToRGB>("Can only convert PackedFrame images", noOpenGl);
    expectRefusals<ConvertYCoCgDXT5toRGB>("Can only convert PackedFrame images", noOpenGl);
    using NullDispatch = FrameDispatch<void, NullImageProcessor, NullTextureProcessor>;
    expectRefusals<ControllableFilter<NullDispatch>>(
        "NullImageProcessor::onNewImage not implemented", noTextures);
    expectFailure("invalid frame", [] { NullImageProcessor().onNewImage(nullptr); });
    expectFailure("invalid frame", [] { NullTextureProcessor().onNewTexture(nullptr); });
}

}
}
