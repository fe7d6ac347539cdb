#include "MediaConversion/MediaPipeline/Encoder.h"
#include "MediaConversion/MediaPipeline/Formats.h"
#include "MediaConversion/MediaPipeline/FrameSinkDestination.h"
#include "MediaConversion/MediaPipeline/OpenCvMatAllocator.h"
#include "MediaConversion/MediaPipeline/PackedFrame.h"
#include "tests/MediaPipeline/FailingHeap.h"
#include "tests/support/InstalledPool.h"

#include <gtest/gtest.h>

#include <functional>

namespace MediaConversion {
namespace {

using Velmora::IMemoryResource;

// Knows how many of its resources are lent.
class AccountingPool final : public Velmora::IMemoryPool
{
public:
    IMemoryResource* acquire(std::uint64_t size) override
    {
        IMemoryResource* const resource = m_pool.acquire(size);
        ++lent;
        return resource;
    }

    void release(IMemoryResource* resource) override
    {
        m_pool.release(resource);
        --lent;
    }

    std::uint64_t count() const override { return m_pool.count(); }

    int lent = 0;

private:
    Velmora::SelfPruningMemoryPool<Velmora::HostMemoryResource> m_pool;
};

// Runs the operation again and again, each time with a later allocation failing, until it gets by
// without a failure. Returns how many allocations failed.
int failEveryAllocation(const std::function<void()>& operation, const AccountingPool& pool)
{
    for (int number = 1;; ++number) {
        failAllocation(number);
        try {
            operation();
            failAllocation(0);
            EXPECT_EQ(pool.lent, 0);
            return number - 1;
        } catch (const std::bad_alloc&) {
            EXPECT_EQ(pool.lent, 0) << "after failure of allocation " << number;
        }
    }
}

TEST(HeapExhaustion, leavesNoBlockOfTheAllocatorLent)
{
    const auto pool = std::make_shared<AccountingPool>();
    const Velmora::OpenCvMatAllocator allocator(pool);
    const int sizes[] = {4, 4};
    const auto allocate = [&] {
        allocator.deallocate(allocator.allocate(2, sizes, CV_8UC4, nullptr, nullptr, cv::ACCESS_RW,
                                                cv::USAGE_DEFAULT));
    };
    // OpenCV's record, the resource, its block, the pool's entry and the allocator's own record.
    EXPECT_GE(failEveryAllocation(allocate, *pool), 5);
}

TEST(HeapExhaustion, leavesNoBlockOfAFrameLent)
{
    const auto pool = std::make_shared<AccountingPool>();
    const InstalledPool installed(pool);
    FrameSinkDestination sink;
    Encoder encoder(Velmora::Formats::ZEQ_420(), Velmora::Formats::BGRA_F32());
    encoder.connectFrameSink(&sink);
    encoder.start();
    const auto convert = [&] {
        auto buffer = std::make_unique<Velmora::PooledBuffer>(installed.pool(), 4 * 2 * 6);
        auto raw = std::make_unique<Velmora::RawFrameData>(std::move(buffer), 0);
        encoder.onNewFrame(std::make_unique<Velmora::PackedFrame>(Velmora::Formats::ZEQ_420(), 8, 4,
                                                                  std::move(raw)));
        EXPECT_NE(sink.takeFrame(), nullptr);
    };
    EXPECT_GT(failEveryAllocation(convert, *pool), 5);
    encoder.stop();
}

}
}
