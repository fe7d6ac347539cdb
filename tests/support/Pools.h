#pragma once

#include "MediaConversion/MediaPipeline/Frames.h"
#include "MediaConversion/MediaPipeline/HostMemoryResource.h"
#include "MediaConversion/MediaPipeline/MemoryPool.h"

#include <sys/mman.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <map>
#include <memory>
#include <new>
#include <stdexcept>
#include <utility>
#include <vector>

// The memory pools of tests, and the blocks that these lend.

// A pool as the product's.
inline std::shared_ptr<Velmora::IMemoryPool> newPool()
{
    return std::make_shared<Velmora::SelfPruningMemoryPool<Velmora::HostMemoryResource>>();
}

// Installs a pool for a test's scope and takes it away again at its end, so that no test sees the
// pool of another.
class InstalledPool
{
public:
    explicit InstalledPool(std::shared_ptr<Velmora::IMemoryPool> pool = newPool())
        : m_pool(std::move(pool))
    {
        Velmora::ImageFrame::setMemoryPool(m_pool);
    }

    InstalledPool(const InstalledPool&) = delete;
    InstalledPool& operator=(const InstalledPool&) = delete;

    ~InstalledPool() { Velmora::ImageFrame::setMemoryPool(nullptr); }

    const std::shared_ptr<Velmora::IMemoryPool>& pool() const { return m_pool; }

private:
    std::shared_ptr<Velmora::IMemoryPool> m_pool;
};

// A memory resource that counts how many of its kind are alive in the process, and whose heap can
// be made to run out.
class CountingResource : public Velmora::IMemoryResource
{
public:
    CountingResource(Velmora::IMemoryPool* pool, std::uint64_t size)
        : m_pool(pool), m_data(size <= largest ? size : throw std::bad_alloc())
    {
        ++alive;
    }

    ~CountingResource() override { --alive; }

    std::byte* data() override { return m_data.data(); }
    std::uint64_t size() const override { return m_data.size(); }
    Velmora::IMemoryPool* pool() const override { return m_pool; }

    static inline std::atomic<int> alive = 0;
    static inline std::uint64_t largest = UINT64_MAX;

private:
    Velmora::IMemoryPool* m_pool;
    std::vector<std::byte> m_data;
};

// Holds a pool to a second, plain account of its rules at every call. Breaking them is a
// std::logic_error.
template <class Resource>
class CheckedPool final : public Velmora::IMemoryPool
{
public:
    // Blocks of all checked pools.
    static inline int lent = 0;

    Velmora::IMemoryResource* acquire(std::uint64_t size) override
    {
        const auto fit = std::ranges::find_if(m_idle, [&](const auto& item) {
            return item.second != isInUse && item.first->size() >= size;
        });
        auto* const expected = fit == m_idle.end() ? nullptr : fit->first;
        auto* const resource = m_pool.acquire(size);
        if (expected ? resource != expected : owns(resource) || resource->size() != size)
            throw std::logic_error("not the first block that fits");
        m_idle[resource] = isInUse;
        ++lent;
        for (auto& [address, acquisitions] : m_idle)
            acquisitions += acquisitions != isInUse;
        std::erase_if(m_idle, [](const auto& item) { return item.second == 3; });
        if (count() != m_idle.size())
            throw std::logic_error("idle blocks freed too early or too late");
        return resource;
    }

    void release(Velmora::IMemoryResource* resource) override
    {
        m_pool.release(resource);
        lent -= isLent(resource);
        m_idle.at(resource) = std::max(m_idle.at(resource), 0);
    }

    std::uint64_t count() const override { return m_pool.count(); }

    bool owns(Velmora::IMemoryResource* block) const { return m_idle.contains(block); }
    bool isLent(Velmora::IMemoryResource* block) const
    {
        return owns(block) && m_idle.at(block) == isInUse;
    }

private:
    static constexpr int isInUse = -1;

    Velmora::SelfPruningMemoryPool<Resource> m_pool;
    std::map<Velmora::IMemoryResource*, int> m_idle;  // acquisitions since the release
};

// A block that begins or ends, to the byte, at a page that nobody may touch: what reads or writes
// beyond it dies there, whether it was compiled with a sanitiser or not.
class GuardedMemoryResource final : public Velmora::IMemoryResource
{
public:
    GuardedMemoryResource(Velmora::IMemoryPool* pool, std::uint64_t size)
        : m_pool(pool),
          m_insideSize((size + pageSize - 1) / pageSize * pageSize),
          m_pages(static_cast<std::byte*>(::mmap(nullptr, m_insideSize + 2 * pageSize, PROT_NONE,
                                                 MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))),
          m_data(m_pages + pageSize + (endsAtGuard ? m_insideSize - size : 0))
    {
        if (::mprotect(m_pages + pageSize, m_insideSize, PROT_READ | PROT_WRITE) != 0)
            throw std::bad_alloc();
        std::memset(m_data, 0xA5, size);  // what nobody writes shows
    }

    ~GuardedMemoryResource() override { ::munmap(m_pages, m_insideSize + 2 * pageSize); }

    std::byte* data() override { return m_data; }
    // Too small for all that comes after: a block that was lent again would end somewhere else.
    std::uint64_t size() const override { return 0; }
    Velmora::IMemoryPool* pool() const override { return m_pool; }

    static inline bool endsAtGuard = false;

private:
    static constexpr std::uint64_t pageSize = 4096;

    Velmora::IMemoryPool* m_pool;
    std::uint64_t m_insideSize;
    std::byte* m_pages;
    std::byte* m_data;
};

// Calls `body` with every matrix and every file's bytes behind a guard, and then before one.
template <class Body>
void insideGuardedBlocks(const Body& body)
{
    for (const bool endsAtGuard : {false, true}) {
        GuardedMemoryResource::endsAtGuard = endsAtGuard;
        const InstalledPool installed(
            std::make_shared<Velmora::SelfPruningMemoryPool<GuardedMemoryResource>>());
        body();
    }
}
