#include "MediaConversion/MediaPipeline/Frames.h"
#include "MediaConversion/MediaPipeline/HostMemoryResource.h"
#include "tests/MediaPipeline/Fakes.h"
#include "tests/support/Pools.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <new>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace Velmora {
namespace {

TEST(SelfPruningMemoryPool, takesNoMemoryButItsOwn)
{
    SelfPruningMemoryPool<HostMemoryResource> pool, other;
    IMemoryResource* const foreign = other.acquire(10);
    for (IMemoryResource* const resource : {foreign, static_cast<IMemoryResource*>(nullptr)})
        expectError("Cannot release memory resource that is not a member of this memory pool",
                    [&] { pool.release(resource); });
    EXPECT_EQ(pool.acquire(10)->size(), 10u);  // the refusal gave the mutex back
    EXPECT_NE(other.acquire(10), foreign);     // still lent
}

TEST(SelfPruningMemoryPool, keepsItsRulesInARandomSequence)
{
    {
        CheckedPool<CountingResource> pool;
        std::set<IMemoryResource*> resources;
        std::mt19937 random(20);
        for (int step = 0; step < 20000; ++step) {
            SCOPED_TRACE(step);
            std::erase_if(resources, [&](auto* resource) { return !pool.owns(resource); });
            if (random() % 2 && !resources.empty()) {  // perhaps once more
                pool.release(*std::next(resources.begin(), random() % resources.size()));
                continue;
            }
            CountingResource::largest = random() % 3 ? UINT64_MAX : 0;
            try {
                resources.insert(pool.acquire(random() % 8 * 16 + 1));
            } catch (const std::bad_alloc&) {  // ages nothing
            }
            ASSERT_EQ(CountingResource::alive, static_cast<int>(pool.count()));
        }
        CountingResource::largest = UINT64_MAX;
    }
    EXPECT_EQ(CountingResource::alive, 0);
}

TEST(BoundedMemoryPool, keepsItsRulesInARandomSequence)
{
    std::uint64_t limit = 1000;
    {
        BoundedMemoryPool<CountingResource> pool(limit);
        std::map<IMemoryResource*, std::uint64_t> lent;                // with their sizes
        std::vector<std::pair<IMemoryResource*, std::uint64_t>> idle;  // the longest idle first
        std::uint64_t bytes = 0;                                       // of both
        std::mt19937 random(5);
        for (int step = 0; step < 20000; ++step) {
            SCOPED_TRACE(step);
            if (random() % 50 == 0) {
                limit = random() % 2000;
                pool.setLimit(limit);
            } else if (random() % 2 && !lent.empty()) {
                const auto chosen = std::next(lent.begin(), random() % lent.size());
                idle.push_back(*chosen);
                lent.erase(chosen);
                pool.release(idle.back().first);
            } else {
                const auto wanted = random() % 8 * 16 + 1;
                auto* const resource = pool.acquire(wanted);
                const auto size = resource->size();
                const auto isFit = [&](const auto& block) {
                    return block.second >= wanted && block.second / 2 <= wanted;
                };
                const bool isReused = std::ranges::any_of(idle, isFit);
                EXPECT_TRUE(isReused ? size >= wanted && size / 2 <= wanted : size == wanted);
                const auto reused = std::ranges::find(idle, std::pair(resource, size));
                EXPECT_EQ(reused != idle.end(), isReused);
                if (isReused)
                    idle.erase(reused);
                else
                    bytes += size;
                EXPECT_TRUE(lent.emplace(resource, size).second);
            }
            for (; !idle.empty() && bytes > limit; idle.erase(idle.begin()))
                bytes -= idle.front().second;
            ASSERT_EQ(pool.count(), lent.size() + idle.size());
            ASSERT_EQ(CountingResource::alive, static_cast<int>(pool.count()));
        }
        expectError("Cannot release memory resource that is not a member of this memory pool",
                    [&] { pool.release(nullptr); });
    }
    EXPECT_EQ(CountingResource::alive, 0);
}

// Sizes an eighth apart, of the least of which there were too many blocks before.
TEST(HostMemoryResource, isLentWhereItFitsTightest)
{
    std::vector<std::uint64_t> sizes(1, 1000);
    while (sizes.size() < 40)
        sizes.push_back(sizes.back() * 9 / 8 + 1);
    {
        SelfPruningMemoryPool<HostMemoryResource> pool;
        std::set<const std::byte*> blocks;
        while (blocks.size() < 600)
            ASSERT_TRUE(blocks.insert(pool.acquire(1000)->data()).second);
    }
    auto made = sizes;
    std::mt19937 random(1);
    for (const auto size : sizes) {
        SelfPruningMemoryPool<HostMemoryResource> pool;
        std::vector<IMemoryResource*> lent;
        std::ranges::shuffle(made, random);
        for (const auto each : made)
            lent.push_back(pool.acquire(each));
        for (auto* const resource : lent)
            pool.release(resource);
        EXPECT_EQ(pool.acquire(size)->size(), size);
    }
}

// As a frame that comes after a small matrix does: the block is the same, and has its pages again.
TEST(HostMemoryResource, keepsThePagesOfAFrameOnlyWhileAFrameMayNeedThem)
{
    constexpr std::size_t frameSize = 16 << 20;
    SelfPruningMemoryPool<HostMemoryResource> pool;
    auto* const block = pool.acquire(frameSize);
    const auto pageSize = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    const auto pagesInMemory = [&] {
        std::vector<unsigned char> pages(frameSize / pageSize - 1);
        EXPECT_EQ(::mincore(block->data(), pages.size() * pageSize, pages.data()), 0);
        return std::ranges::count_if(pages, [](unsigned char page) { return page & 1; });
    };
    const auto allPages = static_cast<std::ptrdiff_t>(frameSize / pageSize) - 1;
    for (const std::size_t size : {std::size_t{300'000}, frameSize, std::size_t{100}}) {
        std::fill_n(block->data(), frameSize, std::byte{'x'});
        pool.release(block);
        ASSERT_EQ(pool.acquire(size), block);
        EXPECT_EQ(pagesInMemory(), size == 100 ? 1 : allPages) << size;
        EXPECT_EQ(block->data()[99], std::byte{'x'});
    }
    std::fill_n(block->data(), frameSize, std::byte{'y'});
    pool.release(block);
}

std::string textOf(const PooledBuffer& buffer)
{
    return {reinterpret_cast<const char*>(buffer.data()), buffer.size()};
}

TEST(PooledBuffer, copiesIntoABlockOfItsOwnAndMovesWithoutCopying)
{
    const auto pool = newPool();
    PooledBuffer original(pool, 3);
    const std::byte* const block = original.data();
    std::fill_n(original.data(), 3, std::byte{'o'});
    PooledBuffer copy(original);
    copy.data()[0] = std::byte{'X'};
    EXPECT_EQ(textOf(copy), "Xoo");
    EXPECT_EQ(textOf(original), "ooo");
    PooledBuffer moved(std::move(original));
    EXPECT_EQ(moved.data(), block);
    EXPECT_EQ(original.data(), nullptr);
    EXPECT_EQ(original.size(), 0u);

    moved = copy;  // and its block goes back
    EXPECT_EQ(textOf(moved), "Xoo");
    EXPECT_EQ(textOf(copy), "Xoo");
    EXPECT_EQ(PooledBuffer(pool, 3).data(), block);
    const auto& itself = moved;
    moved = itself;
    EXPECT_EQ(textOf(moved), "Xoo");
}

TEST(PooledBuffer, refusesAPoolThatLendsNothing)
{
    const auto empty = std::make_shared<testing::NiceMock<MockPool>>();
    EXPECT_CALL(*empty, release).Times(0);
    expectError("Could not acquire memory resource of size 8589934592",
                [&] { PooledBuffer(empty, std::uint64_t{1} << 33); });
}

// The pool lends more than the 100 bytes asked for.
TEST(RawFrameData, holdsThePixelsOfAFileBetweenOffsetAndEnd)
{
    const auto pool = newPool();
    const std::byte* const block = PooledBuffer(pool, 1000).data();
    const auto expectPixels = [&](std::uint64_t offset, std::uint64_t end, std::uint64_t count) {
        const RawFrameData data(std::make_unique<PooledBuffer>(pool, 100), offset, end);
        EXPECT_EQ(data.pixels(), block + offset);
        EXPECT_EQ(data.pixelByteCount(), count);
    };
    expectPixels(28, 100, 72);
    expectPixels(28, 60, 32);
    expectPixels(100, 100, 0);
    expectPixels(28, 0, 72);  // no end was given
    const auto expectRefusal = [&](std::uint64_t offset, std::uint64_t end, const char* text) {
        auto buffer = std::make_unique<PooledBuffer>(pool, 100);
        EXPECT_EQ(buffer->data(), block);  // given back by those before
        expectError(text, [&] { RawFrameData(std::move(buffer), offset, end); });
    };
    // clang-format off
    expectRefusal(102, 101, "Pixel data offset (102) exceeds data size (100)");
    expectRefusal(UINT64_MAX, 1, "Pixel data offset (18446744073709551615) exceeds data size (100)");
    expectRefusal(28, 27, "Pixel data end (27) is before pixel data offset (28)");
    expectRefusal(28, 101, "Pixel data end (101) exceeds data size (100)");
    // clang-format on
    expectError("Null data", [] { RawFrameData(nullptr, 5, 1); });
}

}
}
