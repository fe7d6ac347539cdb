#include "MediaConversion/Errors.h"
#include "MediaConversion/MediaPipeline/ImageFrame.h"
#include "MediaConversion/MediaPipeline/OpenCvMatAllocator.h"

#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace Velmora {

namespace {

// What is installed process-wide. Never destroyed: matrices may outlive every static object.
struct Installation
{
    std::shared_ptr<IMemoryPool> pool;
    std::vector<std::unique_ptr<OpenCvMatAllocator>> allocators;  // the last one is in use
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
    if (!installed.allocators.empty())
        installed.allocators.back()->retire();
    if (!installed.pool) {
        // Not null, which OpenCV 4 would call at the next matrix.
        cv::Mat::setDefaultAllocator(cv::Mat::getStdAllocator());
        return;
    }
    installed.allocators.push_back(std::make_unique<OpenCvMatAllocator>(installed.pool));
    cv::Mat::setDefaultAllocator(installed.allocators.back().get());
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
