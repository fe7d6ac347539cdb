#include "MediaConversion/Encoder/Encoder.h"

#include "MediaConversion/Encoder/ConversionRegistry.h"
#include "MediaConversion/MediaFile/Headers.h"
#include "MediaConversion/MediaFile/VelmoraMediaFileReader.h"
#include "MediaConversion/MediaPipeline/FrameFlow.h"
#include "MediaConversion/MediaPipeline/Frames.h"
#include "tests/MediaPipeline/Fakes.h"
#include "tests/support/FormatNames.h"
#include "tests/support/InstalledPool.h"

#include <opencv2/core.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace MediaConversion {
namespace {

using namespace Velmora::Formats;
using testing::NiceMock;
using testing::Throw;
using Velmora::FrameFormat;
using Velmora::IFrame;

void expectFilters(const FrameFormat& input, const FrameFormat& output, const std::string& filters)
{
    const Encoder encoder(input, output);
    std::string names;
    for (const auto* filter : encoder.filters())
        names += className(typeid(*filter)) + " ";
    EXPECT_EQ(names, filters + " ") << toString(input) << " to " << toString(output);
}

// The direct chain even where the hub would do.
TEST(Encoder, buildsTheChainOfThePairOrTwoThroughTheHub)
{
    expectFilters(RGB_DXT1(), RGB_DXT1(), "ConvertNoOperation");
    expectFilters(RGB_U8(), BGRA_U8(), "ConvertColourspace");
    expectFilters(BGR_SMPTE_2110(), BGR_U8(), "ConvertToFullFrame ConvertBitDepth");
    expectFilters(ZEQ_420(), ZEQ_422(), "ConvertYCbCr42xToRGB ConvertRGBtoYCbCr42x");
    expectFilters(YCoCg_DXT5(), RGBA_U8(),
                  "ConvertYCoCgDXT5toRGB ConvertBitDepth ConvertBitDepth ConvertColourspace");
}

// As a frame of 64x32 pixels comes from a file: grey, whatever the format.
std::unique_ptr<IFrame> frameOfFile(const FrameFormat& format)
{
    const auto& [bytes, channels, rows, columns] = format.pixelPacking;
    auto buffer = std::make_unique<Velmora::PooledBuffer>(Velmora::ImageFrame::memoryPool(),
                                                          64 * 32 / (rows * columns) * bytes);
    std::fill_n(buffer->data(), buffer->size(), std::byte{0x80});
    auto raw = std::make_unique<Velmora::RawFrameData>(std::move(buffer), 0);
    return rawFrameCreator(format).create(format, 32, 64, std::move(raw));
}

void expectConversion(const FrameFormat& from, const FrameFormat& to)
{
    const InstalledPool installed;
    FrameSinkDestination sink;
    Encoder encoder(from, to);
    encoder.connectFrameSink(&sink);
    encoder.start();
    encoder.stop();
    encoder.start();
    // Two chains end in a pair that their processor lacks.
    if (to == RGBA_U8() && (from == YUYV_422() || from == ZEQ_422())) {
        expectFailure("RGB conversion is not supported from " + toString(from) + " to RGBA_U8_RGBA",
                      [&] { encoder.onNewFrame(frameOfFile(from)); });
        return;
    }
    encoder.onNewFrame(frameOfFile(from));
    EXPECT_EQ(sink.takeFrame()->format(), to);
}

TEST(Encoder, takesAFrameThroughEveryPairThatItDoesNotRefuse)
{
    int pairs = 0;
    for (const auto& from : allFormats())
        for (const auto& to : allFormats()) {
            SCOPED_TRACE(toString(from()) + " to " + toString(to()));
            try {
                Encoder(from(), to());
            } catch (const std::runtime_error& error) {
                EXPECT_EQ(error.what(), "Encoding is not supported from " + toString(from()) +
                                            " to " + toString(to()));
                continue;
            }
            expectConversion(from(), to());
            ++pairs;
        }
    // 297 of formats with a name, and the nine without one to themselves.
    EXPECT_EQ(pairs, 297 + 9);
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
    expectFailure("sink is full", [&] { m_encoder.onNewFrame(frameOfFile(BGRA_U8())); });
    EXPECT_EQ(m_encoder.state(), EncoderState::Encoding);
    m_encoder.onNewFrame(frameOfFile(BGRA_U8()));
}

// The raw data, the result and for some formats a frame between the two; four would keep a clip
// from ever having the blocks that it needs.
TEST(Encoder, takesTwoOrThreeBlocksForEachFrameOfAFile)
{
    for (const auto& [code, format] : mediaFormatCodes()) {
        Velmora::SelfPruningMemoryPool<CountingResource> lender;
        const auto pool = std::make_shared<testing::NiceMock<MockPool>>();
        int acquisitions = 0;
        ON_CALL(*pool, acquire).WillByDefault([&](std::uint64_t size) {
            ++acquisitions;
            return lender.acquire(size);
        });
        ON_CALL(*pool, release).WillByDefault([&](auto* resource) { lender.release(resource); });
        const InstalledPool installed(pool);
        convert(frameOfFile(format), BGRA_F32());
        const bool hasStep = conversionRegistry().at({BGRA_F32(), format}).size() == 2;
        EXPECT_EQ(acquisitions, hasStep ? 3 : 2) << toString(format);
    }
}

}
}
