#pragma once

#include "MediaConversion/Converters/ImageProcessors.h"
#include "MediaConversion/MediaPipeline/ControllableFilter.h"
#include "MediaConversion/MediaPipeline/FrameFlow.h"

#include <memory>

// The filters of which chains are made. Each is constructed from the format that it converts to.
namespace MediaConversion {

template <class Filter, class ImageProcessor, class TextureProcessor>
using ConvertingFilter =
    ControllableFilter<FrameDispatch<Filter, ImageProcessor, TextureProcessor>>;

// clang-format off

class ConvertBitDepth final
    : public ConvertingFilter<ConvertBitDepth, ImageBitDepth, NullTextureProcessor>
{ using ControllableFilter::ControllableFilter; };

class ConvertColourspace final
    : public ConvertingFilter<ConvertColourspace, ImageColourspace, NullTextureProcessor>
{ using ControllableFilter::ControllableFilter; };

class ConvertToFullFrame final
    : public ConvertingFilter<ConvertToFullFrame, ImageToFullFrame, TextureToFullFrame>
{ using ControllableFilter::ControllableFilter; };

class ConvertYCbCr42xToRGB final
    : public ConvertingFilter<ConvertYCbCr42xToRGB, ImageYCbCr42xToRGB, TextureYCbCr42xToRGB>
{ using ControllableFilter::ControllableFilter; };

class ConvertYCoCgDXT5toRGB final
    : public ConvertingFilter<ConvertYCoCgDXT5toRGB, ImageYCoCgDXT5toRGB, TextureYCoCgDXT5toRGB>
{ using ControllableFilter::ControllableFilter; };

class ConvertToPackedFrame final
    : public ConvertingFilter<ConvertToPackedFrame, ImageToPackedFrame, TextureToPackedFrame>
{ using ControllableFilter::ControllableFilter; };

class ConvertRGBtoYCbCr42x final
    : public ConvertingFilter<ConvertRGBtoYCbCr42x, ImageRGBtoYCbCr42x, TextureRGBtoYCbCr42x>
{ using ControllableFilter::ControllableFilter; };

class ConvertRGBtoYCoCgDXT5 final
    : public ConvertingFilter<ConvertRGBtoYCoCgDXT5, ImageRGBtoYCoCgDXT5, TextureRGBtoYCoCgDXT5>
{ using ControllableFilter::ControllableFilter; };

// clang-format on

// Passes frames of one format on unchanged and refuses all others.
class NoOperation
{
public:
    explicit NoOperation(const Velmora::FrameFormat& format) : m_format(format) {}

    std::unique_ptr<Velmora::IFrame> process(std::unique_ptr<Velmora::IFrame> frame) const;

private:
    Velmora::FrameFormat m_format;
};

class ConvertNoOperation final : public ControllableFilter<NoOperation>
{
    using ControllableFilter::ControllableFilter;
};

}
