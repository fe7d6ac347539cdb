#pragma once

#include "MediaConversion/MediaPipeline/Frames.h"
#include "MediaConversion/MediaPipeline/HostMemoryResource.h"
#include "MediaConversion/MediaPipeline/MemoryPool.h"

#include <memory>
#include <utility>

// Installs a pool for a test's scope and takes it away again at its end, so that no test sees the
// pool of another.
class InstalledPool
{
public:
    InstalledPool()
        : InstalledPool(
              std::make_shared<Velmora::SelfPruningMemoryPool<Velmora::HostMemoryResource>>())
    {
    }

    explicit InstalledPool(std::shared_ptr<Velmora::IMemoryPool> pool) : m_pool(std::move(pool))
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
