#pragma once

#include "MediaConversion/MediaPipeline/FrameFlow.h"

#include <memory>

// The graphics card's side of the converters. This build has no OpenGL, so all of them refuse.
namespace MediaConversion {

class TextureProcessor : public ITextureProcessor
{
public:
    explicit TextureProcessor(const Velmora::FrameFormat&) {}

    // Throws a std::runtime_error, "Not built with OpenGL support".
    std::unique_ptr<Velmora::IFrame> onNewTexture(
        std::shared_ptr<const Velmora::ITextureFrame> frame) final;
};

// clang-format off
class TextureToFullFrame    final : public TextureProcessor { using TextureProcessor::TextureProcessor; };
class TextureYCbCr42xToRGB  final : public TextureProcessor { using TextureProcessor::TextureProcessor; };
class TextureYCoCgDXT5toRGB final : public TextureProcessor { using TextureProcessor::TextureProcessor; };
class TextureToPackedFrame  final : public TextureProcessor { using TextureProcessor::TextureProcessor; };
class TextureRGBtoYCbCr42x  final : public TextureProcessor { using TextureProcessor::TextureProcessor; };
class TextureRGBtoYCoCgDXT5 final : public TextureProcessor { using TextureProcessor::TextureProcessor; };
// clang-format on

}
