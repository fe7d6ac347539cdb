#pragma once

#include "MediaConversion/MediaFile/VelmoraMediaFileWriter.h"
#include "MediaConversion/MediaPipeline/IFrame.h"
#include "imaging/SampleDepth.h"

#include <opencv2/core/mat.hpp>

#include <cstdint>
#include <memory>
#include <string>

namespace Zeq {

// What is known of a file before its pixels are read.
struct Contents
{
    int width;  // of the picture
    int height;
    SampleDepth depth;
    bool hasAlpha;
    std::uint64_t byteCount;  // that reading takes beside the picture in float
};

// A file whose pixels are still to be read.
class IOpenFile
{
public:
    virtual ~IOpenFile() = default;

    virtual const Contents& contents() const = 0;

    // The frame in the format in which the file has it. Once only.
    virtual std::unique_ptr<Velmora::IFrame> readFrame() = 0;

    // What a media file says beside its frame and another one made from it says as well.
    virtual MediaConversion::MediaFileOptions mediaFileOptions() const { return {}; }
};

// A media file, whatever its name. Throws a std::exception with what is wrong with it.
std::unique_ptr<IOpenFile> openMediaFile(const std::string& fileName);

// A media file, or a picture of any kind that OpenImageIO reads.
std::unique_ptr<IOpenFile> openFile(const std::string& fileName);

// Reads the picture as hosts show it, in float BGRA: what lies outside the stored frame is 0.
cv::Mat readPicture(IOpenFile& file);

// Sends a frame through an Encoder.
std::unique_ptr<Velmora::IFrame> converted(std::unique_ptr<Velmora::IFrame> frame,
                                           const Velmora::FrameFormat& format);

// The bytes of a picture in float BGRA.
std::uint64_t floatByteCount(const Contents& contents);

bool hasMediaFileExtension(const std::string& fileName);

}
