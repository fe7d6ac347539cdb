#pragma once

#include "MediaConversion/MediaPipeline/MemoryPool.h"

#include <opencv2/core/mat.hpp>

#include <cstddef>
#include <map>
#include <memory>
#include <mutex>

namespace Velmora {

// Lends OpenCV's matrices their memory from a pool. A matrix over caller data stays out of it.
class OpenCvMatAllocator final : public cv::MatAllocator
{
public:
#if CV_VERSION_MAJOR >= 4
    using AccessFlag = cv::AccessFlag;
#else
    using AccessFlag = int;
#endif

    explicit OpenCvMatAllocator(std::shared_ptr<IMemoryPool> pool);

    // Says whether there is something to allocate for; a buffer-only request needs no memory here.
    bool allocate(cv::UMatData* data, AccessFlag accessFlags,
                  cv::UMatUsageFlags usageFlags) const override;

    // Fills `step` (bytes) from the last dimension to the first where the caller left it open.
    cv::UMatData* allocate(int dims, const int* sizes, int type, void* data, std::size_t* step,
                           AccessFlag accessFlags, cv::UMatUsageFlags usageFlags) const override;

    void deallocate(cv::UMatData* data) const override;

    // Lends from another pool from now on, or, without one, hands out OpenCV's own memory. The
    // blocks of matrices that are alive go back to the pool that lent them. OpenCV keeps raw
    // pointers to an allocator in its matrices, so one that was ever installed must stay for ever.
    void setPool(std::shared_ptr<IMemoryPool> pool);

private:
    // Every record shares the pool, so that a replaced pool lives just as long as needed.
    struct Loan
    {
        std::shared_ptr<IMemoryPool> pool;
        IMemoryResource* resource;
    };

    std::shared_ptr<IMemoryPool> pool() const;

    std::shared_ptr<IMemoryPool> m_pool;
    mutable std::map<const void*, Loan> m_loans;  // by the block's start
    mutable std::mutex m_loansMutex;              // guards the pool and the loans
};

// A matrix for a frame, still to be written. It draws from a pool that serves frames alone, or is
// made by OpenCV's default allocator.
cv::Mat frameMatrix(int rows, int columns, int cvType);

}
