#include "MediaConversion/MediaPipeline/Encoder.h"
#include "MediaConversion/MediaPipeline/FrameSinkDestination.h"
#include "MediaConversion/MediaPipeline/FullFrame.h"
#include "MediaConversion/MediaPipeline/PackedFrame.h"
#include "tests/MediaPipeline/CountingResource.h"
#include "tests/MediaPipeline/NamedFormats.h"
#include "tests/support/InstalledPool.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace MediaConversion {
namespace {

using Velmora::ImageFrame;

// Counts what is asked of a pool.
class CountingPool final : public Velmora::IMemoryPool
{
public:
    Velmora::IMemoryResource* acquire(std::uint64_t size) override
    {
        ++acquisitions;
        return m_pool.acquire(size);
    }

    void release(Velmora::IMemoryResource* resource) override { m_pool.release(resource); }
    std::uint64_t count() const override { return m_pool.count(); }

    std::atomic<int> acquisitions = 0;

private:
    Velmora::SelfPruningMemoryPool<CountingResource> m_pool;
};

// As a frame comes from a file: grey, whatever the format.
std::unique_ptr<Velmora::IFrame> frameOfFile(const Velmora::FrameFormat& format, int width,
                                             int height)
{
    const auto& packing = format.pixelPacking;
    const auto groups = static_cast<std::uint64_t>(width) / packing.columnsPerGroup *
                        (static_cast<std::uint64_t>(height) / packing.rowsPerGroup);
    auto buffer = std::make_unique<Velmora::PooledBuffer>(ImageFrame::memoryPool(),
                                                          groups * packing.bytesPerGroup);
    std::fill_n(buffer->data(), buffer->size(), std::byte{0x80});
    auto raw = std::make_unique<Velmora::RawFrameData>(std::move(buffer), 0);
    if (Velmora::FullFormatCvTypes().contains(format))
        return std::make_unique<Velmora::FullFrame>(format, width, height, std::move(raw));
    return std::make_unique<Velmora::PackedFrame>(format, width, height, std::move(raw));
}

// A clip shown frame by frame, the last one kept until the next replaces it.
TEST(ClipMemory, needsNoNewBlocksAfterFiveFramesAndThreeAcquisitionsForEach)
{
    for (const char* const name : {"YUYV_422", "ZEQ_420", "RGB_U8", "BGR_U8", "RGBA_U8", "BGRA_U8",
                                   "ZEQ_422", "RGB_DPX_FILLED", "BGR_DPX_FILLED", "ZEQ_4224_HYBRID",
                                   "RGB_SMPTE_2110", "BGR_SMPTE_2110", "YCoCg_DXT5"}) {
        SCOPED_TRACE(name);
        const auto pool = std::make_shared<CountingPool>();
        const InstalledPool installed(pool);
        FrameSinkDestination sink;
        Encoder encoder(formatNamed(name), Velmora::Formats::BGRA_F32());
        encoder.connectFrameSink(&sink);
        std::unique_ptr<Velmora::IFrame> kept;
        const auto show = [&](int frames) {
            for (int frame = 0; frame < frames; ++frame) {
                auto read = frameOfFile(formatNamed(name), 64, 32);
                encoder.start();
                encoder.onNewFrame(std::move(read));
                encoder.stop();
                kept = sink.takeFrame();
            }
        };
        show(5);
        const int blocksBefore = CountingResource::made;
        const int acquisitionsBefore = pool->acquisitions;
        show(10);
        EXPECT_EQ(CountingResource::made, blocksBefore);
        EXPECT_LE(pool->acquisitions - acquisitionsBefore, 30);
    }
    EXPECT_EQ(CountingResource::alive, 0);
}

}
}
