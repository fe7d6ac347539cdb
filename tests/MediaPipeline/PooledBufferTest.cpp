#include "MediaConversion/MediaPipeline/PooledBuffer.h"

#include "MediaConversion/MediaPipeline/SelfPruningMemoryPool.h"
#include "tests/MediaPipeline/CountingResource.h"
#include "tests/support/ExpectError.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <utility>

namespace Velmora {
namespace {

class PooledBufferTest : public testing::Test
{
protected:
    PooledBuffer holding(const std::string& text)
    {
        PooledBuffer buffer(m_pool, text.size());
        std::memcpy(buffer.data(), text.data(), text.size());
        return buffer;
    }

    static std::string textOf(const PooledBuffer& buffer)
    {
        return {reinterpret_cast<const char*>(buffer.data()), buffer.size()};
    }

    std::shared_ptr<IMemoryPool> m_pool =
        std::make_shared<SelfPruningMemoryPool<CountingResource>>();
};

TEST_F(PooledBufferTest, borrowsForItsLifetime)
{
    const std::byte* block = nullptr;
    {
        const PooledBuffer buffer(m_pool, 100);
        block = buffer.data();
    }
    const PooledBuffer second(m_pool, 40);
    EXPECT_EQ(second.data(), block);
    EXPECT_EQ(second.size(), 40u);  // as asked for, not the 100 that were lent
    EXPECT_EQ(m_pool->count(), 1u);
}

TEST_F(PooledBufferTest, copiesIntoABlockOfItsOwn)
{
    const auto original = holding("twelve bytes");
    auto copy = original;
    EXPECT_NE(copy.data(), original.data());
    EXPECT_EQ(textOf(copy), "twelve bytes");
    copy.data()[0] = std::byte{'X'};
    EXPECT_EQ(textOf(original), "twelve bytes");
    EXPECT_EQ(m_pool->count(), 2u);
}

TEST_F(PooledBufferTest, movesWithoutCopying)
{
    auto source = holding("moved");
    const std::byte* const block = source.data();
    const PooledBuffer target(std::move(source));
    EXPECT_EQ(target.data(), block);
    EXPECT_EQ(textOf(target), "moved");
    EXPECT_EQ(source.data(), nullptr);
    EXPECT_EQ(source.size(), 0u);
    EXPECT_EQ(m_pool->count(), 1u);
}

TEST_F(PooledBufferTest, givesItsBlockBackWhenAssignedTo)
{
    auto target = holding("old");
    const std::byte* const oldBlock = target.data();
    const auto source = holding("copied");
    target = source;
    EXPECT_EQ(textOf(target), "copied");
    EXPECT_EQ(textOf(source), "copied");
    EXPECT_EQ(PooledBuffer(m_pool, 3).data(), oldBlock);

    target = holding("moved in");
    EXPECT_EQ(textOf(target), "moved in");
    auto& itself = target;
    target = itself;
    EXPECT_EQ(textOf(target), "moved in");
}

TEST_F(PooledBufferTest, keepsThePoolAlive)
{
    std::weak_ptr<IMemoryPool> pool = m_pool;
    auto buffer = std::make_unique<PooledBuffer>(m_pool, 10);
    m_pool.reset();
    EXPECT_FALSE(pool.expired());
    buffer.reset();
    EXPECT_TRUE(pool.expired());
    EXPECT_EQ(CountingResource::alive, 0);
}

TEST(PooledBuffer, refusesAPoolThatLendsNothing)
{
    struct EmptyPool final : IMemoryPool
    {
        IMemoryResource* acquire(std::uint64_t) override { return nullptr; }
        void release(IMemoryResource*) override { ADD_FAILURE(); }
        std::uint64_t count() const override { return 0; }
    };
    expectError<std::runtime_error>("Could not acquire memory resource of size 8589934592", [] {
        PooledBuffer(std::make_shared<EmptyPool>(), std::uint64_t{1} << 33);
    });
}

}
}
