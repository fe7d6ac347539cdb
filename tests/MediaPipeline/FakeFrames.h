#pragma once

#include "MediaConversion/MediaPipeline/FrameFlow.h"

#include <gmock/gmock.h>

#include <memory>
#include <utility>

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
using TextureFrame = WatchedFrame<Velmora::ITextureFrame>;

class WatchedImage final : public WatchedFrame<Velmora::IImageFrame>
{
public:
    explicit WatchedImage(Velmora::FrameFormat format, std::weak_ptr<int>* life = nullptr,
                          cv::Mat image = cv::Mat(1, 1, CV_8UC1))
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
