#include "MediaConversion/MediaPipeline/Frames.h"
#include "MediaConversion/MediaPipeline/HostMemoryResource.h"
#include "fuzz/Fuzzing.h"
#include "tests/support/Pools.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

using namespace Velmora;
using Pool = CheckedPool<HostMemoryResource>;

constexpr auto noPool = "ImageFrame has no memory pool - did you forget to set it?";
constexpr auto foreign = "Cannot release memory resource that is not a member of this memory pool";

// All that borrows from pools, which come and go, in any order.
void fuzz(FuzzedDataProvider& input)
{
    const auto anyOf = [&](auto& all) -> auto&
    {
        return all[input.ConsumeIntegral<std::uint8_t>() % all.size()];
    };
    // Copied, moved, and perhaps let go.
    const auto change = [&](auto& all) {
        auto one = anyOf(all);
        if (input.ConsumeBool())
            all.push_back(std::move(one));
        else
            std::swap(anyOf(all), one);
    };
    {
        std::shared_ptr<Pool> pool;
        std::vector<std::optional<PooledBuffer>> buffers(1);
        std::vector<cv::Mat> matrices(1);
        std::vector<IMemoryResource*> known(1);
        while (input.remaining_bytes() > 0) {
            const int length = input.ConsumeIntegralInRange(1, 64);
            const int action = input.ConsumeIntegralInRange(0, 7);
            if (action == 0) {
                pool = input.ConsumeBool() ? std::make_shared<Pool>() : nullptr;
                ImageFrame::setMemoryPool(pool);
            } else if (action == 1) {
                requireText(pool ? "" : noPool, failureOf([&] {
                                anyOf(buffers).emplace(ImageFrame::memoryPool(), length);
                            }));
            } else if (action == 2) {
                anyOf(matrices) = cv::Mat(1 + length % 3, length, CV_8U, cv::Scalar(length));
            } else if (action == 3) {
                std::uint8_t ofCaller[64];
                auto* const allocator = cv::Mat::getDefaultAllocator();
                allocator->deallocate(
                    allocator->allocate(1, &length, CV_8U, ofCaller, nullptr, {}, {}));
            } else if (action == 4) {
                change(buffers);
            } else if (action == 5) {
                change(matrices);
            } else if (action == 6 && pool) {
                pool->release(known.emplace_back(pool->acquire(length)));
            } else if (auto* const resource = anyOf(known); pool && !pool->isLent(resource)) {
                requireText(pool->owns(resource) ? "" : foreign,
                            failureOf([&] { pool->release(resource); }));
            }
        }
        ImageFrame::setMemoryPool(nullptr);
    }
    require(Pool::lent == 0);
}
