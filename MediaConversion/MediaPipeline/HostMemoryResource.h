#pragma once

#include "MediaConversion/MediaPipeline/MemoryPool.h"

#include <cstddef>
#include <cstdint>
#include <new>
#include <span>

namespace Velmora {

// An uninitialised block of the general heap. Only a pool makes one. As a pool lends the idle
// resource with the lowest address that is large enough, resources lie in the order of their
// sizes: what is lent is the tightest block, and none is taken for a small matrix while a large one
// would need it next.
class HostMemoryResource final : public IMemoryResource
{
public:
    ~HostMemoryResource() override { ::operator delete(m_data, alignmentOf(m_size)); }

    HostMemoryResource(const HostMemoryResource&) = delete;
    HostMemoryResource& operator=(const HostMemoryResource&) = delete;

    std::byte* data() override { return m_data; }
    std::uint64_t size() const override { return m_size; }
    IMemoryPool* pool() const override { return m_pool; }

    // Gives a new block its pages, on several threads. Whoever writes first would otherwise wait
    // for each page by itself, and a file is read by one thread only.
    void populate() noexcept;

    // Takes note that a borrower uses so many bytes only. A large block that is lent for a small
    // matrix, which may live for long, gives its other pages back to the system until they are
    // written again.
    void useOnly(std::uint64_t size) noexcept;

    static void* operator new(std::size_t bytes, BlockSize block);
    static void operator delete(void* address);
    static void operator delete(void* address, BlockSize) { operator delete(address); }

private:
    friend class ResourcePool<HostMemoryResource>;

    HostMemoryResource(IMemoryPool* pool, std::uint64_t size)
        : m_pool(pool),
          m_data(static_cast<std::byte*>(::operator new(size, alignmentOf(size)))),
          m_size(size)
    {
    }

    // A frame begins at a page, so that vectors of its rows lie in one cache line each.
    static constexpr std::align_val_t alignmentOf(std::uint64_t size)
    {
        return std::align_val_t{size < 4096 ? 64u : 4096u};
    }

    // The pages behind so many bytes of the block that are its alone.
    std::span<std::byte> wholePages(std::uint64_t offset) const;

    IMemoryPool* m_pool;
    std::byte* m_data;
    std::uint64_t m_size;
};

// Installs a pool of such blocks that prunes itself as the pool of all frames; see
// ImageFrame::setMemoryPool. A process that reads media files calls it once, before the first.
void installMemoryPool();

// The same for a program that converts several frames side by side: the pool keeps blocks of up to
// so many bytes, so that no frame waits for memory that another has given back. See
// BoundedMemoryPool.
void installMemoryPool(std::uint64_t limit);

// The same for a library in a program that is not its own: OpenCV's allocator stays as it is, and
// only frames draw from the pool.
void installMemoryPoolForFrames(std::uint64_t limit);

}
