#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <utility>

// Writes media files for tests, field by field and on purpose without any of the library's code.
// The fields may contradict each other and the data: that is what most tests are about.
struct MediaFileBytes
{
    std::string magic = "zeq ";
    std::uint8_t headerByte0 = 1;
    std::uint8_t headerByte1 = 0;
    std::uint8_t headerRevision = 0;
    std::uint8_t headerByte3 = 7;
    std::uint32_t mediaFormatCode = 0;
    std::uint16_t width = 0;
    std::uint16_t height = 0;
    std::uint16_t frameWidth = 0;
    std::uint16_t frameField1 = 1;
    std::uint16_t frameHeight = 0;
    std::string data;

    // A picture whose two headers agree on the size.
    static MediaFileBytes picture(std::uint32_t mediaFormatCode, std::uint16_t width,
                                  std::uint16_t height, std::string data)
    {
        MediaFileBytes file;
        file.mediaFormatCode = mediaFormatCode;
        file.width = file.frameWidth = width;
        file.height = file.frameHeight = height;
        file.data = std::move(data);
        return file;
    }

    // The whole file. Reserved fields hold bytes that would be noticed if they were taken for
    // others.
    std::string bytes() const
    {
        std::string file = magic;
        append(file, headerByte0, 1);
        append(file, headerByte1, 1);
        append(file, headerRevision, 1);
        append(file, headerByte3, 1);
        append(file, mediaFormatCode, 4);
        append(file, width, 2);
        append(file, reserved, 2);
        append(file, height, 2);
        append(file, reserved, 2);
        if (headerRevision > 1) {
            append(file, reserved, 4);
            file.append(16, '\xEE');
        }
        append(file, frameWidth, 2);
        append(file, frameField1, 2);
        append(file, frameHeight, 2);
        append(file, reserved, 2);
        return file + data;
    }

    // The first bytes of the file, as if writing had stopped there.
    std::string bytesCutTo(std::size_t size) const { return bytes().substr(0, size); }

private:
    static constexpr std::uint32_t reserved = 0xEEEEEEEEu;

    // Little-endian.
    static void append(std::string& file, std::uint32_t value, int byteCount)
    {
        for (int byte = 0; byte < byteCount; ++byte)
            file += static_cast<char>(value >> 8 * byte & 0xFF);
    }
};

inline void writeFile(const std::filesystem::path& path, std::string_view bytes)
{
    std::ofstream(path, std::ios::binary | std::ios::trunc)
        .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}
