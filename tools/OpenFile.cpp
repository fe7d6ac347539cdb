#include "tools/OpenFile.h"

#include "MediaConversion/Encoder/Encoder.h"
#include "MediaConversion/Errors.h"
#include "MediaConversion/MediaFile/FileNames.h"
#include "MediaConversion/MediaFile/FileStreams.h"
#include "MediaConversion/MediaPipeline/Formats.h"
#include "MediaConversion/MediaPipeline/Frames.h"
#include "imaging/Colours.h"
#include "tools/FileKinds.h"
#include "tools/Files.h"
#include "tools/PictureModule.h"
#include "tools/Report.h"
#include "tools/StandardFiles.h"

#include <opencv2/core.hpp>

#include <algorithm>
#include <filesystem>
#include <ios>
#include <string_view>
#include <utility>

namespace Zeq {

using Velmora::Formats::BGRA_F32;

namespace {

// By its name or, where that says otherwise, by how it begins.
bool isMediaFile(const std::string& fileName)
{
    if (extensionOf(fileName) == "zeq")
        return true;
    MediaConversion::FileStream file;
    file.open(pathOf(fileName), std::ios_base::in | std::ios_base::binary);
    char beginning[3]{};
    file.read(beginning, sizeof beginning);
    return std::string_view(beginning, sizeof beginning) == "zeq";
}

// Whole numbers of the format's bits, or float.
Imaging::SampleDepth depthOf(const Velmora::FrameFormat& format)
{
    const int bits = bitsOf(format.channelType);
    return std::ranges::find(Imaging::sampleDepths, bits, &Imaging::DepthFacts::bits)->depth;
}

// The bytes of so many pixels in float BGRA.
std::uint64_t floatByteCount(const cv::Size2l& size)
{
    return sizeof(cv::Vec4f) * static_cast<std::uint64_t>(size.area());
}

class OpenMediaFile final : public IOpenFile
{
public:
    OpenMediaFile(const std::string& fileName, const ReadingOptions& options)
        : m_factor(options.factor)
    {
        openReader(m_reader, fileName);
        const auto header = m_reader.mediaHeader();
        const auto frame = m_reader.frameHeader();
        const auto& formats = MediaConversion::mediaFormatCodes();
        if (!formats.contains(header.mediaFormatCode)) {
            m_reader.readFrame();  // throws, and its text is the reader's own
            return;
        }
        const auto& format = formats.at(header.mediaFormatCode);
        const cv::Size stored(frame.frameWidth, frame.frameHeight);
        const std::uint64_t dataSize =
            MediaConversion::frameDataSize(format, frame.frameWidth, frame.frameHeight);
        m_facts = {.size = {header.width, header.height},
                   .stored = stored,
                   .depth = depthOf(format),
                   .hasAlpha = hasAlpha(format.colourspace),
                   .byteCount = std::min(dataSize + floatByteCount(stored), mostFor(fileName))};
        m_options = MediaConversion::mediaFileOptions(header, frame);
    }

    const PictureFacts& facts() const override { return m_facts; }

    std::unique_ptr<Velmora::IFrame> readFrame() override
    {
        if (m_factor == 1)
            return m_reader.readFrame();
        const auto pixels = scaledPixels();
        cv::Mat limited;
        cv::min(pixels, 1, limited);
        return std::make_unique<Velmora::FullFrame>(BGRA_F32(), limited);
    }

    Picture readPicture() override
    {
        return {scaledPixels(), {}, m_facts.size, m_facts.depth, m_facts.hasAlpha};
    }

    const Imaging::OutsideValues& outside() const override { return m_outside; }

    void checkWhole() override { m_reader.checkFrame(); }

    MediaConversion::MediaFileOptions mediaFileOptions() const override { return m_options; }

private:
    cv::Mat scaledPixels()
    {
        auto pixels = MediaConversion::convert(m_reader.readFrame(), BGRA_F32())->image();
        const auto shown = cv::Rect({}, pixels.size()) & cv::Rect({}, cv::Size(m_facts.size));
        for (int row = 0; m_factor != 1 && row < pixels.rows; ++row) {
            Imaging::scaleColours(pixels.ptr<cv::Vec4f>(row), pixels.cols, m_factor);
            if (row < shown.height)
                m_outside.add(pixels.ptr<cv::Vec4f>(row), shown.width);
        }
        return pixels;
    }

    // What the library takes for a file at most, whatever its headers claim.
    static std::uint64_t mostFor(const std::string& fileName)
    {
        constexpr std::uint64_t largestGrowth = 21;
        std::error_code isGone;
        const auto size = std::filesystem::file_size(pathOf(fileName), isGone);
        return isGone ? 0 : size * largestGrowth;
    }

    MediaConversion::FileStreamFactory m_streams;
    MediaConversion::VelmoraMediaFileReader m_reader{m_streams};
    const float m_factor;
    PictureFacts m_facts;
    MediaConversion::MediaFileOptions m_options;
    Imaging::OutsideValues m_outside;
};

// Does this with a picture, and says in plain words what is wrong with it.
template <class Operation>
auto inPlainWords(const std::string& fileName, const Operation& operation)
{
    try {
        return operation();
    } catch (const std::exception& error) {
        throw std::runtime_error(plainText(messageOf(error), fileName));
    }
}

std::unique_ptr<Imaging::IPictureFile> openPicture(const std::string& fileName,
                                                   const ReadingOptions& options)
{
    checkPictureFile(fileName);
    const auto& module = pictureModule();
    return inPlainWords(fileName, [&] { return module.open(pathOf(fileName), options); });
}

class OpenPicture final : public IOpenFile
{
public:
    OpenPicture(const std::string& fileName, const ReadingOptions& options)
        : m_fileName(fileName), m_file(openPicture(fileName, options))
    {
    }

    const PictureFacts& facts() const override { return m_file->facts(); }

    std::unique_ptr<Velmora::IFrame> readFrame() override
    {
        // The conversion to 8 bits would make highlights black that are too large for an int.
        return std::make_unique<Velmora::FullFrame>(BGRA_F32(),
                                                    whole(read(Imaging::Highlights::limited)));
    }

    Picture readPicture() override { return read(Imaging::Highlights::kept); }

    const Imaging::OutsideValues& outside() const override { return m_file->outside(); }

    void checkWhole() override
    {
        inPlainWords(m_fileName, [&] { m_file->checkEnds(); });
    }

private:
    Picture read(Imaging::Highlights highlights)
    {
        return inPlainWords(m_fileName, [&] { return m_file->read(highlights); });
    }

    const std::string m_fileName;
    std::unique_ptr<Imaging::IPictureFile> m_file;
};

}

void openReader(MediaConversion::VelmoraMediaFileReader& reader, const std::string& fileName)
try {
    reader.open(MediaConversion::wideFileName(pathOf(fileName)));
} catch (const MediaConversion::MediaFileAccessException& error) {
    const bool isOther = error.message() == "Media file is corrupt";
    const auto why = isOther ? kindText(fileName) : whyNotOpened(fileName);
    const bool hasOtherName = extensionOf(fileName) != "zeq";
    MediaConversion::fail(isOther && hasOtherName ? "not a media file" : error.message(),
                          why.empty() ? "" : ": ", why);
}

std::unique_ptr<IOpenFile> openMediaFile(const std::string& fileName, const ReadingOptions& options)
{
    return std::make_unique<OpenMediaFile>(fileName, options);
}

std::unique_ptr<IOpenFile> openFile(const std::string& fileName, const ReadingOptions& options)
{
    if (isMediaFile(fileName))
        return openMediaFile(fileName, options);
    return std::make_unique<OpenPicture>(fileName, options);
}

std::uint64_t fillingUpByteCount(const PictureFacts& facts)
{
    if (facts.size == facts.stored)
        return 0;
    Imaging::checkMayBeFilledUp(facts.size, facts.stored);
    return floatByteCount(facts.size);
}

void checkNotEmpty(const PictureFacts& facts)
{
    if (facts.size.empty())
        MediaConversion::fail("is a picture of ", facts.size.width, " x ", facts.size.height,
                              " pixels: nothing can be shown");
}

}
