#pragma once

#include "MediaConversion/MediaPipeline/FrameFlow.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace MediaConversion {

enum class EncoderState : std::uint32_t
{
    Idle = 0,
    Encoding = 1,
};

// "Idle", "Encoding" or, for any other value, "Unknown EncoderState 2".
std::string toString(EncoderState state);

// Turns frames of one format into frames of another through the chain of filters that the
// conversion registry prescribes for the two. Driven by one thread at a time. All failures are
// std::runtime_errors.
class Encoder final : public IFrameControl, public IFrameFilter
{
public:
    // Builds the chain, through BGRA_F32 where there is no direct one; throws "Encoding is not
    // supported from ... to ..." where there is none either way.
    Encoder(const Velmora::FrameFormat& inputFormat, const Velmora::FrameFormat& outputFormat);

    // While Idle only.
    void start() override;
    void connectFrameSink(IFrameSink* frameSink) override;
    void disconnectFrameSink(IFrameSink* frameSink) override;

    // While Encoding only. The frame must have the input format.
    void stop() override;
    void onNewFrame(std::unique_ptr<Velmora::IFrame> frame) override;

    const Velmora::FrameFormat& inputFormat() const { return m_inputFormat; }
    const Velmora::FrameFormat& outputFormat() const { return m_outputFormat; }
    EncoderState state() const { return m_state; }

    // The filters in chain order, owned by the Encoder. Where one pass gives the same frame as they
    // would, they are passed by.
    const std::vector<IFrameFilter*>& filters() const { return m_filters; }

private:
    void add(std::unique_ptr<IFrameFilter> filter);
    void requireState(EncoderState state) const;

    Velmora::FrameFormat m_inputFormat;
    Velmora::FrameFormat m_outputFormat;
    FramePipeline m_pipeline;
    std::vector<IFrameFilter*> m_filters;
    IFrameSink* m_frameSink = nullptr;
    EncoderState m_state = EncoderState::Idle;
};

// The picture in another format, by an Encoder made for this one frame. Throws a std::runtime_error
// where the Encoder does, "no frame data" for a null frame and "frame is not an IImageFrame" for a
// frame of another kind.
std::unique_ptr<Velmora::IImageFrame> convert(std::unique_ptr<Velmora::IFrame> frame,
                                              const Velmora::FrameFormat& format);

}
