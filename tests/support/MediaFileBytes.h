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
        return {.mediaFormatCode = mediaFormatCode,
                .width = width,
                .height = height,
                .frameWidth = width,
                .frameHeight = height,
                .data = std::move(data)};
    }

    // The whole file. Reserved fields hold bytes that would be noticed if they were taken for
    // others.
    std::string bytes() const
    {
        constexpr std::uint16_t reserved = 0xEEEE;
        std::string file = magic;
        // Little-endian, as the machine is.
        const auto append = [&](auto... fields) {
            (file.append(reinterpret_cast<const char*>(&fields), sizeof fields), ...);
        };
        append(headerByte0, headerByte1, headerRevision, headerByte3, mediaFormatCode);
        append(width, reserved, height, reserved);
        if (headerRevision > 1)
            file += std::string(20, '\xEE');
        append(frameWidth, frameField1, frameHeight, reserved);
        return file + data;
    }

    // The first bytes of the file, as if writing had stopped there.
    std::string bytesCutTo(std::size_t size) const { return bytes().substr(0, size); }
};

inline void writeFile(const std::filesystem::path& path, std::string_view bytes)
{
    std::ofstream(path, std::ios::binary | std::ios::trunc)
        .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}
