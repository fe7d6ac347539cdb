#pragma once

#include "MediaConversion/Errors.h"
#include "MediaConversion/MediaPipeline/Frames.h"

#include <memory>
#include <utility>
#include <vector>

// Frames are pushed: a source hands each frame to the sink it is connected to, and the call returns
// when the whole rest of the chain has handled it.
namespace MediaConversion {

class IFrameSink
{
public:
    virtual ~IFrameSink() = default;

    virtual void onNewFrame(std::unique_ptr<Velmora::IFrame> frame) = 0;
};

// A source does not own its sink, which has to outlive the connection.
class IFrameSource
{
public:
    virtual ~IFrameSource() = default;

    virtual void connectFrameSink(IFrameSink* frameSink) = 0;
    virtual void disconnectFrameSink(IFrameSink* frameSink) = 0;
};

// Frames may be pushed between start and stop.
class IFrameControl
{
public:
    virtual ~IFrameControl() = default;

    virtual void start() = 0;
    virtual void stop() = 0;
};

class IFrameFilter : public IFrameSource, public IFrameSink
{
};

// The end of a chain, where the caller picks the result up.
class IFrameSinkDestination : public IFrameSink
{
public:
    // Hands out the frame received last; null when there is none or when it was taken before.
    virtual std::unique_ptr<Velmora::IFrame> takeFrame() = 0;
};

// Makes a new frame from a frame that is lent for the call.
class IImageProcessor
{
public:
    virtual ~IImageProcessor() = default;

    virtual std::unique_ptr<Velmora::IFrame> onNewImage(
        std::shared_ptr<const Velmora::IImageFrame> frame) = 0;
};

class ITextureProcessor
{
public:
    virtual ~ITextureProcessor() = default;

    virtual std::unique_ptr<Velmora::IFrame> onNewTexture(
        std::shared_ptr<const Velmora::ITextureFrame> frame) = 0;
};

// Keeps the frame received last until it is taken or replaced.
class FrameSinkDestination final : public IFrameSinkDestination
{
public:
    void onNewFrame(std::unique_ptr<Velmora::IFrame> frame) override
    {
        if (!frame)
            fail("no frame data");
        m_frame = std::move(frame);
    }

    std::unique_ptr<Velmora::IFrame> takeFrame() override { return std::move(m_frame); }

private:
    std::unique_ptr<Velmora::IFrame> m_frame;
};

// Placeholders for filters that support one kind of frame only: they refuse every frame.
class NullImageProcessor final : public IImageProcessor
{
public:
    NullImageProcessor() = default;
    explicit NullImageProcessor(const Velmora::FrameFormat&) {}

    std::unique_ptr<Velmora::IFrame> onNewImage(
        std::shared_ptr<const Velmora::IImageFrame> frame) override;
};

class NullTextureProcessor final : public ITextureProcessor
{
public:
    NullTextureProcessor() = default;
    explicit NullTextureProcessor(const Velmora::FrameFormat&) {}

    std::unique_ptr<Velmora::IFrame> onNewTexture(
        std::shared_ptr<const Velmora::ITextureFrame> frame) override;
};

// A chain of filters that looks like one source. All failures are std::runtime_errors, except where
// noted.
class FramePipeline final : public IFrameSource, public IFrameControl
{
public:
    // Appends a filter behind the last; throws std::invalid_argument for a null one.
    void addFilter(std::unique_ptr<IFrameFilter> filter);

    void connectFrameSink(IFrameSink* frameSink) override;
    void disconnectFrameSink(IFrameSink* frameSink) override;

    // Both need a sink and a filter.
    void start() override;
    void stop() override;

    // Hands the frame to the first filter.
    void onNewFrame(std::unique_ptr<Velmora::IFrame> frame);

private:
    IFrameControl& control() const;

    IFrameSink* m_frameSink = nullptr;
    std::vector<std::unique_ptr<IFrameFilter>> m_filters;
};

}
