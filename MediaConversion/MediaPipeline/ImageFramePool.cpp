#include "MediaConversion/Errors.h"
#include "MediaConversion/MediaPipeline/ImageFrame.h"
#include "MediaConversion/MediaPipeline/OpenCvMatAllocator.h"

#include <memory>
#include <mutex>
#include <utility>

namespace Velmora {

namespace {

// What is installed process-wide. Never destroyed: matrices may outlive every static object. There
// is one allocator for all pools, as OpenCV hands its address to other threads without a lock.
struct Installation
{
    std::shared_ptr<IMemoryPool> pool;
    OpenCvMatAllocator allocator{nullptr};
    std::mutex mutex;
};

Installation& installation()
{
    static Installation& installed = *new Installation;
    return installed;
}

}

void ImageFrame::setMemoryPool(std::shared_ptr<IMemoryPool> pool)
{
    auto& installed = installation();
    std::shared_ptr<IMemoryPool> replaced;  // outlives the lock: the pool may die here
    const std::lock_guard lock(installed.mutex);
    replaced = std::exchange(installed.pool, std::move(pool));
    installed.allocator.setPool(installed.pool);
    // Not null, which OpenCV 4 would call at the next matrix.
    cv::MatAllocator* const allocator =
        installed.pool ? &installed.allocator : cv::Mat::getStdAllocator();
    // Other threads read OpenCV's pointer without a lock: it is not written where it stays.
    if (cv::Mat::getDefaultAllocator() != allocator)
        cv::Mat::setDefaultAllocator(allocator);
}

std::shared_ptr<IMemoryPool> ImageFrame::memoryPool()
{
    auto& installed = installation();
    const std::lock_guard lock(installed.mutex);
    if (!installed.pool)
        MediaConversion::fail("ImageFrame has no memory pool - did you forget to set it?");
    return installed.pool;
}

}
