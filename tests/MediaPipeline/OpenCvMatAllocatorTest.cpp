#include "MediaConversion/MediaPipeline/OpenCvMatAllocator.h"

#include "MediaConversion/Converters/ImageProcessors.h"
#include "MediaConversion/MediaPipeline/Formats.h"
#include "MediaConversion/MediaPipeline/Frames.h"
#include "MediaConversion/MediaPipeline/MemoryPool.h"
#include "tests/MediaPipeline/Fakes.h"
#include "tests/support/InstalledPool.h"

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

using testing::Return;
using testing::StrictMock;
using testing::Throw;

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

    static void expectAssertion(const char* text, const std::string& function,
                                const std::function<void()>& operation)
    {
        try {
            operation();
            ADD_FAILURE() << text << " was not asserted";
        } catch (const cv::Exception& exception) {
            EXPECT_EQ(exception.code, -215);
            EXPECT_EQ(exception.err, text);
            EXPECT_EQ(exception.func, "Velmora::OpenCvMatAllocator::" + function);
            EXPECT_EQ(exception.file, "MediaConversion/MediaPipeline/OpenCvMatAllocator");
        }
    }

    void expectData(const cv::UMatData& data, const void* bytes, std::size_t size, bool ofCaller)
    {
        EXPECT_EQ(data.data, bytes);
        EXPECT_EQ(data.origdata, bytes);
        EXPECT_EQ(data.size, size);
        EXPECT_EQ((data.flags & 32) != 0, ofCaller);
        EXPECT_EQ(data.currAllocator, &m_allocator);
    }

    std::shared_ptr<StrictMock<MockPool>> m_pool = std::make_shared<StrictMock<MockPool>>();
    OpenCvMatAllocator m_allocator{m_pool};
    CountingResource m_resource{nullptr, 4096};  // larger than any matrix here
};

TEST_F(OpenCvMatAllocatorTest, lendsBlocksOfThePool)
{
    const auto expectLoan = [&](const std::vector<int>& sizes, int type,
                                const std::vector<std::size_t>& steps, std::size_t total) {
        EXPECT_CALL(*m_pool, acquire(total)).Times(2).WillRepeatedly(Return(&m_resource));
        EXPECT_CALL(*m_pool, release(&m_resource)).Times(2);
        std::vector<std::size_t> filled(sizes.size(), 1);  // of no account without caller data
        cv::UMatData* const data = allocate(sizes, type, nullptr, filled.data());
        EXPECT_EQ(filled, steps);
        expectData(*data, m_resource.data(), total, false);  // not the 4096 that were lent
        m_allocator.deallocate(data);
        m_allocator.deallocate(allocate(sizes, type));
    };
    expectLoan({4, 3}, CV_8UC(9), {27, 9}, 108);
    expectLoan({2, 3, 5}, CV_32FC1, {60, 20, 4}, 120);
    expectLoan({0, 5}, CV_16UC1, {10, 2}, 0);
    EXPECT_CALL(*m_pool, acquire(8)).WillOnce(Throw(std::bad_alloc()));
    EXPECT_THROW(allocate({2, 4}, CV_8UC1), std::bad_alloc);
}

TEST_F(OpenCvMatAllocatorTest, leavesCallerDataToTheCaller)
{
    uchar callers[200];
    const auto expectSteps = [&](const std::vector<int>& sizes, std::vector<std::size_t> given,
                                 const std::vector<std::size_t>& steps, std::size_t total) {
        cv::UMatData* const data = allocate(sizes, CV_8UC3, callers, given.data());
        EXPECT_EQ(given, steps);
        expectData(*data, callers, total, true);
        m_allocator.deallocate(data);  // the pool is not asked
    };
    expectSteps({3, 4}, {open, open}, {12, 3}, 36);
    expectSteps({3, 4}, {12, 3}, {12, 3}, 36);
    expectSteps({3, 4}, {20, open}, {20, 3}, 60);
    expectSteps({3, 4}, {open, 5}, {20, 5}, 60);
    expectSteps({2, 3, 4}, {open, 16, open}, {48, 16, 3}, 96);
    for (std::vector<std::size_t> steps : {std::vector<std::size_t>{11, open}, {open, 2}})
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
        const InstalledPool installed(newCountingPool());
        const auto pool = ImageFrame::memoryPool();
        EXPECT_EQ(pool, installed.pool());
        const FullFrame frame(Formats::BGRA_F32(), 64, 32);
        EXPECT_EQ(pool->count(), 1u);
        cv::Mat copy = frame.image().clone();
        const cv::Mat part = copy(cv::Rect(1, 1, 5, 5));
        copy.release();
        EXPECT_NE(pool->acquire(1)->data(), reinterpret_cast<const std::byte*>(part.datastart));
        EXPECT_EQ(pool->count(), 3u);  // as the part still has its block
        outside.release();             // belongs to OpenCV's own allocator
    }
    EXPECT_EQ(cv::Mat::getDefaultAllocator(), cv::Mat::getStdAllocator());
    expectFailure("ImageFrame has no memory pool - did you forget to set it?",
                  [] { ImageFrame::memoryPool(); });
}

// OpenCV's pointer to it has no lock, and other threads read it for every matrix.
TEST(ImageFramePool, setsOpenCvsAllocatorOnlyWhereItIsAnother)
{
    const int before = defaultAllocatorsSet;
    ImageFrame::setMemoryPool(nullptr);
    EXPECT_EQ(defaultAllocatorsSet - before, 0);
    for (int swap = 0; swap < 3; ++swap)
        ImageFrame::setMemoryPool(newCountingPool());
    EXPECT_EQ(defaultAllocatorsSet - before, 1);
    auto* const ours = cv::Mat::getDefaultAllocator();
    OpenCvMatAllocator ofTheHost{nullptr};
    for (const auto& pool : {ImageFrame::memoryPool(), std::shared_ptr<IMemoryPool>()}) {
        cv::Mat::setDefaultAllocator(&ofTheHost);
        ImageFrame::setMemoryPool(pool);
        EXPECT_EQ(cv::Mat::getDefaultAllocator(), pool ? ours : cv::Mat::getStdAllocator());
    }
}

TEST(ImageFramePool, livesAsLongAsOneOfItsMatrices)
{
    std::weak_ptr<IMemoryPool> firstPool, secondPool;
    cv::Mat ofFirst, ofSecond;
    {
        const InstalledPool installed;
        ImageFrame::setMemoryPool(newCountingPool());
        firstPool = ImageFrame::memoryPool();
        ofFirst = cv::Mat(8, 8, CV_8UC1, cv::Scalar(1));
        ImageFrame::setMemoryPool(newCountingPool());
        secondPool = ImageFrame::memoryPool();
        ofSecond = ofFirst.clone();
        EXPECT_EQ(firstPool.lock()->count(), 1u);
        EXPECT_EQ(secondPool.lock()->count(), 1u);
    }
    EXPECT_EQ(cv::countNonZero(ofFirst == 1), 64);
    EXPECT_FALSE(firstPool.expired());
    ofFirst.release();
    EXPECT_TRUE(firstPool.expired());
    EXPECT_FALSE(secondPool.expired());
    ofSecond.create(9, 9, CV_8UC4);  // by OpenCV's own allocator
    EXPECT_TRUE(secondPool.expired());
}

TEST(ImageFramePool, mayBeReplacedWhileThreadsConvert)
{
    std::atomic<int> spoiled = 0;
    std::atomic<bool> swapping = true;
    std::vector<std::weak_ptr<IMemoryPool>> pools;
    const InstalledPool installed;
    {
        std::vector<std::jthread> threads;
        for (int number = 1; number <= 3; ++number)
            threads.emplace_back([&, number] {
                MediaConversion::ImageColourspace toBgra(Formats::BGRA_U8());
                cv::Mat kept;
                while (swapping) {
                    try {
                        PooledBuffer(ImageFrame::memoryPool(), 1);
                    } catch (const std::runtime_error&) {
                        // There is none now and then.
                    }
                    const cv::Mat image(16, 16, CV_8UC3, cv::Scalar::all(number));
                    const auto frame = toBgra.onNewImage(
                        std::make_shared<FullFrame>(Formats::RGB_U8(), image.clone()));
                    // It outlives the pool that was installed when it was made.
                    kept = dynamic_cast<const FullFrame&>(*frame).image();
                    spoiled += std::count(kept.data, kept.data + 4 * 256, number) != 3 * 256;
                }
            });
        for (int swap = 0; swap < 300; ++swap) {
            auto pool =
                swap % 5 ? std::make_shared<SelfPruningMemoryPool<HostMemoryResource>>() : nullptr;
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
