#include "MediaConversion/Encoder/Encoder.h"

#include "MediaConversion/Converters/ImageProcessors.h"
#include "MediaConversion/Encoder/ConversionRegistry.h"
#include "MediaConversion/Encoder/Filters.h"
#include "MediaConversion/Errors.h"
#include "MediaConversion/MediaPipeline/Formats.h"

#include <utility>

namespace MediaConversion {

using Velmora::FrameFormat;

namespace {

// The direct chain, or the one to the hub followed by the one from it.
std::vector<ConversionStep> chain(const FrameFormat& input, const FrameFormat& output)
{
    const auto& registry = conversionRegistry();
    if (const auto direct = registry.find({output, input}); direct != registry.end())
        return direct->second;
    const auto hub = Velmora::Formats::BGRA_F32();
    const auto toHub = registry.find({hub, input});
    const auto fromHub = registry.find({output, hub});
    if (toHub == registry.end() || fromHub == registry.end())
        fail("Encoding is not supported from ", input, " to ", output);
    auto steps = toHub->second;
    steps.insert(steps.end(), fromHub->second.begin(), fromHub->second.end());
    return steps;
}

}

std::string toString(EncoderState state)
{
    switch (state) {
        case EncoderState::Idle:
            return "Idle";
        case EncoderState::Encoding:
            return "Encoding";
    }
    return joined("Unknown EncoderState ", static_cast<std::uint32_t>(state));
}

Encoder::Encoder(const FrameFormat& inputFormat, const FrameFormat& outputFormat)
    : m_inputFormat(inputFormat), m_outputFormat(outputFormat)
{
    if (inputFormat == outputFormat) {
        add(std::make_unique<ConvertNoOperation>(outputFormat));
        return;
    }
    for (const auto& step : chain(inputFormat, outputFormat))
        add(step.factory(step.format));
}

void Encoder::start()
{
    requireState(EncoderState::Idle);
    m_pipeline.start();
    m_state = EncoderState::Encoding;
}

void Encoder::stop()
{
    requireState(EncoderState::Encoding);
    m_pipeline.stop();
    m_state = EncoderState::Idle;
}

void Encoder::connectFrameSink(IFrameSink* frameSink)
{
    requireState(EncoderState::Idle);
    m_pipeline.connectFrameSink(frameSink);
    m_frameSink = frameSink;
}

void Encoder::disconnectFrameSink(IFrameSink* frameSink)
{
    requireState(EncoderState::Idle);
    m_pipeline.disconnectFrameSink(frameSink);
    m_frameSink = nullptr;
}

void Encoder::onNewFrame(std::unique_ptr<Velmora::IFrame> frame)
{
    requireState(EncoderState::Encoding);
    if (!frame)
        fail("no frame data");
    if (frame->format() != m_inputFormat)
        fail("input format must be ", m_inputFormat);
    // A frame that the chain would refuse is left to it.
    const auto onePass = onePassConversions().find({m_inputFormat, m_outputFormat});
    const auto* const image = dynamic_cast<const Velmora::ImageFrame*>(frame.get());
    if (onePass == onePassConversions().end() || !image || image->image().empty())
        return m_pipeline.onNewFrame(std::move(frame));
    auto converted = onePass->second(*image, m_outputFormat);
    frame.reset();
    m_frameSink->onNewFrame(std::move(converted));
}

void Encoder::add(std::unique_ptr<IFrameFilter> filter)
{
    // cppcheck-suppress danglingLifetime ; the pipeline keeps it
    m_filters.push_back(filter.get());
    m_pipeline.addFilter(std::move(filter));
}

void Encoder::requireState(EncoderState state) const
{
    if (m_state != state)
        fail("Encoder state must be ", state, " for this operation");
}

std::unique_ptr<Velmora::IImageFrame> convert(std::unique_ptr<Velmora::IFrame> frame,
                                              const FrameFormat& format)
{
    if (!frame)
        fail("no frame data");
    FrameSinkDestination converted;
    Encoder encoder(frame->format(), format);
    encoder.connectFrameSink(&converted);
    encoder.start();
    encoder.onNewFrame(std::move(frame));
    encoder.stop();
    // A frame of any kind passes unchanged where the formats are the same.
    auto result = converted.takeFrame();
    auto* const image = dynamic_cast<Velmora::IImageFrame*>(result.get());
    if (!image)
        fail("frame is not an IImageFrame");
    static_cast<void>(result.release());
    return std::unique_ptr<Velmora::IImageFrame>(image);
}

}
