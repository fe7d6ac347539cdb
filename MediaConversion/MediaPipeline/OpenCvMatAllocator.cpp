#include "MediaConversion/MediaPipeline/OpenCvMatAllocator.h"

#include "MediaConversion/Errors.h"
#include "MediaConversion/MediaPipeline/Frames.h"
#include "MediaConversion/MediaPipeline/MemoryPool.h"

#include <memory>
#include <mutex>
#include <utility>

namespace Velmora {

namespace {

// The step by which callers of an allocator leave a dimension open: CV_AUTOSTEP of OpenCV's C
// interface. cv::Mat::AUTO_STEP, for callers of cv::Mat, is another number.
constexpr std::size_t automaticStep = 0x7fffffff;

// As CV_Assert does, but with the place that callers know the allocator by.
void require(bool holds, const char* condition, const char* function, int line)
{
    if (!holds)
        cv::error(cv::Error::StsAssert, condition, function,
                  "MediaConversion/MediaPipeline/OpenCvMatAllocator", line);
}

}

OpenCvMatAllocator::OpenCvMatAllocator(std::shared_ptr<IMemoryPool> pool) : m_pool(std::move(pool))
{
}

bool OpenCvMatAllocator::allocate(cv::UMatData* data, AccessFlag, cv::UMatUsageFlags) const
{
    return data != nullptr;
}

cv::UMatData* OpenCvMatAllocator::allocate(int dims, const int* sizes, int type, void* data,
                                           std::size_t* step, AccessFlag accessFlags,
                                           cv::UMatUsageFlags usageFlags) const
{
    const auto lender = pool();
    if (!lender)
        return cv::Mat::getStdAllocator()->allocate(dims, sizes, type, data, step, accessFlags,
                                                    usageFlags);

    std::size_t total = CV_ELEM_SIZE(type);
    for (int i = dims - 1; i >= 0; --i) {
        if (step) {
            if (data && step[i] != automaticStep) {
                require(total <= step[i], "total <= step[i]",
                        "Velmora::OpenCvMatAllocator::allocate", __LINE__);
                total = step[i];
            } else {
                step[i] = total;
            }
        }
        total *= static_cast<std::size_t>(sizes[i]);
    }

    auto matrixData = std::make_unique<cv::UMatData>(this);
    matrixData->size = total;
    if (data) {
        matrixData->data = matrixData->origdata = static_cast<uchar*>(data);
        matrixData->flags |= cv::UMatData::USER_ALLOCATED;
        return matrixData.release();
    }

    IMemoryResource* const resource = lender->acquire(total);
    matrixData->data = matrixData->origdata = reinterpret_cast<uchar*>(resource->data());
    try {
        const std::lock_guard lock(m_loansMutex);
        m_loans.insert_or_assign(matrixData->origdata, Loan{lender, resource});
    } catch (...) {
        lender->release(resource);
        throw;
    }
    return matrixData.release();
}

void OpenCvMatAllocator::deallocate(cv::UMatData* data) const
{
    if (!data)
        return;
    require(data->urefcount == 0, "u->urefcount == 0", "Velmora::OpenCvMatAllocator::deallocate",
            __LINE__);
    require(data->refcount == 0, "u->refcount == 0", "Velmora::OpenCvMatAllocator::deallocate",
            __LINE__);
    if (!(data->flags & cv::UMatData::USER_ALLOCATED)) {
        decltype(m_loans)::node_type
            loan;  // outlives the lock: the pool may die with its last loan
        {
            const std::lock_guard lock(m_loansMutex);
            loan = m_loans.extract(data->origdata);
            if (loan)
                loan.mapped().pool->release(
                    loan.mapped().resource);  // takes the pool's mutex second
        }
        data->origdata = nullptr;
        data->data = nullptr;
    }
    delete data;
}

void OpenCvMatAllocator::setPool(std::shared_ptr<IMemoryPool> pool)
{
    const std::lock_guard lock(m_loansMutex);
    m_pool.swap(pool);  // the replaced pool may die with the parameter, when the lock is gone
}

std::shared_ptr<IMemoryPool> OpenCvMatAllocator::pool() const
{
    const std::lock_guard lock(m_loansMutex);
    return m_pool;
}

namespace {

// What is installed process-wide. Never destroyed: matrices may outlive every static object. There
// is one allocator for all pools, as OpenCV hands its address to other threads without a lock.
struct Installation
{
    std::shared_ptr<IMemoryPool> pool;
    bool isForFramesAlone = false;
    OpenCvMatAllocator allocator{nullptr};
    std::mutex mutex;
};

Installation& installation()
{
    static Installation& installed = *new Installation;
    return installed;
}

}

namespace {

// Other threads read OpenCV's pointer without a lock: it is not written where it stays.
void setDefaultAllocator(cv::MatAllocator* allocator)
{
    if (cv::Mat::getDefaultAllocator() != allocator)
        cv::Mat::setDefaultAllocator(allocator);
}

}

void ImageFrame::setMemoryPool(std::shared_ptr<IMemoryPool> pool)
{
    auto& installed = installation();
    std::shared_ptr<IMemoryPool> replaced;  // outlives the lock: the pool may die here
    const std::lock_guard lock(installed.mutex);
    replaced = std::exchange(installed.pool, std::move(pool));
    installed.allocator.setPool(installed.pool);
    installed.isForFramesAlone = false;
    // Not null, which OpenCV 4 would call at the next matrix.
    setDefaultAllocator(installed.pool ? &installed.allocator : cv::Mat::getStdAllocator());
}

void ImageFrame::setFramePool(std::shared_ptr<IMemoryPool> pool)
{
    auto& installed = installation();
    std::shared_ptr<IMemoryPool> replaced;  // outlives the lock: the pool may die here
    const std::lock_guard lock(installed.mutex);
    replaced = std::exchange(installed.pool, std::move(pool));
    installed.allocator.setPool(installed.pool);
    installed.isForFramesAlone = true;
    if (cv::Mat::getDefaultAllocator() == &installed.allocator)
        setDefaultAllocator(cv::Mat::getStdAllocator());
}

std::shared_ptr<IMemoryPool> ImageFrame::memoryPool()
{
    auto& installed = installation();
    const std::lock_guard lock(installed.mutex);
    if (!installed.pool)
        MediaConversion::fail("ImageFrame has no memory pool - did you forget to set it?");
    return installed.pool;
}

cv::Mat frameMatrix(int rows, int columns, int cvType)
{
    cv::Mat matrix;
    auto& installed = installation();
    if (const std::lock_guard lock(installed.mutex); installed.isForFramesAlone)
        matrix.allocator = &installed.allocator;
    matrix.create(rows, columns, cvType);
    return matrix;
}

}
