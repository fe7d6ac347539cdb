#pragma once

#include "MediaConversion/MediaFile/FileStreams.h"
#include "MediaConversion/MediaPipeline/Formats.h"

#include <array>
#include <charconv>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace MediaConversion {

// Reads the fields of a file one after the other. Bytes that the stream does not give count as 0:
// the stream's state tells, and its owner looks there when a whole header has been read.
class LittleEndianReader
{
public:
    explicit LittleEndianReader(IIoStream& stream) : m_stream(stream) {}

    template <std::unsigned_integral Field>
    Field read()
    {
        const auto bytes = take<sizeof(Field)>();
        Field field = 0;
        for (std::size_t byte = 0; byte < bytes.size(); ++byte)
            field = static_cast<Field>(field | Field{static_cast<unsigned char>(bytes[byte])}
                                                   << 8 * byte);
        return field;
    }

    template <std::size_t count>
    void skip()
    {
        take<count>();
    }

private:
    template <std::size_t count>
    std::array<char, count> take()
    {
        std::array<char, count> bytes{};
        m_stream.read(bytes.data(), count);
        return bytes;
    }

    IIoStream& m_stream;
};

// Collects the fields of a file one after the other.
class LittleEndianWriter
{
public:
    template <std::unsigned_integral Field>
    void write(Field field)
    {
        for (std::size_t byte = 0; byte < sizeof field; ++byte)
            m_bytes.push_back(static_cast<std::byte>(field >> 8 * byte));
    }

    void write(std::string_view text)
    {
        for (const char character : text)
            m_bytes.push_back(static_cast<std::byte>(character));
    }

    template <std::size_t count>
    void writeZeros()
    {
        m_bytes.resize(m_bytes.size() + count);
    }

    std::span<const std::byte> bytes() const { return m_bytes; }

private:
    std::vector<std::byte> m_bytes;
};

// The frame formats of media files by the code in the media header. Codes are looked up as they
// stand; their bits have no meaning of their own.
const std::map<std::uint32_t, Velmora::FrameFormat>& mediaFormatCodes();

// Their short names, and the format that has such a name, if one does.
std::vector<std::string> mediaFormatNames();
std::optional<Velmora::FrameFormat> mediaFormat(const std::string& name);

// A code as messages show it: in lower case, without a prefix, filled with zeros to four digits.
inline std::string hexadecimal(std::uint32_t code)
{
    constexpr std::size_t shownDigits = 4;
    char digits[2 * sizeof code];
    auto* const end = std::to_chars(std::begin(digits), std::end(digits), code, 16).ptr;
    const std::string text(digits, end);
    return text.size() < shownDigits ? std::string(shownDigits - text.size(), '0') + text : text;
}

// The first four bytes of a media file. Readers take them alike.
enum class MediaFileMagic : std::uint32_t
{
    Zeq = 0,   // "zeq "
    ZeqZ = 1,  // "zeqZ"
};

std::string_view toString(MediaFileMagic magic);

// What a media file says of its picture. The bytes without a meaning of their own are kept as they
// are read.
struct MediaHeader
{
    std::uint8_t headerByte0;
    std::uint8_t headerByte1;
    std::uint8_t headerRevision;  // more than 1 announces the extension block
    std::uint8_t headerByte3;
    std::uint32_t mediaFormatCode;
    std::uint16_t width;   // pixels
    std::uint16_t height;  // pixels
    MediaFileMagic magic = MediaFileMagic::Zeq;

    bool operator==(const MediaHeader&) const = default;
};

// The magic that the file begins with; none for a file of another kind.
std::optional<MediaFileMagic> readMagic(LittleEndianReader& fields);

// Reads the header behind the magic and the extension block, if there is one, which is not kept.
MediaHeader readMediaHeader(LittleEndianReader& fields, MediaFileMagic magic);

// The size of the one frame that a media file stores. It need not be the picture's size.
struct FrameHeader
{
    std::uint16_t frameWidth;   // pixels
    std::uint16_t frameField1;  // kept as it is read
    std::uint16_t frameHeight;  // pixels

    bool operator==(const FrameHeader&) const = default;
};

FrameHeader readFrameHeader(LittleEndianReader& fields);

// The bytes that a file holds for a frame: whole groups only. The file format defines it in 32
// bits, in which the size of a very large frame wraps.
std::uint32_t frameDataSize(const Velmora::FrameFormat& format, std::uint32_t width,
                            std::uint32_t height);

}
