#include "python/MediaFiles.h"

#include "MediaConversion/Encoder/Encoder.h"
#include "MediaConversion/Errors.h"
#include "MediaConversion/MediaFile/FileNames.h"
#include "MediaConversion/MediaFile/FileStreams.h"
#include "MediaConversion/MediaFile/VelmoraMediaFileReader.h"

#include <stdexcept>
#include <utility>

namespace ZeqPython {

using Velmora::FrameFormat;
using namespace Velmora::Formats;

FrameFormat formatToRead(const FrameFormat& stored, Reading reading, bool withAlpha)
{
    const bool isYCbCr =
        stored.colourspace == YCbCr_ITU_T871 || stored.colourspace == YCbCrA_ITU_T871;
    if (reading == Reading::Floats || isYCbCr)
        return BGRA_F32();
    if (Velmora::FullFormatCvTypes().contains(stored) &&
        (hasAlpha(stored.colourspace) || !withAlpha))
        return stored;
    if (stored.channelType == U8)
        return withAlpha ? BGRA_U8() : BGR_U8();
    return withAlpha ? BGRA_U16() : RGB_U16();
}

FrameFormat formatNamed(const std::string& name)
{
    if (const auto format = MediaConversion::mediaFormat(name))
        return *format;
    std::string names;
    for (const auto& each : MediaConversion::mediaFormatNames())
        names += (names.empty() ? "" : ", ") + each;
    throw std::invalid_argument("format is '" + name + "'; one of " + names + " is needed");
}

namespace {

// A media file whose headers have been read.
class OpenFile
{
public:
    explicit OpenFile(const std::string& fileName)
    {
        m_reader.open(MediaConversion::wideFileName(fileName));
        const auto& formats = MediaConversion::mediaFormatCodes();
        m_facts = {m_reader.mediaHeader(), m_reader.frameHeader(), {}};
        if (const auto entry = formats.find(m_facts.media.mediaFormatCode); entry != formats.end())
            m_facts.format = entry->second;
    }

    const FileFacts& facts() const { return m_facts; }

    // Once only, and throws for a file of unknown format and for a frame without pixels.
    std::unique_ptr<Velmora::IImageFrame> read()
    {
        auto frame = m_reader.readFrame();
        // What is in the wanted format already passes as it is.
        const auto format = frame->format();
        auto image = MediaConversion::convert(std::move(frame), format);
        if (image->image().empty())
            MediaConversion::fail("no image data in frame");
        return image;
    }

private:
    MediaConversion::FileStreamFactory m_streams;
    MediaConversion::VelmoraMediaFileReader m_reader{m_streams};
    FileFacts m_facts{};
};

}

namespace {

std::string withRedAndBlueSwapped(std::string channels)
{
    for (char& channel : channels)
        channel = channel == 'R' ? 'B' : channel == 'B' ? 'R' : channel;
    return channels;
}

// What a frame of RGB is in another order of its channels: each such format has its counterpart.
FrameFormat withRedAndBlueSwapped(FrameFormat format)
{
    if (format.colourspace == RGB || format.colourspace == RGBA)
        format.pixelFormat = withRedAndBlueSwapped(format.pixelFormat);
    return format;
}

}

FileFacts readFacts(const std::string& fileName)
{
    return OpenFile(fileName).facts();
}

FrameSamples readSamples(const std::string& fileName, Reading reading,
                         const std::optional<std::string>& channels)
{
    if (channels)
        checkChannels(*channels);
    OpenFile file(fileName);
    // Reading the frame of an unknown format fails, whatever format is asked for.
    const auto stored = file.facts().format.value_or(BGRA_F32());
    const bool hasAlpha = reading == Reading::Floats || Velmora::hasAlpha(stored.colourspace);
    const auto wanted = channels.value_or(hasAlpha ? "BGRA" : "BGR");
    const bool withAlpha = wanted.find('A') != std::string::npos;
    auto frame = file.read();
    const auto format = formatToRead(stored, reading, withAlpha);
    // A frame that passes for its counterpart is converted to pixels in the other order.
    const auto counterpart = withRedAndBlueSwapped(stored);
    const auto swapped = formatToRead(counterpart, reading, withAlpha);
    const auto swappedOrder = withRedAndBlueSwapped(swapped.pixelFormat);
    if (counterpart != stored && !haveEqualSteps(wanted, format.pixelFormat) &&
        haveEqualSteps(wanted, swappedOrder))
        return select(MediaConversion::convert(frameOver(counterpart, frame->image()), swapped),
                      swappedOrder, wanted);
    return select(MediaConversion::convert(std::move(frame), format), format.pixelFormat, wanted);
}

void writeSamples(const std::string& fileName, const Samples& samples, const FrameFormat& format,
                  const MediaConversion::MediaFileOptions& options)
{
    writeConverted(fileName,
                   {MediaConversion::convert(frameFor(samples, format), format), options});
}

ConvertedFile readConverted(const std::string& fileName, const FrameFormat& format)
{
    OpenFile file(fileName);
    const auto [media, frame, stored] = file.facts();
    return {MediaConversion::convert(file.read(), format),
            MediaConversion::mediaFileOptions(media, frame)};
}

void writeConverted(const std::string& fileName, const ConvertedFile& file)
{
    MediaConversion::VelmoraMediaFileWriter().write(
        MediaConversion::wideFileName(fileName),
        dynamic_cast<const Velmora::ImageFrame&>(*file.frame), file.options);
}

}
