#pragma once

#include "MediaConversion/MediaFile/Headers.h"
#include "MediaConversion/MediaFile/VelmoraMediaFileWriter.h"
#include "MediaConversion/MediaPipeline/Formats.h"
#include "python/Samples.h"

#include <memory>
#include <optional>
#include <string>

// What the module does with files. File names are bytes.
namespace ZeqPython {

// Which samples a file is read as.
enum class Reading
{
    Floats,  // the stored values scaled to 0 to 1
    Native,  // whole numbers where the file stores such
};

// The full format that a file's frame is read in.
Velmora::FrameFormat formatToRead(const Velmora::FrameFormat& stored, Reading reading,
                                  bool withAlpha);

// The format of media files that people call by this name. Throws a std::invalid_argument.
Velmora::FrameFormat formatNamed(const std::string& name);

struct FileFacts
{
    MediaConversion::MediaHeader media;
    MediaConversion::FrameHeader frame;
    std::optional<Velmora::FrameFormat> format;  // none for an unknown code
};

FileFacts readFacts(const std::string& fileName);

// The stored frame. Its channels are blue, green and red and, in float or where the file has it,
// alpha, unless others are asked for.
FrameSamples readSamples(const std::string& fileName, Reading reading,
                         const std::optional<std::string>& channels);

void writeSamples(const std::string& fileName, const Samples& samples,
                  const Velmora::FrameFormat& format,
                  const MediaConversion::MediaFileOptions& options);

// A file's frame in another format, and what else the file says.
struct ConvertedFile
{
    std::unique_ptr<Velmora::IImageFrame> frame;
    MediaConversion::MediaFileOptions options;
};

ConvertedFile readConverted(const std::string& fileName, const Velmora::FrameFormat& format);

void writeConverted(const std::string& fileName, const ConvertedFile& file);

}
