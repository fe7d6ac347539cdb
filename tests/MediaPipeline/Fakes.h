#pragma once

#include "MediaConversion/MediaPipeline/FrameFlow.h"
#include "tests/support/ExpectError.h"
#include "tests/support/Pools.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <memory>
#include <utility>

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
    OtherImage(cv::Mat image, Velmora::FrameFormat format)
        : WatchedFrame(std::move(format)), m_image(std::move(image))
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
