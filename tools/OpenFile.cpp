#include "tools/OpenFile.h"

#include "MediaConversion/Encoder/Encoder.h"
#include "MediaConversion/Errors.h"
#include "MediaConversion/MediaFile/FileNames.h"
#include "MediaConversion/MediaFile/FileStreams.h"
#include "MediaConversion/MediaFile/VelmoraMediaFileReader.h"
#include "MediaConversion/MediaPipeline/Formats.h"
#include "MediaConversion/MediaPipeline/Frames.h"
#include "imaging/Colours.h"
#include "tools/Files.h"
#include "tools/PictureModule.h"

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
    file.open(fileName, std::ios_base::in | std::ios_base::binary);
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
        m_reader.open(MediaConversion::wideFileName(fileName));
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
        const auto size = std::filesystem::file_size(fileName, isGone);
        return isGone ? 0 : size * largestGrowth;
    }

    MediaConversion::FileStreamFactory m_streams;
    MediaConversion::VelmoraMediaFileReader m_reader{m_streams};
    const float m_factor;
    PictureFacts m_facts;
    MediaConversion::MediaFileOptions m_options;
    Imaging::OutsideValues m_outside;
};

class OpenPicture final : public IOpenFile
{
public:
    OpenPicture(const std::string& fileName, const ReadingOptions& options)
        : m_file(pictureModule().open(fileName, options))
    {
    }

    const PictureFacts& facts() const override { return m_file->facts(); }

    std::unique_ptr<Velmora::IFrame> readFrame() override
    {
        // The conversion to 8 bits would make highlights black that are too large for an int.
        return std::make_unique<Velmora::FullFrame>(
            BGRA_F32(), whole(m_file->read(Imaging::Highlights::limited)));
    }

    Picture readPicture() override { return m_file->read(Imaging::Highlights::kept); }

    const Imaging::OutsideValues& outside() const override { return m_file->outside(); }

private:
    std::unique_ptr<Imaging::IPictureFile> m_file;
};

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
