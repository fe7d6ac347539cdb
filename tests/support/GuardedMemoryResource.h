#pragma once

#include "MediaConversion/MediaPipeline/MemoryPool.h"
#include "tests/support/InstalledPool.h"

#include <sys/mman.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

// A block that begins or ends, to the byte, at a page that nobody may touch: what reads or writes
// beyond it dies there, whether it was compiled with a sanitiser or not.
template <bool endsAtGuard>
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
    using Velmora::SelfPruningMemoryPool;
    const auto run = [&](std::shared_ptr<Velmora::IMemoryPool> pool) {
        const InstalledPool installed(std::move(pool));
        body();
    };
    run(std::make_shared<SelfPruningMemoryPool<GuardedMemoryResource<false>>>());
    run(std::make_shared<SelfPruningMemoryPool<GuardedMemoryResource<true>>>());
}
