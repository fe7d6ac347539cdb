#include "oiio/ZeqOutput.h"

#include "MediaConversion/Encoder/Encoder.h"
#include "MediaConversion/Errors.h"
#include "MediaConversion/MediaFile/FileNames.h"
#include "imaging/PictureLimits.h"
#include "oiio/PictureDescription.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <exception>
#include <utility>

namespace OpenImageIoPlugIn {

using MediaConversion::fail;
using OIIO::ImageSpec;
using OIIO::stride_t;
using OIIO::TypeDesc;
using Velmora::Formats::BGRA_F32;

namespace {

// Whole groups of every format.
constexpr int rowsPerBand = 16;

std::unique_ptr<Velmora::ImageFrame> newFrame(const FrameFormat& format, int width, int height)
{
    if (Velmora::PackedFormatCvTypes().contains(format))
        return std::make_unique<Velmora::PackedFrame>(format, width, height);
    return std::make_unique<Velmora::FullFrame>(format, width, height);
}

// Hosts leave windows out that are those of the data.
ImageSpec withDisplayWindow(ImageSpec description)
{
    if (description.full_width <= 0 || description.full_height <= 0) {
        description.full_x = description.x;
        description.full_y = description.y;
        description.full_width = description.width;
        description.full_height = description.height;
    }
    return description;
}

std::uint64_t area(int width, int height)
{
    return static_cast<std::uint64_t>(width) * static_cast<std::uint64_t>(height);
}

}

template <class Operation>
bool ZeqOutput::reportErrors(const Operation& operation)
{
    try {
        operation();
        return true;
    } catch (const std::exception& error) {
        m_picture.reset();
        errorfmt("{}", error.what());
        return false;
    }
}

int ZeqOutput::supports(OIIO::string_view feature) const
{
    return feature == "alpha" || feature == "displaywindow" || feature == "origin" ||
           feature == "negativeorigin";
}

bool ZeqOutput::open(const std::string& fileName, const ImageSpec& description, OpenMode mode)
{
    return reportErrors([&] {
        if (mode != Create)
            fail("Media file has one picture of one resolution");
        m_picture.reset();
        start(fileName, withDisplayWindow(description));
    });
}

void ZeqOutput::start(const std::string& fileName, const ImageSpec& description)
{
    if (description.nchannels != 3 && description.nchannels != 4)
        fail("Media file cannot hold a picture of ", description.nchannels,
             " channels, but of 3 or 4");
    if (description.depth > 1 || description.deep)
        fail("Media file cannot hold a picture that is deep");
    if (description.width <= 0 || description.height <= 0)
        fail("Frame has no pixels");
    auto picture = std::make_unique<Picture>();
    picture->fileName = fileName;
    picture->x = description.full_x;
    picture->y = description.full_y;
    // A frame has the corner of its picture, so data from elsewhere on fills a whole picture.
    const bool hasCorner = description.x == picture->x && description.y == picture->y;
    const int width = hasCorner ? description.width : description.full_width;
    const int height = hasCorner ? description.height : description.full_height;
    const auto format = storedFormat(description);
    MediaConversion::checkMayBeWritten(format, static_cast<std::uint64_t>(width),
                                       static_cast<std::uint64_t>(height));
    if (description.nchannels == 4 && !hasAlpha(format.colourspace))
        fail(shortName(format), " holds no alpha; leave it out or choose another zeq:format");
    if (!Imaging::mayBeFilledUp(area(width, height), area(description.width, description.height)))
        fail("Media file is not filled up: of a picture of ", width, "x", height,
             " pixels, at least a pixel in 16 has to be given");
    picture->options = mediaFileOptions(description);
    constexpr int limit = 65535;
    if (description.full_width > limit || description.full_height > limit)
        fail("Media file cannot hold a picture of ", description.full_width, "x",
             description.full_height, " pixels");
    picture->options.width = static_cast<std::uint16_t>(description.full_width);
    picture->options.height = static_cast<std::uint16_t>(description.full_height);
    picture->frame = newFrame(format, width, height);
    picture->band = Velmora::FullFrame(BGRA_F32(), width, rowsPerBand).image();
    picture->samples.resize(static_cast<std::size_t>(description.width) *
                            static_cast<std::size_t>(description.nchannels));

    m_spec = description;
    m_spec.channelformats.clear();
    m_spec.tile_width = m_spec.tile_height = m_spec.tile_depth = 0;
    m_nextY = m_spec.y;
    m_picture = std::move(picture);
}

bool ZeqOutput::close()
{
    return reportErrors([&] {
        if (std::exchange(m_picture, nullptr))
            fail("Media file is not written: ", m_spec.height - (m_nextY - m_spec.y), " of ",
                 m_spec.height, " rows are missing");
    });
}

bool ZeqOutput::write_scanline(int y, int z, TypeDesc type, const void* data,
                               stride_t pixelDistance)
{
    return reportErrors([&] {
        if (!m_picture)
            fail("Media file is not open for writing");
        if (y != m_nextY || z != 0)
            fail("Media file is written row by row: expecting row ", m_nextY, ", got ", y);
        take(y, type, data, pixelDistance);
        ++m_nextY;
        // Not left to close(), of which many do not ask whether it has failed.
        if (m_nextY == m_spec.y + m_spec.height)
            finish();
    });
}

void ZeqOutput::take(int y, TypeDesc type, const void* data, stride_t pixelDistance)
{
    if (type == TypeDesc::UNKNOWN)
        type = m_spec.format;
    ImageSpec::auto_stride(pixelDistance, type, m_spec.nchannels);
    auto& picture = *m_picture;
    if (!OIIO::convert_image(m_spec.nchannels, m_spec.width, 1, 1, data, type, pixelDistance,
                             OIIO::AutoStride, OIIO::AutoStride, picture.samples.data(),
                             TypeDesc::FLOAT, OIIO::AutoStride, OIIO::AutoStride, OIIO::AutoStride))
        fail("Pixels cannot be converted from ", std::string_view(type.c_str()));
    const auto row = std::int64_t{y} - picture.y;
    while (picture.rows < std::min<std::int64_t>(row, picture.frame->height()))
        addRow();
    if (0 <= row && row < picture.frame->height())
        addRow(picture.samples);
}

// Samples outside the frame are left out, and what lies around them is 0, as is a row without any.
void ZeqOutput::addRow(std::span<const float> samples)
{
    auto& picture = *m_picture;
    auto* const row = picture.band.ptr<cv::Vec4f>(picture.rows % rowsPerBand);
    const std::int64_t width = picture.band.cols;
    const auto left = std::int64_t{m_spec.x} - picture.x;
    const auto first = samples.empty() ? width : std::clamp<std::int64_t>(left, 0, width);
    const auto end = samples.empty() ? width : std::clamp(left + m_spec.width, first, width);
    std::fill(row, row + first, cv::Vec4f());
    for (auto column = first; column < end; ++column) {
        const float* const sample =
            &samples[static_cast<std::size_t>((column - left) * m_spec.nchannels)];
        // The conversion to 8 bits would make highlights black that are too large for an int.
        const auto limited = [](float value) { return value > 1 ? 1.f : value; };
        row[column] = {limited(sample[2]), limited(sample[1]), limited(sample[0]),
                       m_spec.nchannels == 4 ? limited(sample[3]) : 1.f};
    }
    std::fill(row + end, row + width, cv::Vec4f());
    ++picture.rows;

    auto& frame = *picture.frame;
    const int rowsInBand = (picture.rows - 1) % rowsPerBand + 1;
    if (rowsInBand < rowsPerBand && picture.rows < frame.height())
        return;
    const auto converted = MediaConversion::convert(
        frameOver(BGRA_F32(), picture.band.rowRange(0, rowsInBand)), frame.format());
    const int rowsPerGroup = static_cast<int>(frame.format().pixelPacking.rowsPerGroup);
    const auto groups = frame.image().rowRange((picture.rows - rowsInBand) / rowsPerGroup,
                                               picture.rows / rowsPerGroup);
    converted->image().copyTo(groups);
}

void ZeqOutput::finish()
{
    auto& picture = *m_picture;
    while (picture.rows < picture.frame->height())
        addRow();
    MediaConversion::VelmoraMediaFileWriter().write(MediaConversion::wideFileName(picture.fileName),
                                                    *picture.frame, picture.options);
    m_picture.reset();
}

}
