#pragma once

#include "MediaConversion/MediaPipeline/FrameFlow.h"

#include <memory>

namespace MediaConversion {

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

}
