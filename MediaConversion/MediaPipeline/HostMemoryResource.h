#pragma once

#include "MediaConversion/MediaPipeline/Memory.h"

#include <new>

namespace Velmora {

template <class Resource>
class SelfPruningMemoryPool;

// An uninitialised block of the general heap. Only a pool makes one.
class HostMemoryResource final : public IMemoryResource
{
public:
    ~HostMemoryResource() override { ::operator delete(m_data); }

    HostMemoryResource(const HostMemoryResource&) = delete;
    HostMemoryResource& operator=(const HostMemoryResource&) = delete;

    std::byte* data() override { return m_data; }
    std::uint64_t size() const override { return m_size; }
    IMemoryPool* pool() const override { return m_pool; }

private:
    friend class SelfPruningMemoryPool<HostMemoryResource>;

    HostMemoryResource(IMemoryPool* pool, std::uint64_t size)
        : m_pool(pool), m_data(static_cast<std::byte*>(::operator new(size))), m_size(size)
    {
    }

    IMemoryPool* m_pool;
    std::byte* m_data;
    std::uint64_t m_size;
};

}
