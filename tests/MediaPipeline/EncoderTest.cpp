#include "MediaConversion/Encoder/Encoder.h"

#include "MediaConversion/Encoder/ConversionRegistry.h"
#include "MediaConversion/MediaFile/MediaFormatCodes.h"
#include "MediaConversion/MediaPipeline/FrameFlow.h"
#include "MediaConversion/MediaPipeline/Frames.h"
#include "tests/MediaPipeline/Fakes.h"
#include "tests/MediaPipeline/NamedFormats.h"
#include "tests/support/InstalledPool.h"

#include <cxxabi.h>
#include <opencv2/core.hpp>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <memory>
#include <sstream>
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

// The name of a filter's class, so that chains can be written as plain text.
std::string nameOf(const IFrameFilter& filter)
{
    char* const name = abi::__cxa_demangle(typeid(filter).name(), nullptr, nullptr, nullptr);
    const std::unique_ptr<char, decltype(&std::free)> owner(name, &std::free);
    return std::string(name).substr(sizeof("MediaConversion::") - 1);
}

// The sources that reach each of the destinations through like chains, and the steps. The last step
// ends at the destination; the others name their format.
struct Chains
{
    const char* sources;
    const char* destinations;
    const char* steps;
};

// clang-format off
const Chains expectedChains[] = {
    {"RGB_U8 RGBA_U8 BGRA_U8", "BGR_U8", "ConvertColourspace"},
    {"BGR_U8 RGBA_U8 BGRA_U8", "RGB_U8", "ConvertColourspace"},
    {"RGB_U8 BGR_U8 BGRA_U8",  "RGBA_U8", "ConvertColourspace"},
    {"RGB_U8 BGR_U8 RGBA_U8",  "BGRA_U8", "ConvertColourspace"},
    {"RGB_U8 BGR_U8 RGBA_U8",  "BGRA_F32", "ConvertColourspace BGRA_U8, ConvertBitDepth"},
    {"BGR_F32",  "BGRA_F32", "ConvertColourspace"},
    {"BGRA_U8",  "BGRA_F32", "ConvertBitDepth"},
    {"BGRA_F32", "BGRA_U8", "ConvertBitDepth"},
    {"BGRA_F32", "BGR_U8 RGB_U8 RGBA_U8", "ConvertBitDepth BGRA_U8, ConvertColourspace"},

    {"BGR_DPX_FILLED RGB_DPX_FILLED", "BGR_U8 RGB_U16 BGRA_U8 BGRA_U16 BGRA_F32 ARGB_U8 ARGB_U15plus1", "ConvertToFullFrame"},
    {"BGR_SMPTE_2110 RGB_SMPTE_2110", "RGB_U16 BGRA_U8 BGRA_U16 BGRA_F32 ARGB_U8 ARGB_U15plus1", "ConvertToFullFrame"},
    {"RGB_SMPTE_2110", "RGB_U12 BGR_U12", "ConvertToFullFrame"},
    {"RGB_SMPTE_2110", "RGB_U8",          "ConvertToFullFrame RGB_U12, ConvertBitDepth"},
    {"RGB_SMPTE_2110", "BGR_U8",          "ConvertToFullFrame RGB_U12, ConvertBitDepth RGB_U8, ConvertColourspace"},
    {"BGR_SMPTE_2110", "BGR_U8",          "ConvertToFullFrame BGR_U12, ConvertBitDepth"},
    {"RGB_SMPTE_2110", "ZEQ_422",         "ConvertToFullFrame RGB_U12, ConvertBitDepth RGB_U15plus1, ConvertRGBtoYCbCr42x"},
    {"BGR_SMPTE_2110", "RGB_SMPTE_2110",  "ConvertToFullFrame BGR_U12, ConvertToPackedFrame"},
    {"BGR_DPX_PACKED", "BGR_SMPTE_2110",  "ConvertToFullFrame BGR_U12, ConvertToPackedFrame"},
    {"RGB_DPX_PACKED", "RGB_SMPTE_2110",  "ConvertToFullFrame RGB_U12, ConvertToPackedFrame"},
    {"BGR_DPX_PACKED", "BGRA_U8 RGBA_U8", "ConvertToFullFrame"},
    {"BGR_DPX_PACKED", "BGR_U8",          "ConvertToFullFrame BGRA_U8, ConvertColourspace"},
    {"BGR_DPX_PACKED", "RGB_U8",          "ConvertToFullFrame RGBA_U8, ConvertColourspace"},
    {"RGB_DPX_PACKED", "RGB_U12 BGR_U12 BGRA_U8 RGBA_U8", "ConvertToFullFrame"},
    {"RGB_DPX_PACKED", "RGB_U8 BGR_U8",   "ConvertToFullFrame RGBA_U8, ConvertColourspace"},

    {"YUYV_422",        "RGB_U8 BGR_U8 RGBA_U8 BGRA_U8 BGRA_U16 BGRA_F32 ARGB_U8 ARGB_U15plus1", "ConvertYCbCr42xToRGB"},
    {"ZEQ_422",         "BGR_U8 RGB_U8 RGB_U16 BGRA_U8 RGBA_U8 BGRA_U16 BGRA_F32 ARGB_U8 ARGB_U15plus1", "ConvertYCbCr42xToRGB"},
    {"ZEQ_4224_HYBRID", "BGRA_F32", "ConvertYCbCr42xToRGB"},
    {"ZEQ_420",         "RGB_U8 BGR_U8 BGRA_U8 BGRA_U16 BGRA_F32", "ConvertYCbCr42xToRGB"},
    {"YCoCg_DXT5",      "RGB_U8 BGR_U8 BGRA_U8", "ConvertYCoCgDXT5toRGB"},
    {"YCoCg_DXT5",      "BGRA_F32", "ConvertYCoCgDXT5toRGB BGRA_U8, ConvertBitDepth"},

    {"RGB_U8 BGR_U8 BGR_U16 BGR_F32 BGRA_U8 BGRA_U16 BGRA_F32 ARGB_U8 ARGB_U15plus1",
     "BGR_DPX_FILLED RGB_DPX_FILLED BGR_SMPTE_2110 RGB_SMPTE_2110", "ConvertToPackedFrame"},
    {"RGB_U10", "RGB_DPX_FILLED", "ConvertToPackedFrame"},
    {"RGB_U12", "RGB_SMPTE_2110", "ConvertToPackedFrame"},
    {"RGB_U8 BGR_U8", "YUYV_422 ZEQ_420", "ConvertRGBtoYCbCr42x"},
    {"ARGB_U8 ARGB_U15plus1", "YUYV_422 ZEQ_422", "ConvertRGBtoYCbCr42x"},
    {"BGR_U16 BGR_F32 BGRA_U8 BGRA_U16 BGRA_F32", "YUYV_422 ZEQ_422 ZEQ_420", "ConvertRGBtoYCbCr42x"},
    {"BGRA_F32",     "ZEQ_4224_HYBRID", "ConvertRGBtoYCbCr42x"},
    {"RGB_U15plus1", "ZEQ_422", "ConvertRGBtoYCbCr42x"},
    {"RGB_U8 BGR_U8 RGBA_U8 BGRA_U8", "YCoCg_DXT5", "ConvertRGBtoYCoCgDXT5"},
    {"BGR_U16 BGR_F32",   "YCoCg_DXT5", "ConvertBitDepth BGR_U8, ConvertRGBtoYCoCgDXT5"},
    {"BGRA_U16 BGRA_F32", "YCoCg_DXT5", "ConvertBitDepth BGRA_U8, ConvertRGBtoYCoCgDXT5"},
    {"RGB_U8 BGR_U8",     "RGB_DXT1", "ConvertColourspace RGBA_U8, ConvertRGBtoYCoCgDXT5"},
};
// clang-format on

std::vector<std::string> wordsOf(const char* text)
{
    std::istringstream words(text);
    return {std::istream_iterator<std::string>(words), {}};
}

TEST(ConversionRegistry, holdsTheseChainsAndNoOthers)
{
    std::size_t count = 0;
    for (const auto& [sources, destinations, steps] : expectedChains)
        for (const auto& source : wordsOf(sources))
            for (const auto& destination : wordsOf(destinations)) {
                SCOPED_TRACE(source + " to " + destination);
                ++count;
                const auto chain =
                    conversionRegistry().find({formatNamed(destination), formatNamed(source)});
                ASSERT_NE(chain, conversionRegistry().end());
                std::string text;
                for (const auto& [format, factory] : chain->second)
                    text += (text.empty() ? "" : ", ") + nameOf(*factory(format)) + " " +
                            ::nameOf(format);
                EXPECT_EQ(text, steps + (" " + destination));
            }
    EXPECT_EQ(count, 166u);
    EXPECT_EQ(conversionRegistry().size(), count);
}

void expectFilters(const char* input, const char* output, const std::string& filters)
{
    const Encoder encoder(formatNamed(input), formatNamed(output));
    std::string names;
    for (const auto* filter : encoder.filters())
        names += nameOf(*filter) + " ";
    EXPECT_EQ(names, filters + " ") << input << " to " << output;
}

// The direct chain even where the hub would do.
TEST(Encoder, buildsTheChainOfThePairOrTwoThroughTheHub)
{
    expectFilters("RGB_DXT1", "RGB_DXT1", "ConvertNoOperation");
    expectFilters("RGB_U8", "BGRA_U8", "ConvertColourspace");
    expectFilters("BGR_SMPTE_2110", "BGR_U8", "ConvertToFullFrame ConvertBitDepth");
    expectFilters("ZEQ_420", "ZEQ_422", "ConvertYCbCr42xToRGB ConvertRGBtoYCbCr42x");
    expectFilters("YCoCg_DXT5", "RGBA_U8",
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
    if (Velmora::FullFormatCvTypes().contains(format))
        return std::make_unique<Velmora::FullFrame>(format, 64, 32, std::move(raw));
    return std::make_unique<Velmora::PackedFrame>(format, 64, 32, std::move(raw));
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
    for (const auto& from : namedFormats())
        for (const auto& to : namedFormats()) {
            SCOPED_TRACE(std::string(from.name) + " to " + std::string(to.name));
            try {
                Encoder(from.fields, to.fields);
            } catch (const std::runtime_error& error) {
                EXPECT_EQ(error.what(), "Encoding is not supported from " + toString(from.fields) +
                                            " to " + toString(to.fields));
                continue;
            }
            expectConversion(from.fields, to.fields);
            ++pairs;
        }
    EXPECT_EQ(pairs, 297);
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
