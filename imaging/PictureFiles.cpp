#include "imaging/PictureFiles.h"

#include "imaging/ImageOutput.h"

namespace {

void write(const Picture& picture, const std::filesystem::path& path,
           const OIIO::TypeDesc& sampleType)
{
    OIIO::ImageSpec description(picture.width, picture.height, Picture::channels, sampleType);
    description.alpha_channel = 3;
    description["oiio:UnassociatedAlpha"] = 1;

    writeImage(path, path, description, {OIIO::TypeDesc::FLOAT, picture.pixels.data()});
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
