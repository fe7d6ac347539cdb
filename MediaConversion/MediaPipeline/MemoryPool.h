#pragma once

#include "MediaConversion/Errors.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <utility>

namespace Velmora {

class IMemoryPool;

// The size of the block for which a resource is made. A resource that is allocated with it chooses
// its own address.
struct BlockSize
{
    std::uint64_t bytes;
};

// One block of memory of fixed size, owned by the pool that made it.
class IMemoryResource
{
public:
    virtual ~IMemoryResource() = default;

    virtual std::byte* data() = 0;
    virtual std::uint64_t size() const = 0;  // bytes
    virtual IMemoryPool* pool() const = 0;
};

// Owns memory resources and lends them out. A pool is shared by all its borrowers and lives until
// the last of them is gone.
class IMemoryPool
{
public:
    virtual ~IMemoryPool() = default;

    // Lends a resource of at least `size` bytes. The pool keeps owning it; the borrower alone uses
    // it until it is released. Throws std::bad_alloc when the heap has no such block.
    virtual IMemoryResource* acquire(std::uint64_t size) = 0;

    // Takes a lent resource back. Throws a std::runtime_error for one that is not the pool's own.
    virtual void release(IMemoryResource* resource) = 0;

    // The number of resources that the pool owns, lent or idle.
    virtual std::uint64_t count() const = 0;
};

// What pools of one kind of resource share. `Resource` is constructed from the pool and a size in
// bytes. With an operator new for a BlockSize it has a say in where it lies. Its `populate`, if it
// has one, is called once, and its `useOnly` when it is lent again, both without the pool's lock.
template <class Resource>
class ResourcePool : public IMemoryPool
{
public:
    ResourcePool() = default;

    ResourcePool(const ResourcePool&) = delete;
    ResourcePool& operator=(const ResourcePool&) = delete;

protected:
    std::unique_ptr<Resource> newResource(std::uint64_t size)
    {
        if constexpr (requires { Resource::operator new (sizeof(Resource), BlockSize{size}); })
            return std::unique_ptr<Resource>(new (BlockSize{size}) Resource(this, size));
        else
            return std::unique_ptr<Resource>(new Resource(this, size));
    }

    static void populate(Resource* created)
    {
        if constexpr (requires { created->populate(); })
            created->populate();
    }

    static void useOnly(Resource* reused, std::uint64_t size)
    {
        if constexpr (requires { reused->useOnly(size); })
            reused->useOnly(size);
    }

    [[noreturn]] static void refuseForeign()
    {
        MediaConversion::fail(
            "Cannot release memory resource that is not a member of this memory pool");
    }
};

// Keeps the large blocks of a clip's frames alive between frames. Every acquisition ages the blocks
// that lie idle; one that has seen three acquisitions go by is freed. Where a resource lies decides
// which one is lent.
template <class Resource>
class SelfPruningMemoryPool final : public ResourcePool<Resource>
{
public:
    // Lends the idle resource with the lowest address that is large enough, however much larger it
    // may be, and makes one of exactly the size asked for if there is none.
    IMemoryResource* acquire(std::uint64_t size) override
    {
        std::unique_lock lock(m_resourcesMutex);
        Resource* const reused = reuse(size);
        Resource* const created = reused ? nullptr : create(size);
        prune();
        lock.unlock();
        if (created)
            this->populate(created);
        else
            this->useOnly(reused, size);
        return created ? created : reused;
    }

    void release(IMemoryResource* resource) override
    {
        const std::lock_guard lock(m_resourcesMutex);
        const auto entry = m_resources.find(resource);
        if (entry == m_resources.end())
            this->refuseForeign();
        entry->second.inUse = 0;
    }

    std::uint64_t count() const override
    {
        const std::lock_guard lock(m_resourcesMutex);
        return m_resources.size();
    }

private:
    struct Entry
    {
        std::unique_ptr<Resource> resource;
        std::uint32_t inUse;     // 1 lent, 0 idle
        std::int32_t idleCount;  // acquisitions seen since the release
    };

    Resource* reuse(std::uint64_t size)
    {
        for (auto& [address, entry] : m_resources) {
            if (entry.inUse || entry.resource->size() < size)
                continue;
            entry.inUse = 1;
            entry.idleCount = 0;
            return entry.resource.get();
        }
        return nullptr;
    }

    Resource* create(std::uint64_t size)
    {
        std::unique_ptr<Resource> resource(this->newResource(size));
        Resource* const address = resource.get();
        m_resources.emplace(address, Entry{std::move(resource), 1, 0});
        return address;
    }

    void prune()
    {
        for (auto item = m_resources.begin(); item != m_resources.end();) {
            auto& entry = item->second;
            const bool expired = !entry.inUse && ++entry.idleCount >= m_pruneThreshold;
            item = expired ? m_resources.erase(item) : std::next(item);
        }
    }

    std::map<IMemoryResource*, Entry> m_resources;
    mutable std::mutex m_resourcesMutex;
    const std::int32_t m_pruneThreshold = 3;
};

// Keeps every block, for a program whose memory is its own and that converts several frames side by
// side. Idle blocks are freed, the longest idle first, while all blocks together take more than
// `limit` bytes.
template <class Resource>
class BoundedMemoryPool final : public ResourcePool<Resource>
{
public:
    explicit BoundedMemoryPool(std::uint64_t limit) : m_limit(limit) {}

    // Another limit from now on, which applies to the blocks that are idle already.
    void setLimit(std::uint64_t limit)
    {
        Blocks freed;  // outlives the lock
        const std::lock_guard lock(m_blocksMutex);
        m_limit = limit;
        freed = removeIdle(m_limit);
    }

    // Lends the smallest idle resource that is large enough and no more than twice as large, and
    // makes one of exactly the size asked for if there is none.
    IMemoryResource* acquire(std::uint64_t size) override
    {
        std::unique_lock lock(m_blocksMutex);
        auto best = m_blocks.end();
        for (auto block = m_blocks.begin(); block != m_blocks.end(); ++block)
            if (!block->isLent && block->resource->size() >= size &&
                block->resource->size() / 2 <= size &&
                (best == m_blocks.end() || block->resource->size() < best->resource->size()))
                best = block;
        if (best != m_blocks.end()) {
            best->isLent = true;
            return best->resource.get();
        }
        removeIdle(m_limit - std::min(size, m_limit));
        m_blocks.push_front({this->newResource(size), true});
        m_bytes += size;
        Resource* const created = m_blocks.front().resource.get();
        lock.unlock();
        this->populate(created);
        return created;
    }

    void release(IMemoryResource* resource) override
    {
        Blocks freed;  // outlives the lock
        const std::lock_guard lock(m_blocksMutex);
        const auto block = std::find_if(m_blocks.begin(), m_blocks.end(), [&](const Block& each) {
            return each.resource.get() == resource;
        });
        if (block == m_blocks.end())
            this->refuseForeign();
        block->isLent = false;
        m_blocks.splice(m_blocks.begin(), m_blocks, block);
        freed = removeIdle(m_limit);
    }

    std::uint64_t count() const override
    {
        const std::lock_guard lock(m_blocksMutex);
        return m_blocks.size();
    }

private:
    struct Block
    {
        std::unique_ptr<Resource> resource;
        bool isLent;
    };
    using Blocks = std::list<Block>;

    // Hands out idle blocks until the others take no more than so many bytes.
    Blocks removeIdle(std::uint64_t most)
    {
        Blocks removed;
        for (auto block = m_blocks.end(); m_bytes > most && block != m_blocks.begin();) {
            if ((--block)->isLent)
                continue;
            m_bytes -= block->resource->size();
            const auto next = std::next(block);
            removed.splice(removed.begin(), m_blocks, block);
            block = next;
        }
        return removed;
    }

    std::uint64_t m_limit;
    std::uint64_t m_bytes = 0;  // of all blocks
    Blocks m_blocks;            // the idle ones by the time that they have been idle
    mutable std::mutex m_blocksMutex;
};

// Borrows one memory resource for a scope and gives it back at the end. Keeps the pool alive.
class PooledBuffer
{
public:
    // Throws a std::runtime_error when the pool lends nothing.
    PooledBuffer(std::shared_ptr<IMemoryPool> pool, std::uint64_t size);

    // A copy borrows a resource of its own from the same pool and copies the bytes.
    PooledBuffer(const PooledBuffer& other);
    PooledBuffer(PooledBuffer&& other) noexcept;
    PooledBuffer& operator=(PooledBuffer other) noexcept;
    ~PooledBuffer();

    // Null in a buffer that was moved from.
    std::byte* data() const;

    // The bytes asked for; the lent block may be larger.
    std::uint64_t size() const { return m_size; }

private:
    std::shared_ptr<IMemoryPool> m_pool;
    IMemoryResource* m_resource = nullptr;
    std::uint64_t m_size = 0;
};

}
