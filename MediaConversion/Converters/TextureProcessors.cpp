#include "MediaConversion/Converters/TextureProcessors.h"

#include "MediaConversion/Errors.h"

namespace MediaConversion {

std::unique_ptr<Velmora::IFrame> TextureProcessor::onNewTexture(
    std::shared_ptr<const Velmora::ITextureFrame>)
{
    fail("Not built with OpenGL support");
}

}
