#include "imaging/PictureOutput.h"

#include "imaging/ChannelOrder.h"
#include "imaging/ImageOutput.h"

#include <stdexcept>

namespace {

OIIO::TypeDesc sampleType(SampleDepth depth)
{
    switch (depth) {
        case SampleDepth::U8:
            return OIIO::TypeDesc::UINT8;
        case SampleDepth::U10:
        case SampleDepth::U12:
        case SampleDepth::U16:
            return OIIO::TypeDesc::UINT16;
        case SampleDepth::F16:
            return OIIO::TypeDesc::HALF;
        case SampleDepth::F32:
            return OIIO::TypeDesc::FLOAT;
    }
    throw std::invalid_argument("no such depth");
}

bool isWholeNumber(SampleDepth depth)
{
    return depth != SampleDepth::F16 && depth != SampleDepth::F32;
}

OIIO::ImageSpec descriptionOf(const cv::Mat& picture, const PictureLayout& layout)
{
    OIIO::ImageSpec description(picture.cols, picture.rows, layout.hasAlpha ? 4 : 3,
                                sampleType(layout.depth));
    if (layout.depth == SampleDepth::U10 || layout.depth == SampleDepth::U12)
        description["oiio:BitsPerSample"] = layout.depth == SampleDepth::U10 ? 10 : 12;
    description["oiio:UnassociatedAlpha"] = 1;
    return description;
}

}

void writePicture(const std::string& fileName, cv::Mat picture, const PictureLayout& layout)
{
    const auto description = descriptionOf(picture, layout);
    swapRedAndBlue(picture);
    if (isWholeNumber(layout.depth))
        cv::patchNaNs(picture, 0);
    writeImage(fileName, layout.name.empty() ? fileName : layout.name, description,
               {.type = OIIO::TypeDesc::FLOAT,
                .first = picture.data,
                .pixelDistance = static_cast<OIIO::stride_t>(picture.elemSize()),
                .rowDistance = static_cast<OIIO::stride_t>(picture.step[0])});
}
