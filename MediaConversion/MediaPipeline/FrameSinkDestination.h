#pragma once

#include "MediaConversion/Errors.h"
#include "MediaConversion/MediaPipeline/FrameFlow.h"

#include <memory>
#include <utility>

namespace MediaConversion {

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

}
