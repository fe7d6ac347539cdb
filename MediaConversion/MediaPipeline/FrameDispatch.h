#pragma once

#include "MediaConversion/Errors.h"
#include "MediaConversion/MediaPipeline/FrameFlow.h"

#include <memory>
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

}
