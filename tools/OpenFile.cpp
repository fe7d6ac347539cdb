#include "tools/OpenFile.h"

#include "MediaConversion/MediaFile/FileNames.h"
#include "MediaConversion/MediaFile/FileStreamFactory.h"
#include "MediaConversion/MediaFile/VelmoraMediaFileReader.h"
#include "MediaConversion/MediaPipeline/Encoder.h"
#include "MediaConversion/MediaPipeline/Formats.h"
#include "MediaConversion/MediaPipeline/FrameSinkDestination.h"
#include "MediaConversion/MediaPipeline/FullFrame.h"
#include "tools/Files.h"
#include "tools/MediaFormats.h"
#include "tools/PictureModule.h"

#include <opencv2/core.hpp>

namespace Zeq {

using Velmora::Formats::BGRA_F32;

namespace {

class OpenMediaFile final : public IOpenFile
{
public:
    explicit OpenMediaFile(const std::string& fileName) : m_magic(magicOf(fileName))
    {
        m_reader.open(MediaConversion::wideFileName(fileName));
        m_header = m_reader.mediaHeader();
        m_frameHeader = m_reader.frameHeader();
        const auto* const format = findMediaFormat(m_header.mediaFormatCode);
        if (!format) {
            m_reader.readFrame();  // throws, and its text is the reader's own
            return;
        }
        const auto& frameFormat = format->frameFormat;
        m_contents = {.width = m_header.width,
                      .height = m_header.height,
                      .depth = depthOf(frameFormat),
                      .hasAlpha = hasAlpha(frameFormat),
                      .byteCount = MediaConversion::frameDataSize(
                          frameFormat, m_frameHeader.frameWidth, m_frameHeader.frameHeight)};
        if (m_header.width != m_frameHeader.frameWidth ||
            m_header.height != m_frameHeader.frameHeight)
            m_contents.byteCount += sizeof(cv::Vec4f) * m_frameHeader.frameWidth *
                                    std::uint64_t{m_frameHeader.frameHeight};
    }

    const Contents& contents() const override { return m_contents; }

    std::unique_ptr<Velmora::IFrame> readFrame() override { return m_reader.readFrame(); }

    MediaConversion::MediaFileOptions mediaFileOptions() const override
    {
        return {.magic = m_magic,
                .headerByte0 = m_header.headerByte0,
                .headerByte1 = m_header.headerByte1,
                .headerRevision = m_header.headerRevision,
                .headerByte3 = m_header.headerByte3,
                .frameField1 = m_frameHeader.frameField1,
                .width = m_header.width,
                .height = m_header.height};
    }

private:
    static MediaConversion::MediaFileMagic magicOf(const std::string& fileName)
    {
        return beginningOf(fileName, 4) == "zeqZ" ? MediaConversion::MediaFileMagic::ZeqZ
                                                  : MediaConversion::MediaFileMagic::Zeq;
    }

    MediaConversion::FileStreamFactory m_streams;
    MediaConversion::VelmoraMediaFileReader m_reader{m_streams};
    MediaConversion::MediaFileMagic m_magic;
    MediaConversion::MediaHeader m_header{};
    MediaConversion::FrameHeader m_frameHeader{};
    Contents m_contents{};
};

class OpenPicture final : public IOpenFile
{
public:
    explicit OpenPicture(const std::string& fileName) : m_input(pictureModule().open(fileName))
    {
        const auto& facts = m_input->facts();
        m_contents = {.width = facts.width,
                      .height = facts.height,
                      .depth = facts.depth,
                      .hasAlpha = facts.hasAlpha,
                      .byteCount = facts.byteCount};
    }

    const Contents& contents() const override { return m_contents; }

    std::unique_ptr<Velmora::IFrame> readFrame() override
    {
        return std::make_unique<Velmora::FullFrame>(BGRA_F32(), m_input->read());
    }

private:
    std::unique_ptr<IPictureInput> m_input;
    Contents m_contents;
};

}

std::unique_ptr<IOpenFile> openMediaFile(const std::string& fileName)
{
    return std::make_unique<OpenMediaFile>(fileName);
}

std::unique_ptr<IOpenFile> openFile(const std::string& fileName)
{
    if (hasMediaFileExtension(fileName) || beginningOf(fileName, 3) == "zeq")
        return openMediaFile(fileName);
    return std::make_unique<OpenPicture>(fileName);
}

cv::Mat readPicture(IOpenFile& file)
{
    const auto frame = converted(file.readFrame(), BGRA_F32());
    cv::Mat stored = dynamic_cast<const Velmora::IImageFrame&>(*frame).image();
    const cv::Size size(file.contents().width, file.contents().height);
    if (stored.size() == size)
        return stored;
    cv::Mat picture = cv::Mat::zeros(size, stored.type());
    const auto shown = cv::Rect({}, size) & cv::Rect({}, stored.size());
    if (!shown.empty())
        stored(shown).copyTo(picture(shown));
    return picture;
}

std::unique_ptr<Velmora::IFrame> converted(std::unique_ptr<Velmora::IFrame> frame,
                                           const Velmora::FrameFormat& format)
{
    MediaConversion::FrameSinkDestination result;
    MediaConversion::Encoder encoder(frame->format(), format);
    encoder.connectFrameSink(&result);
    encoder.start();
    encoder.onNewFrame(std::move(frame));
    encoder.stop();
    return result.takeFrame();
}

std::uint64_t floatByteCount(const Contents& contents)
{
    return sizeof(cv::Vec4f) * static_cast<std::uint64_t>(contents.width) *
           static_cast<std::uint64_t>(contents.height);
}

bool hasMediaFileExtension(const std::string& fileName)
{
    return extensionOf(fileName) == "zeq";
}

}
