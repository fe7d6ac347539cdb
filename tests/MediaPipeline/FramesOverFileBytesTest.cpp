#include "MediaConversion/MediaPipeline/Formats.h"
#include "MediaConversion/MediaPipeline/FullFrame.h"
#include "MediaConversion/MediaPipeline/PackedFrame.h"
#include "MediaConversion/MediaPipeline/SelfPruningMemoryPool.h"
#include "tests/MediaPipeline/CountingResource.h"
#include "tests/support/ExpectError.h"

#include <gtest/gtest.h>

namespace Velmora {
namespace {

using namespace Formats;

class FramesOverFileBytes : public testing::Test
{
protected:
    // Pixels behind a header of `offset` bytes.
    std::unique_ptr<RawFrameData> bytes(std::uint64_t pixelByteCount, std::uint64_t offset = 0)
    {
        auto buffer = std::make_unique<PooledBuffer>(m_pool, offset + pixelByteCount);
        return std::make_unique<RawFrameData>(std::move(buffer), offset);
    }

    std::shared_ptr<IMemoryPool> m_pool =
        std::make_shared<SelfPruningMemoryPool<CountingResource>>();
};

TEST_F(FramesOverFileBytes, liesOverTheBytesAndKeepsThem)
{
    auto fullBytes = bytes(4 * 3 * 8, 28);
    const auto* const fullPixels = fullBytes->pixels();
    auto packedBytes = bytes(2 * 3 * 6, 48);
    const auto* const packedPixels = packedBytes->pixels();
    auto full = std::make_unique<FullFrame>(BGRA_U16(), 4, 3, std::move(fullBytes));
    auto packed = std::make_unique<PackedFrame>(ZEQ_420(), 6, 4, std::move(packedBytes));

    EXPECT_EQ(full->image().data, reinterpret_cast<const uchar*>(fullPixels));
    EXPECT_EQ(full->image().size(), cv::Size(4, 3));
    EXPECT_EQ(full->image().type(), 26);
    EXPECT_TRUE(full->image().isContinuous());
    EXPECT_EQ(full->rawFrameData().pixels(), fullPixels);
    EXPECT_EQ(packed->image().data, reinterpret_cast<const uchar*>(packedPixels));
    EXPECT_EQ(packed->image().size(), cv::Size(3, 2));
    EXPECT_EQ(packed->image().type(), 40);
    EXPECT_EQ(packed->rawFrameData().pixelByteCount(), 36u);

    EXPECT_EQ(m_pool->count(), 2u);
    EXPECT_GT(m_pool->acquire(1)->size(), 0u);
    EXPECT_EQ(m_pool->count(), 3u);  // both blocks are still lent
    full.reset();
    packed.reset();
    m_pool->acquire(1);
    m_pool->acquire(1);
    EXPECT_EQ(m_pool->count(), 3u);  // both came back
}

TEST_F(FramesOverFileBytes, mayHoldNoPixels)
{
    const FullFrame full(BGRA_U8(), 0, 0, bytes(0));
    const PackedFrame packed(ZEQ_420(), 1920, 0, bytes(0, 28));
    EXPECT_TRUE(full.image().empty());
    EXPECT_EQ(full.width(), 0);
    EXPECT_TRUE(packed.image().empty());
    EXPECT_EQ(packed.height(), 0);
    EXPECT_EQ(packed.width(), 1920);
}

// Frames of a size other than their bytes, with the message. Where there are two faults, the
// message is that of the first: format, columns, rows, byte count.
struct Misfit
{
    FrameFormat format;
    int width, height;
    std::uint64_t bytes;
    const char* text;
};

template <class Frame>
void expectRefusals(const std::vector<Misfit>& misfits)
{
    for (const auto& [format, width, height, byteCount, text] : misfits) {
        const auto pool = std::make_shared<SelfPruningMemoryPool<CountingResource>>();
        auto buffer = std::make_unique<PooledBuffer>(pool, byteCount);
        const std::byte* const block = buffer->data();
        auto raw = std::make_unique<RawFrameData>(std::move(buffer), 0, byteCount);
        const Misfit misfit{format, width, height, byteCount, text};
        expectError<std::runtime_error>(
            text, [&] { Frame(misfit.format, misfit.width, misfit.height, std::move(raw)); });
        raw.reset();
        EXPECT_EQ(pool->acquire(misfit.bytes)->data(), block) << text;

        expectError<std::runtime_error>(text, [&] {
            Frame::checkByteCount(misfit.format, misfit.width, misfit.height, misfit.bytes);
        });
    }
}

TEST_F(FramesOverFileBytes, refusesFullFramesOfAnotherSize)
{
    // clang-format off
    expectRefusals<FullFrame>({
        {BGRA_U8(),  3,     2,     23, "Expecting input data byte count 24, got 23"},
        {BGRA_U8(),  3,     2,     25, "Expecting input data byte count 24, got 25"},
        {RGB_U8(),   1920,  1080,  0,  "Expecting input data byte count 6220800, got 0"},
        {BGRA_U8(),  32768, 32768, 0,  "Expecting input data byte count 4294967296, got 0"},
        {BGRA_F32(), 65535, 65535, 16, "Expecting input data byte count 68717379600, got 16"},
        {ZEQ_420(),  4,     4,     24, "OpenCV type not defined for frame format YCbCr_ITU_T871_U8_ZEQ-420"},
    });
    // clang-format on
    expectError<std::runtime_error>("no rawFrameData", [] { FullFrame(BGRA_U8(), 3, 2, nullptr); });
}

TEST_F(FramesOverFileBytes, refusesPackedFramesOfAnotherSize)
{
    // clang-format off
    expectRefusals<PackedFrame>({
        {ZEQ_420(),        1920,  1080,  1,  "Expecting input byte count 3110400 (540x960x6 matrix), got 1 bytes"},
        {RGB_DPX_FILLED(), 3,     2,     25, "Expecting input byte count 24 (2x3x4 matrix), got 25 bytes"},
        {ZEQ_420(),        65534, 65534, 0,  "Expecting input byte count 6442057734 (32767x32767x6 matrix), got 0 bytes"},
        {RGB_DPX_FILLED(), 32768, 32768, 0,  "Expecting input byte count 4294967296 (32768x32768x4 matrix), got 0 bytes"},
        {ZEQ_420(),        3,     3,     6,  "Frame format column pixel packing of 2 pixels is incompatible with supplied image columns of 3"},
        {ZEQ_420(),        4,     3,     6,  "Frame format row pixel packing of 2 pixels is incompatible with supplied image rows of 3"},
        {YCoCg_DXT5(),     4,     6,     16, "Frame format row pixel packing of 4 pixels is incompatible with supplied image rows of 6"},
        {BGRA_U8(),        3,     2,     24, "OpenCV type not defined for frame format RGBA_U8_BGRA"},
    });
    // clang-format on
    expectError<std::runtime_error>("no rawFrameData",
                                    [] { PackedFrame(ZEQ_420(), 3, 3, nullptr); });
}

}
}
