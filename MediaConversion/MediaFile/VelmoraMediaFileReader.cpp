#include "MediaConversion/MediaFile/VelmoraMediaFileReader.h"

#include "MediaConversion/Errors.h"
#include "MediaConversion/MediaFile/FileNames.h"
#include "MediaConversion/MediaFile/Headers.h"
#include "MediaConversion/MediaPipeline/Frames.h"
#include "MediaConversion/MediaPipeline/MemoryPool.h"

#include <algorithm>
#include <cstdint>
#include <ios>
#include <utility>

namespace MediaConversion {

namespace {

template <class Frame>
constexpr RawFrameCreator creatorOf{
    .create = [](const Velmora::FrameFormat& format, int rows, int columns,
                 std::unique_ptr<Velmora::RawFrameData> rawFrameData)
        -> std::unique_ptr<Velmora::ImageFrame> {
        return std::make_unique<Frame>(format, columns, rows, std::move(rawFrameData));
    },
    .checkByteCount =
        [](const Velmora::FrameFormat& format, int rows, int columns, std::uint64_t byteCount) {
            Frame::checkByteCount(format, columns, rows, byteCount);
        },
};

}

RawFrameCreator rawFrameCreator(const Velmora::FrameFormat& format)
{
    if (Velmora::FullFormatCvTypes().contains(format))
        return creatorOf<Velmora::FullFrame>;
    if (Velmora::PackedFormatCvTypes().contains(format))
        return creatorOf<Velmora::PackedFrame>;
    // The two blanks before the name are part of the message.
    fail("Raw frame creator not available for frame format  ", format);
}

using Velmora::IFrame;
using Velmora::ImageFrame;
using Velmora::PooledBuffer;
using Velmora::RawFrameData;

namespace {

constexpr auto openMode = std::ios_base::in | std::ios_base::binary;
constexpr auto endOfFile = "Media file has unexpectedly reached End-Of-File";
constexpr auto directReadingRefused = "Failed to open file for direct reading";

// What is read first from a stream that cannot tell how much it has, in bytes.
constexpr std::uint64_t firstPiece = 1 << 20;

// The bytes between the read position and the end. Empty when the stream cannot tell, or tells of
// an end that it has read past: the file was cut, or its system calls every file empty.
std::optional<std::uint64_t> remainingBytes(IIoStream& stream)
{
    const auto position = stream.tell();
    if (position >= 0) {
        stream.seek(0, std::ios_base::end);
        const auto end = stream.tell();
        stream.seek(position);
        if (!stream.fail() && end >= position)
            return static_cast<std::uint64_t>(end - position);
        stream.clear();
        stream.seek(position);
    }
    stream.clear();
    return std::nullopt;
}

// Fills the buffer from the stream, beginning behind the bytes that it has.
std::unique_ptr<PooledBuffer> readBytes(IIoStream& stream, std::unique_ptr<PooledBuffer> buffer,
                                        std::uint64_t filled = 0)
{
    stream.read(reinterpret_cast<char*>(buffer->data() + filled),
                static_cast<std::streamsize>(buffer->size() - filled));
    return buffer;
}

// Reads on in ever larger pieces, so that no memory is taken for bytes that do not arrive.
std::unique_ptr<PooledBuffer> readRest(IIoStream& stream, std::unique_ptr<PooledBuffer> buffer,
                                       std::uint64_t size)
{
    while (buffer->size() < size && stream.good()) {
        const auto filled = buffer->size();
        auto larger =
            std::make_unique<PooledBuffer>(ImageFrame::memoryPool(), std::min(2 * filled, size));
        std::copy_n(buffer->data(), filled, larger->data());
        buffer = readBytes(stream, std::move(larger), filled);
    }
    return buffer;
}

std::uint64_t roundedUp(std::uint64_t size, std::uint64_t unit)
{
    return (size + unit - 1) / unit * unit;
}

std::unique_ptr<IFrame> textureFrame(std::unique_ptr<IFrame>)
{
    fail("Not built with OpenGL support");
}

}

// Where the frame of the open file lies, and what it has to be.
struct VelmoraMediaFileReader::StoredFrame
{
    Velmora::FrameFormat format;
    RawFrameCreator creator;
    FrameHeader header;

    std::uint32_t dataSize() const
    {
        return frameDataSize(format, header.frameWidth, header.frameHeight);
    }

    void checkByteCount(std::uint64_t byteCount) const
    {
        creator.checkByteCount(format, header.frameHeight, header.frameWidth, byteCount);
    }

    std::unique_ptr<IFrame> create(std::unique_ptr<PooledBuffer> buffer, std::uint64_t offset,
                                   std::uint64_t end) const
    {
        return creator.create(format, header.frameHeight, header.frameWidth,
                              std::make_unique<RawFrameData>(std::move(buffer), offset, end));
    }
};

VelmoraMediaFileReader::VelmoraMediaFileReader(IFileStreamFactory& streamFactory)
    : m_streamFactory(streamFactory)
{
    const auto method = [](auto read) {
        return [read](VelmoraMediaFileReader& reader) { return (reader.*read)(nullptr); };
    };
    //              texture, direct
    m_readMethods[{false, false}] = method(&VelmoraMediaFileReader::readImage);
    m_readMethods[{true, false}] = method(&VelmoraMediaFileReader::readTexture);
    m_readMethods[{false, true}] = method(&VelmoraMediaFileReader::readImageDirectly);
    m_readMethods[{true, true}] = method(&VelmoraMediaFileReader::readTextureDirectly);
    setReadMethod(false, false);
}

void VelmoraMediaFileReader::open(std::wstring fileName)
{
    release();
    auto stream = m_streamFactory.create();
    if (!stream)
        fail(fileName, "Could not create filestream object");
    stream->open(fileName, openMode);
    if (!stream->is_open())
        fail(fileName, "Failed to open file");
    m_fileName = std::move(fileName);

    stream->clear();
    stream->seek(std::streampos(0));
    LittleEndianReader fields(*stream);
    const auto magic = readMagic(fields);
    if (!magic)
        fail(m_fileName, "Media file is corrupt");
    const auto mediaHeader = readMediaHeader(fields, *magic);
    checkState(*stream);
    const auto frameHeader = readFrameHeader(fields);
    checkState(*stream);

    m_stream = std::move(stream);
    m_mediaHeader = mediaHeader;
    m_frameHeader = frameHeader;
}

MediaHeader VelmoraMediaFileReader::mediaHeader() const
{
    if (!m_mediaHeader)
        fail(m_fileName, "Media header not available, check the file is open");
    return *m_mediaHeader;
}

FrameHeader VelmoraMediaFileReader::frameHeader() const
{
    if (!m_frameHeader)
        fail(m_fileName, "Frame header not available, check the file is open");
    return *m_frameHeader;
}

void VelmoraMediaFileReader::checkFrame() const
{
    const auto stored = storedFrame();
    const auto size = stored.dataSize();
    stored.checkByteCount(size);
    if (remainingBytes(*m_stream).value_or(size) < size)
        fail(m_fileName, endOfFile);
}

std::unique_ptr<IFrame> VelmoraMediaFileReader::readFrame()
{
    return m_readMethod(*this);
}

void VelmoraMediaFileReader::setReadMethod(bool textureOutput, bool directReading)
{
    m_readMethod = m_readMethods.at({textureOutput, directReading});
}

void VelmoraMediaFileReader::setReadMethod(ReadMethod method)
{
    m_readMethod = std::move(method);
}

std::unique_ptr<IFrame> VelmoraMediaFileReader::readImage(std::unique_ptr<IFrame>)
{
    const auto stored = storedFrame();
    const auto size = stored.dataSize();
    auto pool = ImageFrame::memoryPool();
    // A few bytes of header can claim gigabytes, so no memory is taken for what the file does not
    // hold. What is wrong with the frame is reported before the missing bytes are.
    const auto remaining = remainingBytes(*m_stream);
    if (remaining && *remaining < size) {
        release();
        stored.checkByteCount(size);
        fail(m_fileName, endOfFile);
    }
    const auto firstSize = remaining ? size : std::min<std::uint64_t>(size, firstPiece);
    auto buffer = std::make_unique<PooledBuffer>(std::move(pool), firstSize);

    const auto stream = release();
    buffer = readRest(*stream, readBytes(*stream, std::move(buffer)), size);
    if (buffer->size() < size) {
        stored.checkByteCount(size);
        checkState(*stream);
    }
    auto frame = stored.create(std::move(buffer), 0, size);
    checkState(*stream);
    return frame;
}

std::unique_ptr<IFrame> VelmoraMediaFileReader::readImageDirectly(std::unique_ptr<IFrame>)
{
    const auto stored = storedFrame();
    auto* const infoFactory = dynamic_cast<IFileSystemInfoFactory*>(&m_streamFactory);
    auto* const caching = dynamic_cast<IFileCaching*>(m_stream.get());
    const auto pixels = static_cast<std::uint64_t>(std::streamoff(m_stream->tell()));
    const auto info =
        infoFactory && caching ? infoFactory->createFileSystemInfo(m_fileName) : nullptr;
    if (!info || info->alignmentUnit() == 0)
        fail(m_fileName, directReadingRefused);
    const auto size = info->fileSize();
    // Bytes behind the frame are not read; a file that is too short is read to its end.
    const bool isWhole = pixels <= size && stored.dataSize() <= size - pixels;
    const auto end = isWhole ? pixels + stored.dataSize() : size;

    const auto stream = release();
    stream->close();
    caching->setCaching(m_cachingMode);
    stream->open(m_fileName, openMode);
    if (!stream->is_open())
        fail(m_fileName, directReadingRefused);
    auto buffer =
        readBytes(*stream, std::make_unique<PooledBuffer>(ImageFrame::memoryPool(),
                                                          roundedUp(size, info->alignmentUnit())));
    // The last unit of a file is seldom a whole one: reaching the end is no failure here.
    if (static_cast<std::uint64_t>(stream->gcount()) >= end)
        stream->clear();
    auto frame = stored.create(std::move(buffer), pixels, end);
    checkState(*stream);
    return frame;
}

std::unique_ptr<IFrame> VelmoraMediaFileReader::readTexture(std::unique_ptr<IFrame> ignored)
{
    return textureFrame(readImage(std::move(ignored)));
}

std::unique_ptr<IFrame> VelmoraMediaFileReader::readTextureDirectly(std::unique_ptr<IFrame> ignored)
{
    return textureFrame(readImageDirectly(std::move(ignored)));
}

VelmoraMediaFileReader::StoredFrame VelmoraMediaFileReader::storedFrame() const
{
    const auto code = mediaHeader().mediaFormatCode;
    const auto entry = mediaFormatCodes().find(code);
    if (entry == mediaFormatCodes().end())
        fail(m_fileName,
             "Frame reading is not supported for media header format 0x" + hexadecimal(code));
    const auto creator = rawFrameCreator(entry->second);
    return {entry->second, creator, frameHeader()};
}

// A short read sets both bits: the second text is for an end that no read ran into.
void VelmoraMediaFileReader::checkState(const IIoStream& stream) const
{
    if (stream.fail())
        fail(m_fileName, endOfFile);
    if (stream.eof())
        fail(m_fileName, "Media file is bad");
}

// Closes the reader; the stream is handed on to whoever still reads from it.
std::unique_ptr<IFileStream> VelmoraMediaFileReader::release()
{
    m_mediaHeader.reset();
    m_frameHeader.reset();
    return std::move(m_stream);
}

void VelmoraMediaFileReader::fail(const std::wstring& fileName, const std::string& message)
{
    throw MediaFileAccessException(displayFileName(fileName), message);
}

std::unique_ptr<IFrame> readMediaFile(std::string_view fileName)
{
    FileStreamFactory streams;
    VelmoraMediaFileReader reader(streams);
    reader.open(wideFileName(fileName));
    return reader.readFrame();
}

}
