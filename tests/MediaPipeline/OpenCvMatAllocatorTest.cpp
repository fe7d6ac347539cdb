#include "MediaConversion/MediaPipeline/OpenCvMatAllocator.h"

#include "MediaConversion/MediaPipeline/HostMemoryResource.h"
#include "MediaConversion/MediaPipeline/SelfPruningMemoryPool.h"

#include <gmock/gmock.h>
#include <opencv2/core.hpp>

#include <numeric>
#include <vector>

namespace Velmora {
namespace {

using testing::ElementsAreArray;
using testing::Return;
using testing::StrictMock;
using testing::Throw;

constexpr std::size_t open = 0x7fffffff;  // a step that OpenCV leaves to the allocator

class MockResource final : public IMemoryResource
{
public:
    explicit MockResource(std::uint64_t size) : m_bytes(size) {}

    std::byte* data() override { return m_bytes.data(); }
    std::uint64_t size() const override { return m_bytes.size(); }
    IMemoryPool* pool() const override { return nullptr; }

private:
    std::vector<std::byte> m_bytes;
};

class MockPool : public IMemoryPool
{
public:
    MOCK_METHOD(IMemoryResource*, acquire, (std::uint64_t), (override));
    MOCK_METHOD(void, release, (IMemoryResource*), (override));
    MOCK_METHOD(std::uint64_t, count, (), (const, override));
};

// Every call of the pool has to be expected.
class OpenCvMatAllocatorTest : public testing::Test
{
protected:
    cv::UMatData* allocate(const std::vector<int>& sizes, int type, void* data, std::size_t* step)
    {
        return m_allocator.allocate(static_cast<int>(sizes.size()), sizes.data(), type, data, step,
                                    cv::ACCESS_RW, cv::USAGE_DEFAULT);
    }

    static void expectAssertion(const char* text, const char* function,
                                const std::function<void()>& operation)
    {
        try {
            operation();
        } catch (const cv::Exception& exception) {
            EXPECT_EQ(exception.code, -215);
            EXPECT_EQ(exception.err, text);
            EXPECT_EQ(exception.func, function);
            EXPECT_EQ(exception.file, "MediaConversion/MediaPipeline/OpenCvMatAllocator");
            return;
        }
        ADD_FAILURE() << text << " was not asserted";
    }

    std::shared_ptr<StrictMock<MockPool>> m_pool = std::make_shared<StrictMock<MockPool>>();
    OpenCvMatAllocator m_allocator{m_pool};
    MockResource m_resource{4096};  // larger than any matrix here
};

TEST_F(OpenCvMatAllocatorTest, lendsBlocksOfThePool)
{
    struct Case
    {
        std::vector<int> sizes;
        int type;
        std::vector<std::size_t> steps;
        std::size_t total;
    };
    for (const auto& [sizes, type, steps, total] : {
             Case{{3, 4}, CV_8UC3, {12, 3}, 36},
             Case{{4, 3}, CV_8UC(9), {27, 9}, 108},
             Case{{1, 1}, CV_32FC4, {16, 16}, 16},
             Case{{2, 3, 5}, CV_32FC1, {60, 20, 4}, 120},
             Case{{7}, CV_64FC2, {16}, 112},
             Case{{0, 5}, CV_16UC1, {10, 2}, 0},
         }) {
        EXPECT_CALL(*m_pool, acquire(total)).Times(2).WillRepeatedly(Return(&m_resource));
        EXPECT_CALL(*m_pool, release(&m_resource)).Times(2);
        std::vector<std::size_t> filled(sizes.size(), 1);  // of no account without caller data
        cv::UMatData* const data = allocate(sizes, type, nullptr, filled.data());
        EXPECT_THAT(filled, ElementsAreArray(steps));
        EXPECT_EQ(data->data, reinterpret_cast<uchar*>(m_resource.data()));
        EXPECT_EQ(data->origdata, data->data);
        EXPECT_EQ(data->size, total);  // not the 4096 that were lent
        EXPECT_EQ(data->currAllocator, &m_allocator);
        EXPECT_FALSE(data->flags & cv::UMatData::USER_ALLOCATED);
        m_allocator.deallocate(data);
        m_allocator.deallocate(allocate(sizes, type, nullptr, nullptr));
    }
}

TEST_F(OpenCvMatAllocatorTest, leavesCallerDataToTheCaller)
{
    struct Case
    {
        std::vector<int> sizes;
        std::vector<std::size_t> given, steps;
        std::size_t total;
    };
    std::vector<uchar> callers(1000);
    std::iota(callers.begin(), callers.end(), uchar{0});
    const auto before = callers;
    for (const auto& [sizes, given, steps, total] : {
             Case{{3, 4}, {open, open}, {12, 3}, 36},
             Case{{3, 4}, {20, open}, {20, 3}, 60},
             Case{{3, 4}, {12, 3}, {12, 3}, 36},
             Case{{3, 4}, {open, 5}, {20, 5}, 60},
             Case{{2, 3, 4}, {open, 16, open}, {48, 16, 3}, 96},
             Case{{2, 3, 4}, {90, open, open}, {90, 12, 3}, 180},
             Case{{3, 4}, {}, {}, 36},
         }) {
        auto filled = given;
        cv::UMatData* const data =
            allocate(sizes, CV_8UC3, callers.data(), filled.empty() ? nullptr : filled.data());
        EXPECT_THAT(filled, ElementsAreArray(steps));
        EXPECT_EQ(data->data, callers.data());
        EXPECT_EQ(data->origdata, callers.data());
        EXPECT_EQ(data->size, total);
        EXPECT_EQ(data->flags & 32, 32);
        EXPECT_EQ(data->currAllocator, &m_allocator);
        m_allocator.deallocate(data);  // the pool is not asked
    }
    EXPECT_EQ(callers, before);
}

TEST_F(OpenCvMatAllocatorTest, assertsThatCallersStepsAreLongEnough)
{
    uchar callers[100];
    for (std::vector<std::size_t> steps :
         {std::vector<std::size_t>{11, open}, {open, 2}, {35, 12, 3}, {48, 11, open}}) {
        const std::vector<int> sizes = steps.size() == 2 ? std::vector{3, 4} : std::vector{2, 3, 4};
        expectAssertion("total <= step[i]", "Velmora::OpenCvMatAllocator::allocate",
                        [&] { allocate(sizes, CV_8UC3, callers, steps.data()); });
    }
}

TEST_F(OpenCvMatAllocatorTest, assertsThatNobodyUsesWhatItDeallocates)
{
    EXPECT_CALL(*m_pool, acquire(1)).WillOnce(Return(&m_resource));
    cv::UMatData* const data = allocate({1, 1}, CV_8UC1, nullptr, nullptr);
    struct Case
    {
        int urefcount, refcount;
        const char* text;
    };
    for (const auto& [urefcount, refcount, text] :
         {Case{1, 1, "u->urefcount == 0"}, Case{1, 0, "u->urefcount == 0"},
          Case{0, 1, "u->refcount == 0"}}) {
        data->urefcount = urefcount;
        data->refcount = refcount;
        expectAssertion(text, "Velmora::OpenCvMatAllocator::deallocate",
                        [&] { m_allocator.deallocate(data); });
    }
    data->refcount = 0;
    EXPECT_CALL(*m_pool, release(&m_resource));
    m_allocator.deallocate(data);
}

TEST_F(OpenCvMatAllocatorTest, takesBufferOnlyRequestsWithoutMemory)
{
    cv::UMatData data(&m_allocator);
    EXPECT_TRUE(m_allocator.allocate(&data, cv::ACCESS_RW, cv::USAGE_DEFAULT));
    EXPECT_EQ(data.data, nullptr);
    EXPECT_FALSE(m_allocator.allocate(nullptr, cv::ACCESS_RW, cv::USAGE_DEFAULT));
    m_allocator.deallocate(nullptr);
}

TEST_F(OpenCvMatAllocatorTest, keepsTheLatestRecordOfAnAddress)
{
    // Two resources with one block, as no sane pool lends them.
    struct Alias final : IMemoryResource
    {
        explicit Alias(IMemoryResource& aliased) : resource(aliased) {}
        std::byte* data() override { return resource.data(); }
        std::uint64_t size() const override { return resource.size(); }
        IMemoryPool* pool() const override { return nullptr; }
        IMemoryResource& resource;
    } alias(m_resource);
    EXPECT_CALL(*m_pool, acquire(8)).WillOnce(Return(&m_resource)).WillOnce(Return(&alias));
    EXPECT_CALL(*m_pool, release(&alias));
    cv::UMatData* const first = allocate({2, 4}, CV_8UC1, nullptr, nullptr);
    cv::UMatData* const second = allocate({2, 4}, CV_8UC1, nullptr, nullptr);
    m_allocator.deallocate(first);
    m_allocator.deallocate(second);  // no longer on record, which is ignored
}

TEST_F(OpenCvMatAllocatorTest, passesAPoolsFailureOn)
{
    EXPECT_CALL(*m_pool, acquire(8)).WillOnce(Throw(std::bad_alloc()));
    EXPECT_THROW(allocate({2, 4}, CV_8UC1, nullptr, nullptr), std::bad_alloc);
}

TEST_F(OpenCvMatAllocatorTest, whenRetiredLendsOpenCvsOwnMemoryAndReturnsWhatItLent)
{
    EXPECT_CALL(*m_pool, acquire(8)).WillOnce(Return(&m_resource));
    cv::UMatData* const lent = allocate({2, 4}, CV_8UC1, nullptr, nullptr);
    m_allocator.setPool(nullptr);

    std::size_t steps[2] = {1, 1};
    cv::UMatData* const plain = allocate({2, 4}, CV_16UC1, nullptr, steps);
    EXPECT_THAT(steps, ElementsAreArray({8, 2}));
    EXPECT_EQ(plain->currAllocator, cv::Mat::getStdAllocator());
    plain->currAllocator->deallocate(plain);

    EXPECT_CALL(*m_pool, release(&m_resource));
    m_allocator.deallocate(lent);
    EXPECT_EQ(m_pool.use_count(), 1);
}

}
}
