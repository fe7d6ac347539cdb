#pragma once

#include "MediaConversion/MediaFile/VelmoraMediaFileWriter.h"
#include "MediaConversion/MediaPipeline/IFrame.h"
#include "imaging/Pictures.h"

#include <opencv2/core/mat.hpp>

#include <cstdint>
#include <memory>
#include <string>

namespace Zeq {

using Imaging::Picture;
using Imaging::PictureFacts;

// A file whose pixels are still to be read.
class IOpenFile
{
public:
    virtual ~IOpenFile() = default;

    virtual const PictureFacts& facts() const = 0;

    // The frame in the format in which the file has it; of other pictures than media files, the
    // whole picture, in float and without its highlights, which frames of whole numbers cannot
    // hold. Once only, like the next.
    virtual std::unique_ptr<Velmora::IFrame> readFrame() = 0;

    // The picture as hosts show it, in float BGRA.
    virtual Picture readPicture() = 0;

    // What a media file says beside its frame and another one made from it says as well.
    virtual MediaConversion::MediaFileOptions mediaFileOptions() const { return {}; }
};

// A media file, whatever its name. Throws a std::exception with what is wrong with it.
std::unique_ptr<IOpenFile> openMediaFile(const std::string& fileName);

// A media file, or a picture of any kind that OpenImageIO reads.
std::unique_ptr<IOpenFile> openFile(const std::string& fileName);

// Sends a frame through an Encoder.
std::unique_ptr<Velmora::IFrame> converted(std::unique_ptr<Velmora::IFrame> frame,
                                           const Velmora::FrameFormat& format);

// The bytes of so many pixels in float BGRA.
std::uint64_t floatByteCount(cv::Size size);

// Those of the whole picture, where it has to be built around what is stored. Throws when the file
// holds too little of it.
std::uint64_t fillingUpByteCount(const PictureFacts& facts);

// Throws a std::runtime_error when the picture has no pixel that could be shown.
void checkNotEmpty(const PictureFacts& facts);

}
