#pragma once

#include "MediaConversion/MediaFile/VelmoraMediaFileReader.h"
#include "MediaConversion/MediaFile/VelmoraMediaFileWriter.h"
#include "MediaConversion/MediaPipeline/Frames.h"
#include "imaging/Picture.h"

#include <opencv2/core/mat.hpp>

#include <cstdint>
#include <memory>
#include <string>

namespace Zeq {

using Imaging::Picture;
using Imaging::PictureFacts;
using Imaging::ReadingOptions;

// A file whose pixels are still to be read.
class IOpenFile
{
public:
    virtual ~IOpenFile() = default;

    virtual const PictureFacts& facts() const = 0;

    // Reads a media file's frame in the format of the file, and what is multiplied and any other
    // picture as a whole, in float with highlights limited to 1. Either is read once, by this
    // function or the next.
    virtual std::unique_ptr<Velmora::IFrame> readFrame() = 0;

    // Reads the picture as hosts show it.
    virtual Picture readPicture() = 0;

    // What was outside 0 to 1 of the picture that was read, before its highlights were limited.
    virtual const Imaging::OutsideValues& outside() const = 0;

    // Throws a std::exception when the file is not whole: when a media file has less than its
    // frame, and the first or last rows of any other picture cannot be read, which is not read
    // besides.
    virtual void checkWhole() = 0;

    // What a media file holds beside its frame, for another one that is made from it.
    virtual MediaConversion::MediaFileOptions mediaFileOptions() const { return {}; }
};

// Opens a media file for its headers. Throws as the reader does, and says more where a file cannot
// be opened or is none.
void openReader(MediaConversion::VelmoraMediaFileReader& reader, const std::string& fileName);

// Opens a media file, whatever its name. Throws a std::exception with what is wrong with it.
std::unique_ptr<IOpenFile> openMediaFile(const std::string& fileName,
                                         const ReadingOptions& options = {});

// Opens a media file, or a picture of any kind that OpenImageIO reads. Throws as above.
std::unique_ptr<IOpenFile> openFile(const std::string& fileName,
                                    const ReadingOptions& options = {});

// The bytes of the whole picture in float, or 0 where that is what is stored. Throws when the file
// stores too little of it.
std::uint64_t fillingUpByteCount(const PictureFacts& facts);

// Throws a std::runtime_error when the picture has no pixel that could be shown.
void checkNotEmpty(const PictureFacts& facts);

}
