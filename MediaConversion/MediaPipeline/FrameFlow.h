#pragma once

#include "MediaConversion/MediaPipeline/IFrame.h"

#include <memory>

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

}
