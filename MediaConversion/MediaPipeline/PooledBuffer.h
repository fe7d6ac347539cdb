#pragma once

#include "MediaConversion/MediaPipeline/Memory.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace Velmora {

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
