#include "MediaConversion/MediaFile/VelmoraMediaFileWriter.h"

#include "MediaConversion/Errors.h"
#include "MediaConversion/MediaFile/AtomicFile.h"
#include "MediaConversion/MediaFile/FileNames.h"
#include "MediaConversion/MediaFile/Headers.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <span>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <utility>

namespace MediaConversion {

using Velmora::ImageFrame;

namespace {

// What both headers say of a frame.
struct HeaderFields
{
    std::uint32_t mediaFormatCode;
    std::uint16_t width;   // pixels
    std::uint16_t height;  // pixels
};

std::uint32_t mediaFormatCodeOf(const Velmora::FrameFormat& format)
{
    const auto& codes = mediaFormatCodes();
    const auto entry = std::ranges::find_if(
        codes, [&](const auto& codeAndFormat) { return codeAndFormat.second == format; });
    if (entry == codes.end())
        fail("Frame writing is not supported for frame format ", format);
    return entry->first;
}

// Throws for a frame that would not be read back. The sizes are whole groups, and in 64 bits: a
// frame's own width and height are ints.
HeaderFields headerFields(const Velmora::FrameFormat& format, std::uint64_t width,
                          std::uint64_t height)
{
    const auto code = mediaFormatCodeOf(format);
    if (width == 0 || height == 0)
        fail("Frame has no pixels");
    constexpr auto limit = std::numeric_limits<std::uint16_t>::max();
    if (width > limit || height > limit)
        fail("Media file cannot hold a frame of ", width, "x", height, " pixels");
    const auto& packing = format.pixelPacking;
    const auto byteCount =
        width / packing.columnsPerGroup * (height / packing.rowsPerGroup) * packing.bytesPerGroup;
    const HeaderFields stored{code, static_cast<std::uint16_t>(width),
                              static_cast<std::uint16_t>(height)};
    if (frameDataSize(format, stored.width, stored.height) != byteCount)
        fail("Media file cannot hold a frame of ", byteCount, " bytes");
    return stored;
}

HeaderFields headerFields(const ImageFrame& frame)
{
    const auto& packing = frame.format().pixelPacking;
    const auto pixels = [](int groups, std::uint64_t perGroup) {
        return groups > 0 ? static_cast<std::uint64_t>(groups) * perGroup : 0;
    };
    return headerFields(frame.format(), pixels(frame.image().cols, packing.columnsPerGroup),
                        pixels(frame.image().rows, packing.rowsPerGroup));
}

LittleEndianWriter headersOf(const HeaderFields& frame, const MediaFileOptions& options)
{
    LittleEndianWriter fields;
    fields.write(toString(options.magic));
    fields.write(options.headerByte0);
    fields.write(options.headerByte1);
    fields.write(options.headerRevision);
    fields.write(options.headerByte3);
    fields.write(frame.mediaFormatCode);
    fields.write(options.width.value_or(frame.width));
    fields.writeZeros<2>();
    fields.write(options.height.value_or(frame.height));
    fields.writeZeros<2>();
    if (options.headerRevision > 1) {
        fields.writeZeros<4>();
        fields.writeZeros<16>();
    }
    fields.write(frame.width);
    fields.write(options.frameField1);
    fields.write(frame.height);
    fields.writeZeros<2>();
    return fields;
}

// Writes as few pieces as the matrix allows: one, or a row each when it is a part of a wider
// matrix.
void writePixels(IAtomicFile& file, const cv::Mat& image)
{
    const int pieces = image.isContinuous() ? 1 : image.rows;
    const auto pieceSize = image.total() * image.elemSize() / static_cast<std::size_t>(pieces);
    for (int piece = 0; piece < pieces; ++piece)
        file.write(std::as_bytes(std::span(image.ptr(piece), pieceSize)));
}

// Runs the operation and, when it fails, adds the file's name and what could not be done.
template <class Operation>
auto named(const std::wstring& fileName, std::string_view failure, Operation operation)
{
    try {
        return operation();
    } catch (const std::runtime_error& error) {
        const auto* const ofSystem = dynamic_cast<const std::system_error*>(&error);
        throw MediaFileAccessException(displayFileName(fileName), joined(failure, error.what()),
                                       ofSystem ? ofSystem->code() : std::error_code());
    }
}

}

MediaFileOptions mediaFileOptions(const MediaHeader& header, const FrameHeader& frame)
{
    return {.magic = header.magic,
            .headerByte0 = header.headerByte0,
            .headerByte1 = header.headerByte1,
            .headerRevision = header.headerRevision,
            .headerByte3 = header.headerByte3,
            .frameField1 = frame.frameField1,
            .width = header.width,
            .height = header.height};
}

Velmora::FrameFormat defaultMediaFormat(int bits, bool hasAlpha)
{
    using namespace Velmora::Formats;
    if (bits <= 8)
        return hasAlpha ? RGBA_U8() : RGB_U8();
    if (hasAlpha)
        return ZEQ_4224_HYBRID();
    return bits <= 10 ? RGB_DPX_FILLED() : RGB_SMPTE_2110();
}

void checkMayBeWritten(const Velmora::FrameFormat& format, std::uint64_t width,
                       std::uint64_t height)
{
    headerFields(format, width, height);
}

VelmoraMediaFileWriter::VelmoraMediaFileWriter(CreateFile createFile)
    : m_createFile(std::move(createFile))
{
    if (!m_createFile)
        m_createFile = [](const std::wstring& fileName) {
            return std::make_unique<AtomicFile>(fileName);
        };
}

void VelmoraMediaFileWriter::write(const std::wstring& fileName, const ImageFrame& frame,
                                   const MediaFileOptions& options) const
{
    const auto stored = named(fileName, "", [&] { return headerFields(frame); });
    const auto file =
        named(fileName, "Failed to create file: ", [&] { return m_createFile(fileName); });
    named(fileName, "Failed to write file: ", [&] {
        file->write(headersOf(stored, options).bytes());
        writePixels(*file, frame.image());
        file->commit();
    });
}

}
