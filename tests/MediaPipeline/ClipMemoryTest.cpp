#include "MediaConversion/MediaPipeline/Encoder.h"
#include "MediaConversion/MediaPipeline/FrameSinkDestination.h"
#include "MediaConversion/MediaPipeline/FullFrame.h"
#include "MediaConversion/MediaPipeline/PackedFrame.h"
#include "tests/MediaPipeline/NamedFormats.h"
#include "tests/support/InstalledPool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <numeric>
#include <random>
#include <vector>

namespace MediaConversion {
namespace {

using Velmora::ImageFrame;

// A resource that lies where the test says: which idle block a pool lends depends on the order of
// the resources' addresses.
class PlacedResource final : public Velmora::IMemoryResource
{
public:
    PlacedResource(Velmora::IMemoryPool* pool, std::uint64_t size) : m_pool(pool), m_bytes(size) {}

    static void* operator new(std::size_t size)
    {
        EXPECT_LE(size, slots.front().size());
        return slots.at(order.at(made++)).data();
    }

    static void operator delete(void*) {}

    std::byte* data() override { return m_bytes.data(); }
    std::uint64_t size() const override { return m_bytes.size(); }
    Velmora::IMemoryPool* pool() const override { return m_pool; }

    static inline std::vector<std::size_t> order = std::vector<std::size_t>(64);
    static inline std::size_t made = 0;

private:
    alignas(std::max_align_t) static inline std::array<std::array<std::byte, 64>, 64> slots;

    Velmora::IMemoryPool* m_pool;
    std::vector<std::byte> m_bytes;
};

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

    int acquisitions = 0;

private:
    Velmora::SelfPruningMemoryPool<PlacedResource> m_pool;
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

// Shows a clip frame by frame, the last one kept until the next replaces it, and expects that the
// pool needs no new blocks once five frames have gone by.
void expectSteadyMemory(const Velmora::FrameFormat& format, int acquisitionsPerFrame)
{
    PlacedResource::made = 0;
    const auto pool = std::make_shared<CountingPool>();
    const InstalledPool installed(pool);
    FrameSinkDestination sink;
    Encoder encoder(format, Velmora::Formats::BGRA_F32());
    encoder.connectFrameSink(&sink);
    std::unique_ptr<Velmora::IFrame> kept;
    const auto show = [&](int frames) {
        for (int frame = 0; frame < frames; ++frame) {
            auto read = frameOfFile(format, 64, 32);
            encoder.start();
            encoder.onNewFrame(std::move(read));
            encoder.stop();
            kept = sink.takeFrame();
        }
    };
    show(5);
    const auto blocksBefore = PlacedResource::made;
    const int acquisitionsBefore = pool->acquisitions;
    show(20);
    EXPECT_EQ(PlacedResource::made, blocksBefore);
    EXPECT_EQ(pool->acquisitions - acquisitionsBefore, 20 * acquisitionsPerFrame);
}

// The raw data, the result and for some formats a frame between the two.
TEST(ClipMemory, needsNoNewBlocksAfterFiveFrames)
{
    struct Case
    {
        const char* format;
        int acquisitionsPerFrame;
    };
    for (const auto& [format, acquisitionsPerFrame] : {
             Case{"YUYV_422", 2},
             Case{"ZEQ_420", 2},
             Case{"RGB_U8", 3},
             Case{"BGR_U8", 3},
             Case{"RGBA_U8", 3},
             Case{"BGRA_U8", 2},
             Case{"ZEQ_422", 2},
             Case{"RGB_DPX_FILLED", 2},
             Case{"BGR_DPX_FILLED", 2},
             Case{"ZEQ_4224_HYBRID", 2},
             Case{"RGB_SMPTE_2110", 2},
             Case{"BGR_SMPTE_2110", 2},
             Case{"YCoCg_DXT5", 3},
         }) {
        SCOPED_TRACE(format);
        std::iota(PlacedResource::order.begin(), PlacedResource::order.end(), std::size_t{0});
        expectSteadyMemory(formatNamed(format), acquisitionsPerFrame);
        // Two acquisitions settle in any order of addresses. With three, the frame between may
        // keep taking the block that the result needs.
        std::mt19937 random(1);
        for (int round = 0; acquisitionsPerFrame == 2 && round < 50; ++round) {
            std::ranges::shuffle(PlacedResource::order, random);
            expectSteadyMemory(formatNamed(format), acquisitionsPerFrame);
        }
    }
}

}
}
