#include "MediaConversion/Encoder/Encoder.h"

#include "MediaConversion/Encoder/ConversionRegistry.h"
#include "MediaConversion/MediaFile/Headers.h"
#include "MediaConversion/MediaPipeline/FrameFlow.h"
#include "tests/Converters/ConvertedFrames.h"
#include "tests/MediaPipeline/Fakes.h"
#include "tests/support/FormatNames.h"
#include "tests/support/InstalledPool.h"

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>

namespace MediaConversion {
namespace {

using namespace Velmora::Formats;
using testing::NiceMock;
using testing::Throw;
using Velmora::FrameFormat;

// The direct chain even where the hub would do.
TEST(Encoder, buildsTheChainOfThePairOrTwoThroughTheHub)
{
    const auto filtersOf = [](const FrameFormat& input, const FrameFormat& output) {
        std::string names;
        const Encoder encoder(input, output);
        for (const auto* filter : encoder.filters())
            names += className(typeid(*filter)) + " ";
        return names;
    };
    EXPECT_EQ(filtersOf(RGB_DXT1(), RGB_DXT1()), "ConvertNoOperation ");
    EXPECT_EQ(filtersOf(BGR_SMPTE_2110(), BGR_U8()), "ConvertToFullFrame ConvertBitDepth ");
    EXPECT_EQ(filtersOf(ZEQ_420(), ZEQ_422()), "ConvertYCbCr42xToRGB ConvertRGBtoYCbCr42x ");
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
                EXPECT_EQ(convert(frameOf(from()), to())->format(), to()) << pair;
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

class EncoderFlow : public testing::Test
{
protected:
    InstalledPool m_pool;
    NiceMock<MockControllableSink> m_sink;
    Encoder m_encoder{BGRA_U8(), BGRA_F32()};
};

TEST_F(EncoderFlow, checksItsStateFirstAndChangesItWhenThePipelineHas)
{
    const char* const mustEncode = "Encoder state must be Encoding for this operation";
    const char* const mustBeIdle = "Encoder state must be Idle for this operation";
    MockSink other;
    expectFailure(mustEncode, [&] { m_encoder.stop(); });
    expectFailure(mustEncode, [&] { m_encoder.onNewFrame(nullptr); });
    m_encoder.connectFrameSink(&m_sink);
    expectFailure("frameSink was not connected", [&] { m_encoder.disconnectFrameSink(&other); });
    m_encoder.disconnectFrameSink(&m_sink);
    expectFailure("No frameSink connected", [&] { m_encoder.start(); });
    m_encoder.connectFrameSink(&m_sink);
    m_encoder.start();
    expectFailure(mustBeIdle, [&] { m_encoder.start(); });
    expectFailure(mustBeIdle, [&] { m_encoder.connectFrameSink(&other); });
    expectFailure(mustBeIdle, [&] { m_encoder.disconnectFrameSink(&other); });

    EXPECT_CALL(m_sink, stop())
        .WillOnce(Throw(std::runtime_error("sink failed to stop")))
        .WillOnce([] {});
    expectFailure("sink failed to stop", [&] { m_encoder.stop(); });
    EXPECT_EQ(m_encoder.state(), EncoderState::Encoding);
    m_encoder.stop();
    EXPECT_CALL(m_sink, start()).WillOnce(Throw(std::runtime_error("sink failed to start")));
    expectFailure("sink failed to start", [&] { m_encoder.start(); });
    EXPECT_EQ(m_encoder.state(), EncoderState::Idle);
    EXPECT_EQ(toString(EncoderState{2}), "Unknown EncoderState 2");
}

TEST_F(EncoderFlow, refusesFramesButGoesOn)
{
    m_encoder.connectFrameSink(&m_sink);
    m_encoder.start();
    std::weak_ptr<int> life;
    auto wider = BGRA_U8();
    wider.pixelPacking.columnsPerGroup = 2;
    EXPECT_CALL(m_sink, onNewFrame).Times(0);
    expectFailure("no frame data", [&] { m_encoder.onNewFrame(nullptr); });
    for (const auto& format : {BGR_U8(), BGRA_F32(), wider}) {
        expectFailure("input format must be RGBA_U8_BGRA",
                      [&] { m_encoder.onNewFrame(std::make_unique<OtherFrame>(format, &life)); });
        EXPECT_TRUE(life.expired());
    }
    EXPECT_CALL(m_sink, onNewFrame)
        .WillOnce(Throw(std::runtime_error("sink is full")))
        .WillOnce([](const auto& frame) { EXPECT_EQ(frame->format(), BGRA_F32()); });
    expectFailure("sink is full", [&] { m_encoder.onNewFrame(frameOf(BGRA_U8())); });
    EXPECT_EQ(m_encoder.state(), EncoderState::Encoding);
    m_encoder.onNewFrame(frameOf(BGRA_U8()));
}

TEST(Convert, refusesAndFreesWhatIsNoImage)
{
    expectFailure("no frame data", [] { convert(nullptr, BGR_U8()); });
    std::weak_ptr<int> life;
    expectFailure("frame is not an IImageFrame",
                  [&] { convert(std::make_unique<OtherFrame>(BGR_U8(), &life), BGR_U8()); });
    EXPECT_TRUE(life.expired());
}

// The raw data, the result and for some formats a frame between the two; four would keep a clip
// from ever having the blocks that it needs.
TEST(Encoder, takesTwoOrThreeBlocksForEachFrameOfAFile)
{
    for (const auto& [code, format] : mediaFormatCodes()) {
        SCOPED_TRACE(toString(format));
        const auto pool = std::make_shared<NiceMock<MockPool>>();
        const InstalledPool installed(pool);
        Velmora::SelfPruningMemoryPool<CountingResource> lender;
        const bool hasStep = conversionRegistry().at({BGRA_F32(), format}).size() == 2;
        EXPECT_CALL(*pool, acquire).Times(hasStep ? 3 : 2).WillRepeatedly([&](std::uint64_t size) {
            return lender.acquire(size);
        });
        ON_CALL(*pool, release).WillByDefault([&](auto* resource) { lender.release(resource); });
        convert(frameOf(format), BGRA_F32());
    }
}

}
}
