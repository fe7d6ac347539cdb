#pragma once

#include "MediaConversion/MediaPipeline/FrameFlow.h"
#include "MediaConversion/MediaPipeline/MemoryPool.h"
#include "tests/support/ExpectError.h"

#include <gmock/gmock.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <stdexcept>
#include <string_view>
#include <utility>

// Expects the kind of error with which nearly all of the pipeline fails.
template <class Operation>
void expectFailure(std::string_view text, Operation&& operation)
{
    expectError<std::runtime_error>(text, operation);
}

// A memory resource that counts how many of its kind are alive in the process, and whose heap can
// be made to run out.
class CountingResource : public Velmora::IMemoryResource
{
public:
    CountingResource(Velmora::IMemoryPool* pool, std::uint64_t size) : m_pool(pool), m_size(size)
    {
        if (size > largest)
            throw std::bad_alloc();
        m_data.reset(new std::byte[size]);
        ++alive;
    }

    ~CountingResource() override { --alive; }

    std::byte* data() override { return m_data.get(); }
    std::uint64_t size() const override { return m_size; }
    Velmora::IMemoryPool* pool() const override { return m_pool; }

    static inline std::atomic<int> alive = 0;
    static inline std::uint64_t largest = UINT64_MAX;

private:
    Velmora::IMemoryPool* m_pool;
    std::uint64_t m_size;
    std::unique_ptr<std::byte[]> m_data;
};

inline std::shared_ptr<Velmora::IMemoryPool> newCountingPool()
{
    return std::make_shared<Velmora::SelfPruningMemoryPool<CountingResource>>();
}

class MockPool : public Velmora::IMemoryPool
{
public:
    MOCK_METHOD(Velmora::IMemoryResource*, acquire, (std::uint64_t), (override));
    MOCK_METHOD(void, release, (Velmora::IMemoryResource*), (override));
    MOCK_METHOD(std::uint64_t, count, (), (const, override));
};

// A frame of any kind whose end can be watched through `life`.
template <class Kind>
class WatchedFrame : public Kind
{
public:
    explicit WatchedFrame(Velmora::FrameFormat format, std::weak_ptr<int>* life = nullptr)
        : m_format(std::move(format))
    {
        if (life)
            *life = m_life;
    }

    const Velmora::FrameFormat& format() const override { return m_format; }

private:
    Velmora::FrameFormat m_format;
    std::shared_ptr<int> m_life = std::make_shared<int>();
};

// Neither an image nor a texture.
using OtherFrame = WatchedFrame<Velmora::IFrame>;

// Neither full nor packed.
class OtherImage final : public WatchedFrame<Velmora::IImageFrame>
{
public:
    OtherImage(cv::Mat image, Velmora::FrameFormat format, std::weak_ptr<int>* life = nullptr)
        : WatchedFrame(std::move(format), life), m_image(std::move(image))
    {
    }

    const cv::Mat& image() const override { return m_image; }

private:
    cv::Mat m_image;
};

class MockSink : public MediaConversion::IFrameSink
{
public:
    MOCK_METHOD(void, onNewFrame, (std::unique_ptr<Velmora::IFrame>), (override));
};

// A sink that can be started, as filters can.
class MockControllableSink : public MockSink, public MediaConversion::IFrameControl
{
public:
    MOCK_METHOD(void, start, (), (override));
    MOCK_METHOD(void, stop, (), (override));
};
