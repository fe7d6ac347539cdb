#include "MediaConversion/MediaPipeline/NullProcessors.h"

#include "MediaConversion/Errors.h"

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

}
