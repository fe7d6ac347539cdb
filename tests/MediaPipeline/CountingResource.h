#pragma once

#include "MediaConversion/MediaPipeline/Memory.h"

#include <atomic>
#include <limits>
#include <memory>
#include <new>

// A memory resource that counts how often its kind was made and how many are alive, in the whole
// process, and whose heap can be made to run out.
class CountingResource final : public Velmora::IMemoryResource
{
public:
    CountingResource(Velmora::IMemoryPool* pool, std::uint64_t size) : m_pool(pool), m_size(size)
    {
        if (size > largest)
            throw std::bad_alloc();
        m_data.reset(new std::byte[size]);
        ++made;
        ++alive;
    }

    ~CountingResource() override { --alive; }

    std::byte* data() override { return m_data.get(); }
    std::uint64_t size() const override { return m_size; }
    Velmora::IMemoryPool* pool() const override { return m_pool; }

    static inline std::atomic<int> made = 0;
    static inline std::atomic<int> alive = 0;
    static inline std::uint64_t largest = std::numeric_limits<std::uint64_t>::max();

private:
    Velmora::IMemoryPool* m_pool;
    std::uint64_t m_size;
    std::unique_ptr<std::byte[]> m_data;
};
