#include "MediaConversion/MediaPipeline/FrameFlow.h"

#include "MediaConversion/Errors.h"

#include <stdexcept>
#include <utility>

namespace MediaConversion {

std::unique_ptr<Velmora::IFrame> NullImageProcessor::onNewImage(
    std::shared_ptr<const Velmora::IImageFrame> frame)
{
    if (!frame)
        fail("invalid frame");
    fail("NullImageProcessor::onNewImage not implemented");
}

std::unique_ptr<Velmora::IFrame> NullTextureProcessor::onNewTexture(
    std::shared_ptr<const Velmora::ITextureFrame> frame)
{
    if (!frame)
        fail("invalid frame");
    fail("NullTextureProcessor::onNewTexture not implemented");
}

void FramePipeline::addFilter(std::unique_ptr<IFrameFilter> filter)
{
    if (!filter)
        throw std::invalid_argument("filter is nullptr");
    m_filters.reserve(m_filters.size() + 1);
    if (!m_filters.empty())
        m_filters.back()->connectFrameSink(filter.get());
    m_filters.push_back(std::move(filter));
    m_filters.back()->connectFrameSink(m_frameSink);
}

void FramePipeline::connectFrameSink(IFrameSink* frameSink)
{
    if (!m_filters.empty())
        m_filters.back()->connectFrameSink(frameSink);
    m_frameSink = frameSink;
}

void FramePipeline::disconnectFrameSink(IFrameSink* frameSink)
{
    if (frameSink != m_frameSink)
        fail("frameSink was not connected");
    if (!m_filters.empty())
        m_filters.back()->disconnectFrameSink(frameSink);
    m_frameSink = nullptr;
}

void FramePipeline::start()
{
    control().start();
}

void FramePipeline::stop()
{
    control().stop();
}

void FramePipeline::onNewFrame(std::unique_ptr<Velmora::IFrame> frame)
{
    if (m_filters.empty())
        fail("Pipeline is empty");
    m_filters.front()->onNewFrame(std::move(frame));
}

// The first filter's: it hands a start or stop down the chain.
IFrameControl& FramePipeline::control() const
{
    if (!m_frameSink)
        fail("No frameSink connected");
    if (m_filters.empty())
        fail("Pipeline is empty");
    return dynamic_cast<IFrameControl&>(*m_filters.front());
}

}
