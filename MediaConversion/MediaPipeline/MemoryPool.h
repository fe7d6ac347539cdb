#pragma once

#include "MediaConversion/Errors.h"

#include <cstddef>
#include <cstdint>
#include <iterator>
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

// Keeps the large blocks of a clip's frames alive between frames. Every acquisition ages the blocks
// that lie idle; one that has seen three acquisitions go by is freed. `Resource` is constructed
// from the pool and a size in bytes. With an operator new for a BlockSize it has a say in where it
// lies, and so in which block is lent. Its `populate`, if it has one, is called once, without the
// pool's lock.
template <class Resource>
class SelfPruningMemoryPool final : public IMemoryPool
{
public:
    SelfPruningMemoryPool() = default;

    SelfPruningMemoryPool(const SelfPruningMemoryPool&) = delete;
    SelfPruningMemoryPool& operator=(const SelfPruningMemoryPool&) = delete;

    // Lends the idle resource with the lowest address that is large enough, however much larger it
    // may be, and makes one of exactly the size asked for if there is none.
    IMemoryResource* acquire(std::uint64_t size) override
    {
        std::unique_lock lock(m_resourcesMutex);
        IMemoryResource* const reused = reuse(size);
        Resource* const created = reused ? nullptr : create(size);
        prune();
        lock.unlock();
        if constexpr (requires { created->populate(); })
            if (created)
                created->populate();
        return reused ? reused : created;
    }

    void release(IMemoryResource* resource) override
    {
        const std::lock_guard lock(m_resourcesMutex);
        const auto entry = m_resources.find(resource);
        if (entry == m_resources.end())
            MediaConversion::fail(
                "Cannot release memory resource that is not a member of this memory pool");
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

    IMemoryResource* reuse(std::uint64_t size)
    {
        for (auto& [address, entry] : m_resources) {
            if (entry.inUse || entry.resource->size() < size)
                continue;
            entry.inUse = 1;
            entry.idleCount = 0;
            return address;
        }
        return nullptr;
    }

    Resource* create(std::uint64_t size)
    {
        std::unique_ptr<Resource> resource(newResource(size));
        Resource* const address = resource.get();
        m_resources.emplace(address, Entry{std::move(resource), 1, 0});
        return address;
    }

    Resource* newResource(std::uint64_t size)
    {
        if constexpr (requires { Resource::operator new (sizeof(Resource), BlockSize{size}); })
            return new (BlockSize{size}) Resource(this, size);
        else
            return new Resource(this, size);
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
