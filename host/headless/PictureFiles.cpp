#include "host/headless/PictureFiles.h"

#include <OpenImageIO/imageio.h>

#include <stdexcept>

namespace {

void write(const Picture& picture, const std::filesystem::path& path, OIIO::TypeDesc sampleType)
{
    OIIO::ImageSpec description(picture.width, picture.height, Picture::channels, sampleType);
    description.alpha_channel = 3;
    description["oiio:UnassociatedAlpha"] = 1;

    const auto output = OIIO::ImageOutput::create(path.string());
    if (!output)
        throw std::runtime_error(OIIO::geterror());
    if (!output->open(path.string(), description) ||
        !output->write_image(OIIO::TypeDesc::FLOAT, picture.pixels.data()) || !output->close())
        throw std::runtime_error(output->geterror());
}

}

void writePng(const Picture& picture, const std::filesystem::path& path)
{
    write(picture, path, picture.depth == 8 ? OIIO::TypeDesc::UINT8 : OIIO::TypeDesc::UINT16);
}

void writeExr(const Picture& picture, const std::filesystem::path& path)
{
    write(picture, path, OIIO::TypeDesc::FLOAT);
}
