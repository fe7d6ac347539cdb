#pragma once

#include "MediaConversion/Errors.h"
#include "MediaConversion/MediaPipeline/FrameFlow.h"

#include <concepts>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>

namespace MediaConversion {

// Gives a frame to the processor for its kind. `Filter` is the filter that this is the processing
// of: two filters stay two types even where they share their processors.
template <class Filter, class ImageProcessor, class TextureProcessor>
class FrameDispatch
{
public:
    explicit FrameDispatch(const Velmora::FrameFormat& destination)
        : m_imageProcessor(destination), m_textureProcessor(destination)
    {
    }

    std::unique_ptr<Velmora::IFrame> process(std::unique_ptr<Velmora::IFrame> frame)
    {
        const std::shared_ptr<const Velmora::IFrame> lent(std::move(frame));
        if (auto image = std::dynamic_pointer_cast<const Velmora::IImageFrame>(lent)) {
            if (image->image().empty())
                fail("no image data in frame");
            return m_imageProcessor.onNewImage(std::move(image));
        }
        if (auto texture = std::dynamic_pointer_cast<const Velmora::ITextureFrame>(lent))
            return m_textureProcessor.onNewTexture(std::move(texture));
        fail("frame is not an IImageFrame or ITextureFrame");
    }

private:
    ImageProcessor m_imageProcessor;
    TextureProcessor m_textureProcessor;
};

enum class State : std::uint32_t
{
    Idle = 0,
    Active = 1,
};

// "Idle", "Active" or, for any other value, "Unknown State 2".
std::string toString(State state);

// The plumbing that all filters share: the sink, the state and the checks of both. `Processing` has
// the operation `process`, which turns an owned frame into an owned frame.
template <class Processing>
class ControllableFilter : public IFrameFilter, public IFrameControl
{
public:
    template <class... Arguments>
    requires std::constructible_from<Processing, Arguments...>
    explicit ControllableFilter(Arguments&&... arguments)
        : m_processing(std::forward<Arguments>(arguments)...)
    {
    }

    ControllableFilter(const ControllableFilter&) = delete;
    ControllableFilter& operator=(const ControllableFilter&) = delete;

    void connectFrameSink(IFrameSink* frameSink) override
    {
        requireState(State::Idle);
        m_frameSink = frameSink;
    }

    void disconnectFrameSink(IFrameSink* frameSink) override
    {
        requireState(State::Idle);
        if (frameSink != m_frameSink)
            fail("frameSink was not connected");
        m_frameSink = nullptr;
    }

    // Starting the first filter of a chain starts the whole chain.
    void start() override
    {
        requireState(State::Idle);
        m_state = State::Active;
        if (auto* const next = dynamic_cast<IFrameControl*>(m_frameSink))
            next->start();
    }

    void stop() override
    {
        requireState(State::Active);
        if (auto* const next = dynamic_cast<IFrameControl*>(m_frameSink))
            next->stop();
        m_state = State::Idle;
    }

    void onNewFrame(std::unique_ptr<Velmora::IFrame> frame) override
    {
        requireState(State::Active);
        if (!frame)
            fail("no frame data");
        if (!m_frameSink)
            fail("no frame sink connected");
        // Two statements: the input frame's memory is back in the pool before the sink is called.
        auto processed = m_processing.process(std::move(frame));
        m_frameSink->onNewFrame(std::move(processed));
    }

private:
    void requireState(State state) const
    {
        if (m_state != state)
            fail("State must be ", state, " for this operation");
    }

    Processing m_processing;
    IFrameSink* m_frameSink = nullptr;
    State m_state = State::Idle;
};

}
