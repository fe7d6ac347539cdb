#include "MediaConversion/MediaFile/Headers.h"

#include "MediaConversion/MediaPipeline/Formats.h"

#include <algorithm>

namespace MediaConversion {

const std::map<std::uint32_t, Velmora::FrameFormat>& mediaFormatCodes()
{
    static const auto& codes = []() -> const auto&
    {
        auto& map = *new std::map<std::uint32_t, Velmora::FrameFormat>;
        const auto add = [&](const auto& formats) {
            for (const Velmora::NamedFormat& format : formats)
                if (format.mediaCode != Velmora::NamedFormat::noCode)
                    map.emplace(format.mediaCode, format());
        };
        add(Velmora::Formats::full);
        add(Velmora::Formats::packed);
        return map;
    }
    ();
    return codes;
}

namespace {

// The table is complete once the library is loaded.
[[maybe_unused]] const auto& codesAtStartUp = mediaFormatCodes();

}

std::vector<std::string> mediaFormatNames()
{
    std::vector<std::string> names;
    for (const auto& [code, format] : mediaFormatCodes())
        names.push_back(shortName(format));
    return names;
}

std::optional<Velmora::FrameFormat> mediaFormat(const std::string& name)
{
    for (const auto& [code, format] : mediaFormatCodes())
        if (name == shortName(format))
            return format;
    return std::nullopt;
}

std::string_view toString(MediaFileMagic magic)
{
    return magic == MediaFileMagic::ZeqZ ? "zeqZ" : "zeq ";
}

std::optional<MediaFileMagic> readMagic(LittleEndianReader& fields)
{
    const auto word = fields.read<std::uint32_t>();
    for (const auto magic : {MediaFileMagic::Zeq, MediaFileMagic::ZeqZ}) {
        LittleEndianWriter bytes;
        bytes.write(word);
        if (std::ranges::equal(bytes.bytes(), std::as_bytes(std::span(toString(magic)))))
            return magic;
    }
    return std::nullopt;
}

MediaHeader readMediaHeader(LittleEndianReader& fields, MediaFileMagic magic)
{
    MediaHeader header;
    header.magic = magic;
    header.headerByte0 = fields.read<std::uint8_t>();
    header.headerByte1 = fields.read<std::uint8_t>();
    header.headerRevision = fields.read<std::uint8_t>();
    header.headerByte3 = fields.read<std::uint8_t>();
    header.mediaFormatCode = fields.read<std::uint32_t>();
    header.width = fields.read<std::uint16_t>();
    fields.skip<2>();
    header.height = fields.read<std::uint16_t>();
    fields.skip<2>();
    if (header.headerRevision > 1) {
        fields.skip<4>();
        fields.skip<16>();
    }
    return header;
}

FrameHeader readFrameHeader(LittleEndianReader& fields)
{
    FrameHeader header;
    header.frameWidth = fields.read<std::uint16_t>();
    header.frameField1 = fields.read<std::uint16_t>();
    header.frameHeight = fields.read<std::uint16_t>();
    fields.skip<2>();
    return header;
}

std::uint32_t frameDataSize(const Velmora::FrameFormat& format, std::uint32_t width,
                            std::uint32_t height)
{
    const auto& packing = format.pixelPacking;
    return (width / packing.columnsPerGroup) * (height / packing.rowsPerGroup) *
           packing.bytesPerGroup;
}

}
