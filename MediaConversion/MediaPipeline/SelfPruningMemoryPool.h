#pragma once

#include "MediaConversion/Errors.h"
#include "MediaConversion/MediaPipeline/Memory.h"

#include <cstdint>
#include <iterator>
#include <map>
#include <memory>
#include <mutex>
#include <utility>

namespace Velmora {

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

}
