#include "MediaConversion/MediaPipeline/Encoder.h"

#include "MediaConversion/MediaPipeline/ConversionRegistry.h"
#include "MediaConversion/MediaPipeline/FrameSinkDestination.h"
#include "MediaConversion/MediaPipeline/FullFrame.h"
#include "MediaConversion/MediaPipeline/PackedFrame.h"
#include "tests/MediaPipeline/FakeFrames.h"
#include "tests/MediaPipeline/FilterNames.h"
#include "tests/MediaPipeline/NamedFormats.h"
#include "tests/support/ExpectError.h"

#include <opencv2/core.hpp>

#include <algorithm>
#include <functional>

namespace MediaConversion {
namespace {

using namespace Velmora::Formats;
using testing::NiceMock;
using testing::Throw;
using Velmora::IFrame;

std::string filtersOf(const Encoder& encoder)
{
    std::string names;
    for (const auto* filter : encoder.filters())
        names += (names.empty() ? "" : " ") + nameOf(*filter);
    return names;
}

std::unique_ptr<IFrame> blackFrame(const Velmora::FrameFormat& format, int width, int height)
{
    std::unique_ptr<Velmora::ImageFrame> frame;
    if (Velmora::PackedFormatCvTypes().contains(format))
        frame = std::make_unique<Velmora::PackedFrame>(format, width, height);
    else
        frame = std::make_unique<Velmora::FullFrame>(format, width, height);
    const cv::Mat& image = frame->image();
    std::fill_n(image.data, image.total() * image.elemSize(), uchar{0});
    return frame;
}

TEST(Encoder, buildsTheChainOfThePairOrTwoThroughTheHub)
{
    struct Case
    {
        const char* input;
        const char* output;
        const char* filters;
    };
    // clang-format off
    for (const auto& [input, output, filters] : {
             Case{"BGRA_F32",        "BGRA_F32", "ConvertNoOperation"},
             Case{"RGB_DXT1",        "RGB_DXT1", "ConvertNoOperation"},  // in no chain
             // Direct, though the hub would do
             Case{"RGB_U8",          "BGRA_U8",  "ConvertColourspace"},
             Case{"ZEQ_420",         "BGR_U8",   "ConvertYCbCr42xToRGB"},
             Case{"YCoCg_DXT5",      "BGRA_U8",  "ConvertYCoCgDXT5toRGB"},
             Case{"BGR_SMPTE_2110",  "BGR_U8",   "ConvertToFullFrame ConvertBitDepth"},
             // Through the hub
             Case{"BGR_F32",         "BGRA_U8",  "ConvertColourspace ConvertBitDepth"},
             Case{"ZEQ_4224_HYBRID", "BGRA_U8",  "ConvertYCbCr42xToRGB ConvertBitDepth"},
             Case{"ZEQ_4224_HYBRID", "RGBA_U8",  "ConvertYCbCr42xToRGB ConvertBitDepth ConvertColourspace"},
             Case{"RGB_DPX_FILLED",  "RGB_U8",   "ConvertToFullFrame ConvertBitDepth ConvertColourspace"},
             Case{"ZEQ_420",         "ZEQ_422",  "ConvertYCbCr42xToRGB ConvertRGBtoYCbCr42x"},
             Case{"YCoCg_DXT5",      "RGBA_U8",  "ConvertYCoCgDXT5toRGB ConvertBitDepth ConvertBitDepth ConvertColourspace"},
         }) {
        // clang-format on
        const Encoder encoder(formatNamed(input), formatNamed(output));
        EXPECT_EQ(filtersOf(encoder), filters) << input << " to " << output;
        EXPECT_EQ(encoder.inputFormat(), formatNamed(input));
        EXPECT_EQ(encoder.outputFormat(), formatNamed(output));
        EXPECT_EQ(encoder.state(), EncoderState::Idle);
    }
}

TEST(Encoder, refusesPairsWithoutAChain)
{
    struct Case
    {
        const char* input;
        const char* output;
        const char* text;
    };
    // clang-format off
    for (const auto& [input, output, text] : {
             Case{"RGB_DPX_PACKED", "BGRA_F32",       "RGB_U12_RGB-DPX-PACKED to RGBA_F32_BGRA"},
             Case{"BGRA_F32",       "RGB_F32",        "RGBA_F32_BGRA to RGB_F32_RGB"},
             Case{"RGB_DXT1",       "BGRA_U8",        "RGB_U8_RGB-DXT1 to RGBA_U8_BGRA"},
             Case{"RGB_U8",         "ARGB_U8",        "RGB_U8_RGB to RGBA_U8_ARGB"},
             Case{"ZEQ_420",        "RGB_DPX_PACKED", "YCbCr_ITU_T871_U8_ZEQ-420 to RGB_U12_RGB-DPX-PACKED"},
             Case{"CoCgAY_U8",      "BGRA_U8",        "YCoCgA_U8_CoCgAY to RGBA_U8_BGRA"},
         }) {
        // clang-format on
        expectError<std::runtime_error>(
            std::string("Encoding is not supported from ") + text,
            [from = input, to = output] { Encoder(formatNamed(from), formatNamed(to)); });
    }
}

// Unpacking to 8 bits cuts the low bits, and going through float rounds.
TEST(Encoder, showsWhetherAPairGoesThroughTheHub)
{
    const cv::Mat words(1, 1, CV_32SC1, cv::Scalar(3 << 22 | 3 << 12 | 3 << 2));
    for (const auto& [output, grey] : {std::pair(BGR_U8(), 0), std::pair(RGB_U8(), 1)}) {
        FrameSinkDestination sink;
        Encoder encoder(RGB_DPX_FILLED(), output);
        encoder.connectFrameSink(&sink);
        encoder.start();
        encoder.onNewFrame(std::make_unique<Velmora::PackedFrame>(RGB_DPX_FILLED(), words));
        const auto frame = sink.takeFrame();
        const auto& image = dynamic_cast<Velmora::FullFrame&>(*frame).image();
        EXPECT_EQ(image.at<cv::Vec3b>(0, 0), cv::Vec3b::all(static_cast<uchar>(grey)));
    }
}

TEST(Encoder, takesAFrameThroughEveryChain)
{
    for (const auto& [pair, steps] : conversionRegistry()) {
        const auto& [output, input] = pair;
        SCOPED_TRACE(nameOf(input) + " to " + nameOf(output));
        FrameSinkDestination sink;
        Encoder encoder(input, output);
        encoder.connectFrameSink(&sink);
        encoder.start();
        // Two chains end in a pair that their processor lacks.
        if (output == RGBA_U8() && (input == YUYV_422() || input == ZEQ_422())) {
            expectError<std::runtime_error>(
                "RGB conversion is not supported from " + toString(input) + " to RGBA_U8_RGBA",
                [&, &format = input] { encoder.onNewFrame(blackFrame(format, 8, 4)); });
            EXPECT_EQ(sink.takeFrame(), nullptr);
        } else {
            encoder.onNewFrame(blackFrame(input, 8, 4));
            const auto frame = sink.takeFrame();
            ASSERT_NE(frame, nullptr);
            EXPECT_EQ(frame->format(), output);
            const auto& image = dynamic_cast<Velmora::ImageFrame&>(*frame);
            EXPECT_EQ(image.width(), 8);
            EXPECT_EQ(image.height(), 4);
        }
        encoder.stop();
    }
}

class EncoderFlow : public testing::Test
{
protected:
    static void expectRefusal(const char* text, const std::function<void()>& operation)
    {
        expectError<std::runtime_error>(text, operation);
    }

    NiceMock<MockControllableSink> m_sink;
    Encoder m_encoder{BGRA_U8(), BGRA_F32()};
};

TEST_F(EncoderFlow, checksItsStateBeforeAllElse)
{
    const char* const mustEncode = "Encoder state must be Encoding for this operation";
    const char* const mustBeIdle = "Encoder state must be Idle for this operation";
    MockSink other;
    std::weak_ptr<int> life;
    expectRefusal(mustEncode, [&] { m_encoder.stop(); });
    expectRefusal(mustEncode, [&] { m_encoder.onNewFrame(nullptr); });
    expectRefusal(mustEncode,
                  [&] { m_encoder.onNewFrame(std::make_unique<OtherFrame>(RGB_U8(), &life)); });
    EXPECT_TRUE(life.expired());
    expectRefusal("No frameSink connected", [&] { m_encoder.start(); });
    EXPECT_EQ(m_encoder.state(), EncoderState::Idle);

    m_encoder.connectFrameSink(&m_sink);
    expectRefusal("frameSink was not connected", [&] { m_encoder.disconnectFrameSink(&other); });
    m_encoder.start();
    EXPECT_EQ(m_encoder.state(), EncoderState::Encoding);
    expectRefusal(mustBeIdle, [&] { m_encoder.start(); });
    expectRefusal(mustBeIdle, [&] { m_encoder.connectFrameSink(&other); });
    expectRefusal(mustBeIdle, [&] { m_encoder.disconnectFrameSink(&other); });
    m_encoder.stop();
    EXPECT_EQ(m_encoder.state(), EncoderState::Idle);
    m_encoder.disconnectFrameSink(&m_sink);
    expectRefusal("No frameSink connected", [&] { m_encoder.start(); });
}

TEST_F(EncoderFlow, changesItsStateWhenThePipelineHas)
{
    m_encoder.connectFrameSink(&m_sink);
    EXPECT_CALL(m_sink, start()).WillOnce(Throw(std::runtime_error("sink failed to start")));
    expectRefusal("sink failed to start", [&] { m_encoder.start(); });
    EXPECT_EQ(m_encoder.state(), EncoderState::Idle);

    Encoder stopping(BGRA_U8(), BGRA_F32());
    stopping.connectFrameSink(&m_sink);
    EXPECT_CALL(m_sink, start());
    stopping.start();
    EXPECT_CALL(m_sink, stop())
        .WillOnce(Throw(std::runtime_error("sink failed to stop")))
        .WillOnce([] {});
    expectRefusal("sink failed to stop", [&] { stopping.stop(); });
    EXPECT_EQ(stopping.state(), EncoderState::Encoding);
    stopping.stop();
    EXPECT_EQ(stopping.state(), EncoderState::Idle);
}

TEST_F(EncoderFlow, refusesFramesButGoesOn)
{
    m_encoder.connectFrameSink(&m_sink);
    m_encoder.start();
    std::weak_ptr<int> life;
    auto wider = BGRA_U8();
    wider.pixelPacking.columnsPerGroup = 2;
    EXPECT_CALL(m_sink, onNewFrame).Times(0);
    expectRefusal("no frame data", [&] { m_encoder.onNewFrame(nullptr); });
    for (const auto& format : {BGR_U8(), BGRA_F32(), wider}) {
        expectRefusal("input format must be RGBA_U8_BGRA",
                      [&] { m_encoder.onNewFrame(std::make_unique<OtherFrame>(format, &life)); });
        EXPECT_TRUE(life.expired());
    }
    expectRefusal("no image data in frame",
                  [&] { m_encoder.onNewFrame(blackFrame(BGRA_U8(), 0, 0)); });

    EXPECT_CALL(m_sink, onNewFrame)
        .WillOnce(Throw(std::runtime_error("sink is full")))
        .WillOnce([](const auto& frame) { EXPECT_EQ(frame->format(), BGRA_F32()); });
    expectRefusal("sink is full", [&] { m_encoder.onNewFrame(blackFrame(BGRA_U8(), 2, 2)); });
    EXPECT_EQ(m_encoder.state(), EncoderState::Encoding);
    m_encoder.onNewFrame(blackFrame(BGRA_U8(), 2, 2));
    m_encoder.stop();
}

TEST(EncoderState, hasATextForEveryValue)
{
    EXPECT_EQ(toString(EncoderState::Idle), "Idle");
    EXPECT_EQ(toString(EncoderState::Encoding), "Encoding");
    EXPECT_EQ(toString(EncoderState{2}), "Unknown EncoderState 2");
}

}
}
