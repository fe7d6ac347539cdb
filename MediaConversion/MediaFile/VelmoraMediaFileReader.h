#pragma once

#include "MediaConversion/MediaFile/FileStreams.h"
#include "MediaConversion/MediaFile/Headers.h"
#include "MediaConversion/MediaPipeline/Frames.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace MediaConversion {

// How a file's bytes become a frame: the operations of the kind of frame that a format belongs to.
struct RawFrameCreator
{
    std::unique_ptr<Velmora::ImageFrame> (*create)(
        const Velmora::FrameFormat& format, int rows, int columns,
        std::unique_ptr<Velmora::RawFrameData> rawFrameData);

    // The same checks as by `create`, for a caller that has no bytes yet.
    void (*checkByteCount)(const Velmora::FrameFormat& format, int rows, int columns,
                           std::uint64_t byteCount);
};

// Throws a std::runtime_error for a format that is neither full nor packed.
RawFrameCreator rawFrameCreator(const Velmora::FrameFormat& format);

// Opens a media file and turns the frame that it stores into a frame of the pipeline. What is wrong
// with the file is reported by a MediaFileAccessException; a frame that its headers do not allow,
// and a missing memory pool, by a std::runtime_error.
class VelmoraMediaFileReader
{
public:
    using ReadMethod = std::function<std::unique_ptr<Velmora::IFrame>(VelmoraMediaFileReader&)>;

    // The factory is not owned and has to outlive the reader.
    explicit VelmoraMediaFileReader(IFileStreamFactory& streamFactory);

    VelmoraMediaFileReader(const VelmoraMediaFileReader&) = delete;
    VelmoraMediaFileReader& operator=(const VelmoraMediaFileReader&) = delete;

    // Reads both headers, whatever format code they name. A failed open leaves the reader closed.
    void open(std::wstring fileName);

    // The headers of the open file; they throw while there is none.
    MediaHeader mediaHeader() const;
    FrameHeader frameHeader() const;

    // Throws what reading the frame would throw, as far as the headers and the length of the file
    // tell. The file stays open.
    void checkFrame() const;

    // Reads the frame by the active method. A file serves one frame: once its data has been asked
    // for, the reader is closed, also when that fails. What fails before leaves the file open.
    std::unique_ptr<Velmora::IFrame> readFrame();

    // Picks one of the four methods below. A new reader has the buffered image method.
    void setReadMethod(bool textureOutput, bool directReading);

    // Any other method. With an empty one, reading a frame throws a std::bad_function_call.
    void setReadMethod(ReadMethod method);

    // How direct reading opens the file; uncached in a new reader.
    void setCachingMode(CachingMode mode) { m_cachingMode = mode; }

    // The methods take a frame, which they ignore, so that they can stand where frames flow.
    std::unique_ptr<Velmora::IFrame> readImage(std::unique_ptr<Velmora::IFrame> ignored);
    std::unique_ptr<Velmora::IFrame> readTexture(std::unique_ptr<Velmora::IFrame> ignored);
    std::unique_ptr<Velmora::IFrame> readImageDirectly(std::unique_ptr<Velmora::IFrame> ignored);
    std::unique_ptr<Velmora::IFrame> readTextureDirectly(std::unique_ptr<Velmora::IFrame> ignored);

private:
    struct StoredFrame;

    StoredFrame storedFrame() const;
    void checkState(const IIoStream& stream) const;
    std::unique_ptr<IFileStream> release();
    [[noreturn]] static void fail(const std::wstring& fileName, const std::string& message);

    IFileStreamFactory& m_streamFactory;
    std::unique_ptr<IFileStream> m_stream;
    CachingMode m_cachingMode = CachingMode::Uncached;
    std::wstring m_fileName;
    std::optional<MediaHeader> m_mediaHeader;
    std::optional<FrameHeader> m_frameHeader;
    ReadMethod m_readMethod;
    std::map<std::pair<bool, bool>, ReadMethod> m_readMethods;  // by texture output, direct reading
};

// The frame of a media file, by a reader made for this one file. Throws as the reader does.
std::unique_ptr<Velmora::IFrame> readMediaFile(std::string_view fileName);

}
