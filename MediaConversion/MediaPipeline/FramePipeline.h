#pragma once

#include "MediaConversion/MediaPipeline/FrameFlow.h"

#include <memory>
#include <vector>

namespace MediaConversion {

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
