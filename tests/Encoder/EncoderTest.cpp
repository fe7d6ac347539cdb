#include "MediaConversion/Encoder/Encoder.h"

#include "MediaConversion/Encoder/Filters.h"
#include "MediaConversion/MediaFile/Headers.h"
#include "MediaConversion/MediaPipeline/FrameFlow.h"
#include "tests/Converters/ConvertedFrames.h"
#include "tests/MediaPipeline/Fakes.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

// The Encoder, and the filters and pipelines of which it is made.
namespace MediaConversion {
namespace {

using namespace Velmora::Formats;
using namespace testing;
using Velmora::FrameFormat;
using Velmora::IFrame;

// The sink sees the flow start and stop, and what it says of no frame meanwhile.
template <class Flow>
void expectStates(Flow& flow, const std::string& state, const std::string& active, bool isFirst)
{
    const auto mustBeIdle = state + " must be Idle for this operation";
    const auto mustBeActive = state + " must be " + active + " for this operation";
    const auto expectRefusal = [&](const std::string& text) {
        expectError(text, [&] { flow.onNewFrame(nullptr); });
    };
    const auto whileStarting = [&] { expectRefusal(isFirst ? "no frame data" : mustBeActive); };
    StrictMock<MockControllableSink> sink;
    MockSink other;
    expectError(mustBeActive, [&] { flow.stop(); });
    flow.connectFrameSink(&sink);
    expectError("frameSink was not connected", [&] { flow.disconnectFrameSink(&other); });
    EXPECT_CALL(sink, start()).WillOnce(whileStarting).WillOnce([] { fail("failed to start"); });
    flow.start();

    expectError(mustBeIdle, [&] { flow.start(); });
    expectError(mustBeIdle, [&] { flow.connectFrameSink(&other); });
    expectError(mustBeIdle, [&] { flow.disconnectFrameSink(&other); });
    EXPECT_CALL(sink, stop()).WillOnce([] { fail("failed to stop"); }).WillOnce([&] {
        expectRefusal("no frame data");
    });
    expectError("failed to stop", [&] { flow.stop(); });
    flow.stop();
    expectRefusal(mustBeActive);
    expectError("failed to start", [&] { flow.start(); });
    whileStarting();
}

// The state of a filter changes first when it is started, that of the Encoder last.
TEST(FiltersAndEncoder, areConnectedWhileIdleAndUsedWhileActive)
{
    ConvertNoOperation filter(BGR_U8());
    expectStates(filter, "State", "Active", true);
    Encoder encoder(BGRA_U8(), BGRA_F32());
    expectError("No frameSink connected", [&] { encoder.start(); });
    expectStates(encoder, "Encoder state", "Encoding", false);
    EXPECT_EQ(toString(State{4294967295}), "Unknown State 4294967295");
    EXPECT_EQ(toString(EncoderState{2}), "Unknown EncoderState 2");
}

// Does with a frame what the test says.
struct Processing
{
    static inline std::function<std::unique_ptr<IFrame>(std::unique_ptr<IFrame>)> process;
};

TEST(ControllableFilter, destroysFramesBeforeItPushesTheResultOrFails)
{
    StrictMock<MockSink> sink;
    ControllableFilter<Processing> filter;
    std::weak_ptr<int> life;
    const auto push = [&] { filter.onNewFrame(std::make_unique<OtherFrame>(BGR_U8(), &life)); };
    const auto pushExpecting = [&](const char* text) {
        expectError(text, push);
        EXPECT_TRUE(life.expired()) << "The frame is still there";
    };
    pushExpecting("State must be Active for this operation");
    filter.start();
    pushExpecting("no frame sink connected");
    filter.stop();
    filter.connectFrameSink(&sink);
    filter.start();
    Processing::process = [](auto) -> std::unique_ptr<IFrame> { fail("not to be processed"); };
    pushExpecting("not to be processed");  // and the sink sees nothing

    Processing::process = [](const auto&) { return std::make_unique<OtherFrame>(RGB_U8()); };
    EXPECT_CALL(sink, onNewFrame)
        .WillOnce(Throw(std::runtime_error("sink is full")))
        .WillOnce([&](const auto& frame) {
            EXPECT_TRUE(life.expired());
            EXPECT_EQ(frame->format(), RGB_U8());
        });
    pushExpecting("sink is full");
    push();
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
        expectError("Source format RGB_U8_BGR does not match destination format RGB_U8_RGB",
                    [&] { pipeline.onNewFrame(std::make_unique<OtherFrame>(BGR_U8())); });
        pipeline.stop();
        pipeline.disconnectFrameSink(&sink);
        expectError("No frameSink connected", [&] { pipeline.start(); });
    }
}

TEST(FramePipeline, isUsableWithASinkAndAFilter)
{
    FrameSinkDestination sink;
    FramePipeline pipeline;
    expectError<std::invalid_argument>("filter is nullptr", [&] { pipeline.addFilter(nullptr); });
    expectError("frameSink was not connected", [&] { pipeline.disconnectFrameSink(&sink); });
    for (const auto operation : {&FramePipeline::start, &FramePipeline::stop}) {
        expectError("No frameSink connected", [&] { (pipeline.*operation)(); });
        pipeline.connectFrameSink(&sink);
        expectError("Pipeline is empty", [&] { (pipeline.*operation)(); });
        pipeline.disconnectFrameSink(&sink);
    }
    expectError("Pipeline is empty", [&] { pipeline.onNewFrame(nullptr); });
}

TEST(FrameSinkDestination, keepsTheFrameReceivedLast)
{
    FrameSinkDestination destination;
    EXPECT_EQ(destination.takeFrame(), nullptr);
    std::weak_ptr<int> first;
    destination.onNewFrame(std::make_unique<OtherFrame>(RGB_U8(), &first));
    destination.onNewFrame(std::make_unique<OtherFrame>(BGR_U8()));
    EXPECT_TRUE(first.expired());
    expectError("no frame data", [&] { destination.onNewFrame(nullptr); });
    EXPECT_EQ(destination.takeFrame()->format(), BGR_U8());
    EXPECT_EQ(destination.takeFrame(), nullptr);
}

// The refusals are those of the processors for images and for textures.
template <class Filter>
void expectRefusals(const char* ofImage, const char* ofTexture)
{
    MockSink sink;
    Filter filter(BGRA_U8());
    filter.connectFrameSink(&sink);
    filter.start();
    const auto expectRefusal = [&](const char* text, std::unique_ptr<IFrame> frame) {
        expectError(text, [&] { filter.onNewFrame(std::move(frame)); });
    };
    expectRefusal(ofImage, std::make_unique<OtherImage>(cv::Mat(1, 1, CV_8U), ZEQ_420()));
    for (const auto& empty : {cv::Mat(), cv::Mat(5, 0, CV_8U)})
        expectRefusal("no image data in frame", std::make_unique<OtherImage>(empty, ZEQ_420()));
    expectRefusal(ofTexture, std::make_unique<WatchedFrame<Velmora::ITextureFrame>>(ZEQ_420()));
    expectRefusal("frame is not an IImageFrame or ITextureFrame",
                  std::make_unique<OtherFrame>(ZEQ_420()));
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
    expectError("invalid frame", [] { NullImageProcessor().onNewImage(nullptr); });
    expectError("invalid frame", [] { NullTextureProcessor().onNewTexture(nullptr); });
}

auto frameOf(const FrameFormat& format)
{
    return frameOver(format, randomMatrix(format, 32, 32));
}

TEST(Encoder, takesAFrameThroughEveryPairThatItDoesNotRefuse)
{
    int pairs = 0;
    for (const auto& from : allFormats())
        for (const auto& to : allFormats()) {
            const auto pair = toString(from()) + " to " + toString(to());
            try {
                const auto result = convert(frameOf(from()), to());
                EXPECT_EQ(result->format(), to()) << pair;
                const auto expected = referenceOfChain(*frameOf(from()), to());
                EXPECT_TRUE(sameBytes(expected, result->image())) << pair;
                ++pairs;
            } catch (const std::runtime_error& error) {
                // Two chains end in a pair that their processor lacks.
                const bool isGap =
                    to() == RGBA_U8() && (from() == YUYV_422() || from() == ZEQ_422());
                EXPECT_EQ(error.what(), (isGap ? "RGB conversion" : "Encoding") +
                                            (" is not supported from " + pair));
            }
        }
    // 295 of formats with a name, and the nine without one to themselves.
    EXPECT_EQ(pairs, 295 + 9);
}

TEST(Encoder, refusesFramesButGoesOn)
{
    NiceMock<MockSink> sink;
    Encoder encoder(BGRA_U8(), BGRA_F32());
    encoder.connectFrameSink(&sink);
    encoder.start();
    std::weak_ptr<int> life;
    expectError("no frame data", [] { convert(nullptr, BGR_U8()); });
    expectError("frame is not an IImageFrame",
                [&] { convert(std::make_unique<OtherFrame>(BGR_U8(), &life), BGR_U8()); });
    EXPECT_TRUE(life.expired());
    auto wider = BGRA_U8();
    wider.pixelPacking.columnsPerGroup = 2;
    EXPECT_CALL(sink, onNewFrame).Times(0);
    expectError("no frame data", [&] { encoder.onNewFrame(nullptr); });
    for (const auto& format : {BGR_U8(), BGRA_F32(), wider}) {
        expectError("input format must be RGBA_U8_BGRA",
                    [&] { encoder.onNewFrame(std::make_unique<OtherFrame>(format, &life)); });
        EXPECT_TRUE(life.expired());
    }
    EXPECT_CALL(sink, onNewFrame)
        .WillOnce(Throw(std::runtime_error("sink is full")))
        .WillOnce([](const auto& frame) { EXPECT_EQ(frame->format(), BGRA_F32()); });
    expectError("sink is full", [&] { encoder.onNewFrame(frameOf(BGRA_U8())); });
    EXPECT_EQ(encoder.state(), EncoderState::Encoding);
    encoder.onNewFrame(frameOf(BGRA_U8()));
}

// The raw data and the result, also where the chain has two steps.
TEST(Encoder, takesTwoBlocksForEachFrameOfAFile)
{
    for (const auto& [code, format] : mediaFormatCodes()) {
        SCOPED_TRACE(toString(format));
        const auto pool = std::make_shared<NiceMock<MockPool>>();
        const InstalledPool installed(pool);
        const auto lender = newPool();
        EXPECT_CALL(*pool, acquire).Times(2).WillRepeatedly([&](std::uint64_t size) {
            return lender->acquire(size);
        });
        ON_CALL(*pool, release).WillByDefault([&](auto* resource) { lender->release(resource); });
        convert(frameOf(format), BGRA_F32());
    }
}

}
}
