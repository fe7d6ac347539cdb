#pragma once

#include "MediaConversion/MediaPipeline/FrameFormat.h"

#include <opencv2/core/mat.hpp>

namespace Velmora {

// One picture on its way through the conversion. A frame has one owner at a time and is moved from
// stage to stage.
class IFrame
{
public:
    virtual ~IFrame() = default;

    virtual const FrameFormat& format() const = 0;
};

// A frame in host memory. The elements of its matrix are pixels or packing groups.
class IImageFrame : public IFrame
{
public:
    virtual const cv::Mat& image() const = 0;
};

// A frame in a texture of the graphics card.
class ITextureFrame : public IFrame
{
};

}
