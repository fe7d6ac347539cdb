#pragma once

#include "MediaConversion/MediaFile/AtomicFile.h"
#include "MediaConversion/MediaFile/Headers.h"
#include "MediaConversion/MediaPipeline/Frames.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace MediaConversion {

// What a media file says beside its frame. The fields without a meaning of their own are written as
// they stand here.
struct MediaFileOptions
{
    MediaFileMagic magic = MediaFileMagic::Zeq;
    std::uint8_t headerByte0 = 0;
    std::uint8_t headerByte1 = 0;
    std::uint8_t headerRevision = 0;  // more than 1 adds the extension block, filled with zeros
    std::uint8_t headerByte3 = 0;
    std::uint16_t frameField1 = 0;

    // The picture in pixels, as hosts show it; when left out, as wide and as high as the frame.
    std::optional<std::uint16_t> width = std::nullopt;
    std::optional<std::uint16_t> height = std::nullopt;
};

// What the headers of a file say beside its frame, for another file that is made from it.
MediaFileOptions mediaFileOptions(const MediaHeader& header, const FrameHeader& frame);

// The format that a picture with samples of so many bits gets in a media file when none is asked
// for. It is the one of the fewest bits that holds the samples, or one of 12 bits when none does.
// For more than 8 bits with alpha there is one format only, which halves the resolution of colours.
Velmora::FrameFormat defaultMediaFormat(int bits, bool hasAlpha);

// Throws a std::runtime_error when no media file can hold a frame of this format and of so many
// pixels, which are whole groups: the text of the writer.
void checkMayBeWritten(const Velmora::FrameFormat& format, std::uint64_t width,
                       std::uint64_t height);

// Writes frames as media files, as VelmoraMediaFileReader reads them: the bytes of the frame's
// matrix as they are, without a conversion.
class VelmoraMediaFileWriter
{
public:
    using CreateFile = std::function<std::unique_ptr<IAtomicFile>(const std::wstring& fileName)>;

    // Files are AtomicFiles unless others are given; creating one fails as its operations do.
    explicit VelmoraMediaFileWriter(CreateFile createFile = {});

    // Replaces a file that is there. Throws a MediaFileAccessException when the frame's format has
    // no code or its size no place in a media file, and when the file cannot be written; what stood
    // under the name then stays as it was.
    void write(const std::wstring& fileName, const Velmora::ImageFrame& frame,
               const MediaFileOptions& options = {}) const;

private:
    CreateFile m_createFile;
};

}
