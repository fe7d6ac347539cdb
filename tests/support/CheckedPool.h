#pragma once

#include "MediaConversion/MediaPipeline/MemoryPool.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <stdexcept>

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
