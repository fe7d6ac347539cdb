#pragma once

#include <OpenImageIO/imageio.h>

#include <string>

// Samples in memory as OpenImageIO takes them. The distances are bytes, from a pixel to the next
// and from a row to the next; left out, there is nothing between pixels.
struct Samples
{
    OIIO::TypeDesc type;
    const void* first;
    OIIO::stride_t pixelDistance = OIIO::AutoStride;
    OIIO::stride_t rowDistance = OIIO::AutoStride;
};

// Writes a file of the kind that the name's extension asks for; some kinds hold a name, which is
// `heldName`. Throws a std::runtime_error when that fails, of one line, also when the file cannot
// hold samples of the description's type.
void writeImage(const std::string& fileName, const std::string& heldName,
                const OIIO::ImageSpec& description, const Samples& samples);
