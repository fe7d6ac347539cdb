#include "MediaConversion/MediaPipeline/MemoryPool.h"

#include "MediaConversion/Errors.h"

#include <algorithm>
#include <utility>

namespace Velmora {

PooledBuffer::PooledBuffer(std::shared_ptr<IMemoryPool> pool, std::uint64_t size)
    : m_pool(std::move(pool)), m_resource(m_pool->acquire(size)), m_size(size)
{
    if (!m_resource)
        MediaConversion::fail("Could not acquire memory resource of size ", size);
}

PooledBuffer::PooledBuffer(const PooledBuffer& other)
{
    if (!other.m_resource)
        return;
    PooledBuffer copy(other.m_pool, other.m_size);
    std::copy_n(other.data(), other.m_size, copy.data());
    *this = std::move(copy);
}

PooledBuffer::PooledBuffer(PooledBuffer&& other) noexcept
    : m_pool(std::move(other.m_pool)),
      m_resource(std::exchange(other.m_resource, nullptr)),
      m_size(std::exchange(other.m_size, 0))
{
}

PooledBuffer& PooledBuffer::operator=(PooledBuffer other) noexcept
{
    std::swap(m_pool, other.m_pool);
    std::swap(m_resource, other.m_resource);
    std::swap(m_size, other.m_size);
    return *this;
}

PooledBuffer::~PooledBuffer()
{
    if (m_resource)
        m_pool->release(m_resource);
}

std::byte* PooledBuffer::data() const
{
    return m_resource ? m_resource->data() : nullptr;
}

}
