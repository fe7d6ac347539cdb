#include "MediaConversion/MediaPipeline/SelfPruningMemoryPool.h"

#include "MediaConversion/MediaPipeline/HostMemoryResource.h"
#include "tests/MediaPipeline/CountingResource.h"
#include "tests/support/ExpectError.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <thread>
#include <vector>

namespace Velmora {
namespace {

using Pool = SelfPruningMemoryPool<HostMemoryResource>;

TEST(SelfPruningMemoryPool, lendsBlocksOfTheSizeAskedFor)
{
    Pool pool;
    for (const std::uint64_t size : {0, 1, 100, 1 << 20}) {
        IMemoryResource* const resource = pool.acquire(size);
        EXPECT_EQ(resource->size(), size);
        EXPECT_EQ(resource->pool(), &pool);
        ASSERT_NE(resource->data(), nullptr);
        std::fill_n(resource->data(), size, std::byte{0xA5});
    }
    EXPECT_EQ(pool.count(), 4u);
}

TEST(SelfPruningMemoryPool, reusesAnIdleBlockThatIsLarger)
{
    Pool pool;
    IMemoryResource* const first = pool.acquire(100);
    EXPECT_NE(pool.acquire(100), first);  // lent, so not to be had
    pool.release(first);
    EXPECT_NE(pool.acquire(101), first);
    EXPECT_EQ(pool.acquire(50), first);
    EXPECT_EQ(first->size(), 100u);
    EXPECT_EQ(pool.count(), 3u);
}

TEST(SelfPruningMemoryPool, takesTheLowestAddressThatFits)
{
    for (const std::uint64_t wanted : {1, 150, 250, 350, 400}) {
        Pool pool;
        std::vector<IMemoryResource*> resources;
        for (const std::uint64_t size : {300, 100, 400, 200, 350, 400})
            resources.push_back(pool.acquire(size));
        std::ranges::for_each(resources, [&](auto* resource) { pool.release(resource); });
        std::ranges::sort(resources, std::less<>());
        const auto lowest = std::ranges::find_if(
            resources, [&](auto* resource) { return resource->size() >= wanted; });
        EXPECT_EQ(pool.acquire(wanted), *lowest) << wanted;
    }
}

TEST(SelfPruningMemoryPool, refusesResourcesThatAreNotItsOwn)
{
    Pool pool;
    Pool other;
    IMemoryResource* const foreign = other.acquire(10);
    for (IMemoryResource* const resource : {foreign, static_cast<IMemoryResource*>(nullptr)})
        expectError<std::runtime_error>(
            "Cannot release memory resource that is not a member of this memory pool",
            [&] { pool.release(resource); });
    EXPECT_EQ(pool.acquire(10)->size(), 10u);  // the refusal gave the mutex back
    EXPECT_NE(other.acquire(10), foreign);     // still lent
}

// With a heap that counts its blocks and may run out.
class PoolOfCountedBlocks : public testing::Test
{
protected:
    void SetUp() override { m_madeBefore = CountingResource::made; }
    void TearDown() override { CountingResource::largest = UINT64_MAX; }

    int made() const { return CountingResource::made - m_madeBefore; }

    SelfPruningMemoryPool<CountingResource> m_pool;

private:
    int m_madeBefore = 0;
};

TEST_F(PoolOfCountedBlocks, freesAnIdleBlockDuringTheThirdAcquisition)
{
    m_pool.release(m_pool.acquire(100));
    m_pool.acquire(200);
    m_pool.acquire(200);
    EXPECT_EQ(m_pool.count(), 3u);
    EXPECT_EQ(CountingResource::alive, 3);
    m_pool.acquire(200);
    EXPECT_EQ(m_pool.count(), 3u);
    EXPECT_EQ(CountingResource::alive, 3);
    EXPECT_EQ(made(), 4);
}

TEST_F(PoolOfCountedBlocks, startsToCountAnewWhenABlockIsReused)
{
    IMemoryResource* const block = m_pool.acquire(100);
    for (int round = 0; round < 3; ++round) {
        m_pool.release(block);
        m_pool.acquire(200);
        m_pool.acquire(200);
        ASSERT_EQ(m_pool.acquire(100), block);  // the third acquisition itself saves it
    }
    for (int acquisition = 0; acquisition < 4; ++acquisition)
        m_pool.acquire(200);  // does not age what is lent
    EXPECT_EQ(m_pool.count(), 11u);
    EXPECT_EQ(made(), 11);
}

TEST_F(PoolOfCountedBlocks, prunesSeveralBlocksAtOnceAndOnlyWhenAcquiring)
{
    std::vector<IMemoryResource*> blocks;
    for (int number = 0; number < 5; ++number)
        blocks.push_back(m_pool.acquire(10));
    for (IMemoryResource* const block : blocks)
        m_pool.release(block);
    EXPECT_EQ(m_pool.count(), 5u);
    for (const int left : {6, 7, 3}) {
        m_pool.acquire(20);
        EXPECT_EQ(m_pool.count(), left);
        EXPECT_EQ(CountingResource::alive, left);
    }
}

TEST_F(PoolOfCountedBlocks, toleratesASecondRelease)
{
    IMemoryResource* const block = m_pool.acquire(100);
    m_pool.release(block);
    m_pool.acquire(200);
    m_pool.release(block);  // changes nothing, its age least of all
    m_pool.acquire(200);
    EXPECT_EQ(m_pool.count(), 3u);
    m_pool.acquire(200);
    EXPECT_EQ(m_pool.count(), 3u);
    EXPECT_EQ(made(), 4);
}

TEST_F(PoolOfCountedBlocks, staysAsItWasWhenTheHeapRunsOut)
{
    IMemoryResource* const block = m_pool.acquire(100);
    m_pool.release(block);
    m_pool.acquire(200);
    m_pool.acquire(200);  // the next acquisition would free the idle block
    CountingResource::largest = 1000;
    for (int attempt = 0; attempt < 3; ++attempt)
        EXPECT_THROW(m_pool.acquire(1001), std::bad_alloc);
    EXPECT_EQ(m_pool.count(), 3u);
    EXPECT_EQ(m_pool.acquire(100), block);
}

TEST_F(PoolOfCountedBlocks, diesWithAllItsBlocks)
{
    {
        SelfPruningMemoryPool<CountingResource> pool;
        pool.acquire(1);
        pool.release(pool.acquire(2));
        EXPECT_EQ(CountingResource::alive, 2);
    }
    EXPECT_EQ(CountingResource::alive, 0);
}

// A second, plain account of what the pool has to do: blocks by address.
struct ModelBlock
{
    std::uint64_t size;
    bool lent;
    int acquisitionsSinceRelease;
};

TEST_F(PoolOfCountedBlocks, doesAsItsModelInARandomSequence)
{
    std::map<IMemoryResource*, ModelBlock> model;
    std::mt19937 random(20);
    for (int step = 0; step < 20000; ++step) {
        std::vector<IMemoryResource*> lent;
        for (const auto& [address, block] : model)
            if (block.lent)
                lent.push_back(address);
        if (!lent.empty() && random() % 12 < lent.size()) {
            IMemoryResource* const released = lent[random() % lent.size()];
            m_pool.release(released);
            model.at(released) = {released->size(), false, 0};
            continue;
        }
        const std::uint64_t size = random() % 8 * 16;
        const auto reused = std::ranges::find_if(
            model, [&](const auto& item) { return !item.second.lent && item.second.size >= size; });
        IMemoryResource* const expected = reused == model.end() ? nullptr : reused->first;
        IMemoryResource* const acquired = m_pool.acquire(size);
        if (expected)
            ASSERT_EQ(acquired, expected) << step;
        else
            ASSERT_TRUE(!model.contains(acquired) && acquired->size() == size) << step;
        model[acquired] = {acquired->size(), true, 0};
        for (auto& [address, block] : model)
            block.acquisitionsSinceRelease += !block.lent;
        std::erase_if(model,
                      [](const auto& item) { return item.second.acquisitionsSinceRelease == 3; });
        ASSERT_EQ(m_pool.count(), model.size()) << step;
        ASSERT_EQ(CountingResource::alive, model.size()) << step;
    }
}

TEST_F(PoolOfCountedBlocks, lendsABlockToOneThreadAtATime)
{
    constexpr int threads = 4;
    std::atomic<int> spoiled = 0;
    {
        std::vector<std::jthread> workers;
        for (int number = 0; number < threads; ++number)
            workers.emplace_back([&, number] {
                for (int round = 0; round < 500; ++round) {
                    const std::uint64_t size = 64 + round % 7 * 64;
                    IMemoryResource* const block = m_pool.acquire(size);
                    const auto mark = static_cast<std::byte>(number + 1);
                    std::fill_n(block->data(), size, mark);
                    spoiled += std::count(block->data(), block->data() + size, mark) !=
                               static_cast<std::ptrdiff_t>(size);
                    m_pool.release(block);
                }
            });
    }
    EXPECT_EQ(spoiled, 0);
    EXPECT_EQ(m_pool.count(), CountingResource::alive);
}

}
}
