#pragma once

#include <cstddef>
#include <cstdint>

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

}
