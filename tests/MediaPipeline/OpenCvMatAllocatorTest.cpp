#include "MediaConversion/MediaPipeline/OpenCvMatAllocator.h"

#include "MediaConversion/MediaPipeline/Formats.h"
#include "MediaConversion/MediaPipeline/Frames.h"
#include "MediaConversion/MediaPipeline/MemoryPool.h"
#include "tests/MediaPipeline/Fakes.h"
#include "tests/support/Pools.h"

#include <dlfcn.h>
#include <opencv2/core.hpp>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

// How often OpenCV's default allocator has been written.
static std::atomic<int> defaultAllocatorsSet = 0;

// Stands before OpenCV's own, which it calls.
void cv::Mat::setDefaultAllocator(cv::MatAllocator* allocator)
{
    static const auto ofOpenCv = reinterpret_cast<void (*)(cv::MatAllocator*)>(
        ::dlsym(RTLD_NEXT, "_ZN2cv3Mat19setDefaultAllocatorEPNS_12MatAllocatorE"));
    ++defaultAllocatorsSet;
    ofOpenCv(allocator);
}

namespace Velmora {
namespace {

using namespace testing;

constexpr std::size_t open = 0x7fffffff;  // a step that OpenCV leaves to the allocator

// Every call of the pool has to be expected.
class OpenCvMatAllocatorTest : public testing::Test
{
protected:
    cv::UMatData* allocate(const std::vector<int>& sizes, int type, void* data = nullptr,
                           std::size_t* step = nullptr)
    {
        return m_allocator.allocate(static_cast<int>(sizes.size()), sizes.data(), type, data, step,
                                    cv::ACCESS_RW, cv::USAGE_DEFAULT);
    }

    // Deallocates what it allocates.
    void expectAllocation(const std::vector<int>& sizes, int type, std::vector<std::size_t> given,
                          const std::vector<std::size_t>& steps, std::size_t total,
                          void* callers = nullptr)
    {
        cv::UMatData* const data = allocate(sizes, type, callers, given.data());
        const void* const bytes = callers ? callers : m_resource.data();
        EXPECT_EQ(given, steps);
        EXPECT_EQ(data->data, bytes);
        EXPECT_EQ(data->origdata, bytes);
        EXPECT_EQ(data->size, total);
        EXPECT_EQ((data->flags & 32) != 0, callers != nullptr);
        EXPECT_EQ(data->currAllocator, &m_allocator);
        m_allocator.deallocate(data);
    }

    static void expectAssertion(const char* text, const std::string& function,
                                const std::function<void()>& operation)
    {
        using cv::Exception;
        EXPECT_THAT(
            operation,
            Throws<Exception>(AllOf(
                Field(&Exception::code, -215), Field(&Exception::err, text),
                Field(&Exception::func, "Velmora::OpenCvMatAllocator::" + function),
                Field(&Exception::file, "MediaConversion/MediaPipeline/OpenCvMatAllocator"))));
    }

    std::shared_ptr<StrictMock<MockPool>> m_pool = std::make_shared<StrictMock<MockPool>>();
    OpenCvMatAllocator m_allocator{m_pool};
    CountingResource m_resource{nullptr, 4096};  // larger than any matrix here
};

TEST_F(OpenCvMatAllocatorTest, lendsBlocksOfThePool)
{
    for (const std::size_t total : {108, 120, 0})
        EXPECT_CALL(*m_pool, acquire(total)).WillOnce(Return(&m_resource));
    EXPECT_CALL(*m_pool, release(&m_resource)).Times(3);
    // Steps are of no account without the caller's data.
    expectAllocation({4, 3}, CV_8UC(9), {1, 1}, {27, 9}, 108);
    expectAllocation({2, 3, 5}, CV_32FC1, {1, 1, 1}, {60, 20, 4}, 120);
    expectAllocation({0, 5}, CV_16UC1, {1, 1}, {10, 2}, 0);
    EXPECT_CALL(*m_pool, acquire(8)).WillOnce(Throw(std::bad_alloc()));
    EXPECT_THROW(allocate({2, 4}, CV_8UC1), std::bad_alloc);
}

TEST_F(OpenCvMatAllocatorTest, leavesCallerDataToTheCaller)
{
    uchar callers[200];
    expectAllocation({3, 4}, CV_8UC3, {open, open}, {12, 3}, 36, callers);
    expectAllocation({3, 4}, CV_8UC3, {20, open}, {20, 3}, 60, callers);
    expectAllocation({3, 4}, CV_8UC3, {open, 5}, {20, 5}, 60, callers);
    expectAllocation({2, 3, 4}, CV_8UC3, {open, 16, open}, {48, 16, 3}, 96, callers);
    std::vector<std::size_t> steps{11, open};
    expectAssertion("total <= step[i]", "allocate", [&] {
        allocate({3, 4}, CV_8UC3, callers, steps.data());
    });
}

TEST_F(OpenCvMatAllocatorTest, assertsThatNobodyUsesWhatItDeallocates)
{
    EXPECT_CALL(*m_pool, acquire(1)).WillOnce(Return(&m_resource));
    cv::UMatData* const data = allocate({1, 1}, CV_8UC1);
    const auto expectRefusal = [&](const char* text) {
        expectAssertion(text, "deallocate", [&] { m_allocator.deallocate(data); });
    };
    data->urefcount = data->refcount = 1;
    expectRefusal("u->urefcount == 0");
    data->urefcount = 0;
    expectRefusal("u->refcount == 0");
    data->refcount = 0;
    EXPECT_CALL(*m_pool, release(&m_resource));
    m_allocator.deallocate(data);
    m_allocator.deallocate(nullptr);
    // Without memory of its own, the buffer needs none of the pool.
    cv::UMatData buffer(&m_allocator);
    EXPECT_TRUE(m_allocator.allocate(&buffer, cv::ACCESS_RW, cv::USAGE_DEFAULT));
    EXPECT_FALSE(m_allocator.allocate(nullptr, cv::ACCESS_RW, cv::USAGE_DEFAULT));
}

TEST(ImageFramePool, servesEveryMatrixOfTheProcessWhileInstalled)
{
    cv::Mat outside(4, 4, CV_8UC1);
    {
        const InstalledPool installed(newPool());
        const auto pool = ImageFrame::memoryPool();
        EXPECT_EQ(pool, installed.pool());
        const FullFrame frame(Formats::BGRA_F32(), 64, 32);
        EXPECT_EQ(pool->count(), 1u);
        const cv::Mat copy = frame.image().clone();
        EXPECT_EQ(pool->count(), 2u);
        outside.release();  // belongs to OpenCV's own allocator
    }
    EXPECT_EQ(cv::Mat::getDefaultAllocator(), cv::Mat::getStdAllocator());
    expectError("ImageFrame has no memory pool - did you forget to set it?",
                [] { ImageFrame::memoryPool(); });
}

// OpenCV's pointer to it has no lock, and other threads read it for every matrix.
TEST(ImageFramePool, setsOpenCvsAllocatorOnlyWhereItIsAnother)
{
    const int before = defaultAllocatorsSet;
    ImageFrame::setMemoryPool(nullptr);
    EXPECT_EQ(defaultAllocatorsSet - before, 0);
    for (int swap = 0; swap < 3; ++swap)
        ImageFrame::setMemoryPool(newPool());
    EXPECT_EQ(defaultAllocatorsSet - before, 1);
    auto* const ours = cv::Mat::getDefaultAllocator();
    OpenCvMatAllocator ofTheHost{nullptr};
    for (const auto& pool : {ImageFrame::memoryPool(), std::shared_ptr<IMemoryPool>()}) {
        cv::Mat::setDefaultAllocator(&ofTheHost);
        ImageFrame::setMemoryPool(pool);
        EXPECT_EQ(cv::Mat::getDefaultAllocator(), pool ? ours : cv::Mat::getStdAllocator());
    }
}

TEST(ImageFramePool, mayServeFramesAlone)
{
    const InstalledPool forAll;
    const auto pool = newPool();
    OpenCvMatAllocator ofTheHost{nullptr};
    // It takes our own allocator away from other matrices, and leaves that of others.
    for (auto* const allocator :
         {cv::Mat::getDefaultAllocator(), static_cast<cv::MatAllocator*>(&ofTheHost)}) {
        cv::Mat::setDefaultAllocator(allocator);
        ImageFrame::setFramePool(pool);
        EXPECT_EQ(cv::Mat::getDefaultAllocator(),
                  allocator == &ofTheHost ? allocator : cv::Mat::getStdAllocator());
    }
    cv::Mat::setDefaultAllocator(cv::Mat::getStdAllocator());
    ASSERT_EQ(ImageFrame::memoryPool(), pool);
    const cv::Mat matrix(8, 8, CV_8UC4);
    EXPECT_EQ(pool->count(), 0u);
    const FullFrame full(Formats::BGRA_U8(), 8, 8);
    const PackedFrame packed(Formats::ZEQ_422(), 8, 8);
    EXPECT_EQ(pool->count(), 2u);
}

TEST(ImageFramePool, livesAsLongAsOneOfItsMatrices)
{
    std::weak_ptr<IMemoryPool> pool;
    cv::Mat matrix;
    {
        const InstalledPool installed(newPool());
        pool = installed.pool();
        matrix = cv::Mat(8, 8, CV_8UC1, cv::Scalar(1));
        ImageFrame::setMemoryPool(newPool());
        const cv::Mat ofTheSecond = matrix.clone();
        EXPECT_EQ(installed.pool()->count(), 1u);
        EXPECT_EQ(ImageFrame::memoryPool()->count(), 1u);
    }
    EXPECT_EQ(cv::countNonZero(matrix == 1), 64);
    EXPECT_FALSE(pool.expired());
    matrix.create(9, 9, CV_8UC4);  // by OpenCV's own allocator
    EXPECT_TRUE(pool.expired());
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
                    try {
                        PooledBuffer(ImageFrame::memoryPool(), 1);
                    } catch (const std::runtime_error&) {
                        // There is none now and then.
                    }
                    // It outlives the pool that was installed when it was made.
                    kept = cv::Mat(16, 16, CV_8UC1, cv::Scalar(number)).clone();
                    spoiled += std::count(kept.datastart, kept.dataend, number) != 256;
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
}

}
}
