#include "MediaConversion/MediaPipeline/Formats.h"
#include "MediaConversion/MediaPipeline/FullFrame.h"
#include "tests/MediaPipeline/CountingResource.h"
#include "tests/support/ExpectError.h"
#include "tests/support/InstalledPool.h"

#include <gtest/gtest.h>
#include <opencv2/core.hpp>

#include <algorithm>
#include <thread>
#include <vector>

namespace Velmora {
namespace {

std::shared_ptr<IMemoryPool> newPool()
{
    return std::make_shared<SelfPruningMemoryPool<CountingResource>>();
}

TEST(ImageFramePool, isAskedForInVainWhenNoneIsInstalled)
{
    const auto ask = [] { ImageFrame::memoryPool(); };
    const char* const text = "ImageFrame has no memory pool - did you forget to set it?";
    expectError<std::runtime_error>(text, ask);
    {
        const InstalledPool installed;
        EXPECT_EQ(ImageFrame::memoryPool(), installed.pool());
    }
    expectError<std::runtime_error>(text, ask);
}

TEST(ImageFramePool, servesEveryMatrixOfTheProcess)
{
    const InstalledPool installed(newPool());
    const IMemoryPool& pool = *installed.pool();
    {
        const FullFrame frame(Formats::BGRA_F32(), 64, 32);
        EXPECT_EQ(pool.count(), 1u);
        cv::Mat copy = frame.image().clone();
        EXPECT_EQ(pool.count(), 2u);
        const cv::Mat part = copy(cv::Rect(1, 1, 5, 5));
        const cv::Mat empty;
        uchar callers[12];
        const cv::Mat over(2, 2, CV_8UC3, callers);
        EXPECT_EQ(pool.count(), 2u);
        copy.release();
        EXPECT_NE(installed.pool()->acquire(64 * 32 * 16)->data(),
                  reinterpret_cast<const std::byte*>(part.datastart));  // still lent to the part
    }
    EXPECT_EQ(pool.count(), 3u);
    const cv::Mat first(32, 64, CV_32FC4);
    const cv::Mat second(32, 64, CV_32FC4);
    EXPECT_EQ(pool.count(), 3u);
}

TEST(ImageFramePool, leavesOpenCvAsItWas)
{
    cv::Mat outside(4, 4, CV_8UC1, cv::Scalar(7));
    cv::Mat within;
    {
        const InstalledPool installed(newPool());
        within.create(4, 4, CV_8UC1);
        outside.release();  // belongs to OpenCV's own allocator
        EXPECT_EQ(installed.pool()->count(), 1u);
    }
    EXPECT_EQ(cv::Mat::getDefaultAllocator(), cv::Mat::getStdAllocator());
    const cv::Mat after(4, 4, CV_8UC1, cv::Scalar(9));
    EXPECT_EQ(CountingResource::alive, 1);
    ImageFrame::setMemoryPool(nullptr);  // once more does no harm
    within.setTo(1);
    within.release();
    EXPECT_EQ(CountingResource::alive, 0);
}

TEST(ImageFramePool, livesAsLongAsOneOfItsMatrices)
{
    std::weak_ptr<IMemoryPool> firstPool;
    std::weak_ptr<IMemoryPool> secondPool;
    cv::Mat ofFirst;
    cv::Mat ofSecond;
    {
        auto pool = newPool();
        firstPool = pool;
        const InstalledPool installed(std::move(pool));
        ofFirst = cv::Mat(8, 8, CV_8UC4, cv::Scalar::all(1));
        auto replacement = newPool();
        secondPool = replacement;
        ImageFrame::setMemoryPool(std::move(replacement));
        ofSecond = cv::Mat(8, 8, CV_8UC4, cv::Scalar::all(2));
        EXPECT_EQ(secondPool.lock()->count(), 1u);
        EXPECT_EQ(ImageFrame::memoryPool(), secondPool.lock());

        cv::Mat again = ofFirst.clone();
        EXPECT_EQ(firstPool.lock()->count(), 1u);
        EXPECT_EQ(secondPool.lock()->count(), 2u);
    }
    EXPECT_EQ(cv::countNonZero(ofFirst.reshape(1) != 1), 0);
    EXPECT_FALSE(firstPool.expired());
    ofFirst.release();
    EXPECT_TRUE(firstPool.expired());
    EXPECT_FALSE(secondPool.expired());
    ofSecond.create(9, 9, CV_8UC4);  // by OpenCV's own allocator
    EXPECT_TRUE(secondPool.expired());
    EXPECT_EQ(CountingResource::alive, 0);
}

TEST(ImageFramePool, diesWhenReplacedWithoutMatrices)
{
    auto pool = newPool();
    const std::weak_ptr<IMemoryPool> watched = pool;
    ImageFrame::setMemoryPool(std::move(pool));
    cv::Mat(8, 8, CV_8UC4).release();
    const InstalledPool replacement;
    EXPECT_TRUE(watched.expired());
}

TEST(ImageFramePool, mayBeReplacedWhileThreadsAllocate)
{
    std::atomic<int> spoiled = 0;
    std::atomic<bool> swapping = true;
    std::vector<std::weak_ptr<IMemoryPool>> pools;
    const InstalledPool installed;
    {
        std::vector<std::jthread> threads;
        for (int number = 1; number <= 3; ++number)
            threads.emplace_back([&, number] {
                cv::Mat kept;
                while (swapping) {
                    cv::Mat image(16, 16, CV_8UC1);
                    std::fill_n(image.data, 256, static_cast<uchar>(number));
                    spoiled += std::count(image.data, image.data + 256, number) != 256;
                    kept = image;  // outlives the pool that was installed when it was made
                }
            });
        for (int swap = 0; swap < 300; ++swap) {
            auto pool = swap % 5 ? newPool() : nullptr;
            pools.push_back(pool);
            ImageFrame::setMemoryPool(std::move(pool));
            std::this_thread::yield();
        }
        swapping = false;
    }
    ImageFrame::setMemoryPool(nullptr);
    EXPECT_EQ(spoiled, 0);
    EXPECT_TRUE(std::ranges::all_of(pools, [](const auto& pool) { return pool.expired(); }));
    EXPECT_EQ(CountingResource::alive, 0);
}

}
}
