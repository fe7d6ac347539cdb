#include "tools/FileKinds.h"

#include "tools/StandardFiles.h"

#include <unistd.h>

#include <fcntl.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <utility>

namespace Zeq {

namespace fs = std::filesystem;
using namespace std::string_literals;
using namespace std::string_view_literals;

namespace {

constexpr auto damaged = "it is damaged, or its end is missing";

// How files of a kind begin.
struct Beginning
{
    std::string_view bytes;
    const char* text;
    bool isPicture = true;  // that OpenImageIO reads
};

// clang-format off
constexpr Beginning beginnings[] = {
    {"\x89PNG"sv,           "it is a PNG file"},
    {"\xFF\xD8\xFF"sv,      "it is a JPEG file"},
    {"\x76\x2F\x31\x01"sv,  "it is an EXR file"},
    {"II*\0"sv,             "it is a TIFF file"},
    {"MM\0*"sv,             "it is a TIFF file"},
    {"SDPX"sv,              "it is a DPX file"},
    {"XPDS"sv,              "it is a DPX file"},
    {"BM"sv,                "it is a BMP file"},
    {"GIF8"sv,              "it is a GIF file"},
    {"8BPS"sv,              "it is a PSD file"},
    {"#?RADIANCE"sv,        "it is an HDR file"},
    {"%PDF"sv,              "it is a PDF file", false},
    {"PK\x03\x04"sv,        "it is a ZIP file", false},
    {"\x1F\x8B"sv,          "it is a gzip file", false},
    {"\x28\xB5\x2F\xFD"sv,  "it is a Zstandard file", false},
    {"\0\0\0\0\0\0\0\0"sv,  "it begins with zeros", false},
};
// clang-format on

constexpr std::size_t beginningSize = 4096;

// As many bytes as there are, up to these.
std::string beginningOf(const std::string& fileName)
{
    std::ifstream file(pathOf(fileName), std::ios::binary);
    std::string bytes(beginningSize, '\0');
    file.read(bytes.data(), std::ssize(bytes));
    bytes.resize(static_cast<std::size_t>(file.gcount()));
    return bytes;
}

// Null where none of these is known.
const Beginning* findBeginning(std::string_view bytes)
{
    const auto* const found = std::ranges::find_if(
        beginnings, [&](const Beginning& each) { return bytes.starts_with(each.bytes); });
    return found == std::end(beginnings) ? nullptr : found;
}

bool isText(std::string_view bytes)
{
    return std::ranges::all_of(bytes, [](unsigned char byte) {
        return byte >= ' ' || byte == '\n' || byte == '\r' || byte == '\t';
    });
}

}

std::string kindText(const std::string& fileName)
{
    const auto bytes = beginningOf(fileName);
    if (bytes.empty())
        return "it is empty";
    if (bytes.starts_with("zeq"))
        return {};
    if (const auto* const known = findBeginning(bytes))
        return known->text;
    return isText(bytes) ? "it is text" : "";
}

std::string whyNotOpened(const std::string& fileName)
{
    std::error_code error;
    const auto path = pathOf(fileName);
    const auto kind = fs::status(path, error).type();
    if (kind == fs::file_type::directory)
        return "it is a folder";
    if (error || kind == fs::file_type::not_found)
        return std::generic_category().message(error ? error.value() : ENOENT);
    if (kind != fs::file_type::regular)
        return "it is no regular file";
    if (::faccessat(AT_FDCWD, path.c_str(), R_OK, AT_EACCESS) != 0)
        return std::generic_category().message(errno);
    return {};
}

namespace {

// Numbers of a DPX header, in the order of bytes of the file.
class DpxHeader
{
public:
    explicit DpxHeader(std::string_view bytes) : m_bytes(bytes) {}

    std::uint64_t number(std::size_t place, std::size_t size) const
    {
        std::uint64_t value = 0;
        for (std::size_t index = 0; index < size; ++index) {
            const auto at = m_bytes.starts_with('X') ? size - 1 - index : index;
            value = value << 8 | static_cast<unsigned char>(m_bytes[place + at]);
        }
        return value;
    }

    // The bytes that the header and the first element's pixels take at least; 0 where that depends
    // on the pixels.
    std::uint64_t leastFileSize() const
    {
        const auto bits = number(803, 1);
        const bool isPacked = number(804, 2) == 0;
        const auto samples = number(772, 4) * samplesPerPixel();
        if (number(806, 2) != 0 || samples == 0)
            return 0;
        const auto rowSize = bits == 10 && !isPacked   ? (samples + 2) / 3 * 4
                             : bits == 12 && !isPacked ? samples * 2
                                                       : samples * bits / 8;
        const auto height = std::min<std::uint64_t>(number(776, 4), std::uint64_t{1} << 24);
        return sizeAt(4) + rowSize * height;
    }

    std::uint64_t userDataSize() const { return sizeAt(32); }

private:
    // 0 where it is not told.
    std::uint64_t sizeAt(std::size_t place) const
    {
        const auto size = number(place, 4);
        return size == 0xFFFFFFFF ? 0 : size;
    }

    std::uint64_t samplesPerPixel() const
    {
        switch (number(800, 1)) {
            case 6:  // luma
                return 1;
            case 50:  // red, green, blue
                return 3;
            case 51:  // and alpha
            case 52:
                return 4;
            default:
                return 0;
        }
    }

    std::string_view m_bytes;
};

bool isWholeDpx(std::string_view beginning, std::uint64_t fileSize)
{
    constexpr std::size_t headerSize = 2048;
    if (beginning.size() < headerSize)
        return false;
    const DpxHeader header(beginning);
    return std::max(header.leastFileSize(), header.userDataSize()) <= fileSize;
}

// Whether its pieces, each with its length in front, reach the last one.
bool isWholePng(std::istream& file, std::uint64_t fileSize)
{
    std::array<char, 8> piece{};
    constexpr std::uint64_t frameSize = 12;
    for (std::uint64_t place = 8; place + frameSize <= fileSize;) {
        file.seekg(static_cast<std::streamoff>(place));
        file.read(piece.data(), piece.size());
        std::uint64_t length = 0;
        for (const char byte : std::string_view(piece.data(), 4))
            length = length << 8 | static_cast<unsigned char>(byte);
        place += frameSize + length;
        const std::string_view kind(piece.data() + 4, 4);
        if (!std::ranges::all_of(kind, [](unsigned char letter) { return std::isalpha(letter); }))
            return false;
        if (kind == "IEND")
            return place <= fileSize;
    }
    return false;
}

// Whether its segments, and the pixels between them, reach the end of the picture, behind which
// some cameras put more.
bool isWholeJpeg(std::istream& file)
{
    std::array<char, 2> last{};
    file.seekg(-std::ssize(last), std::ios::end);
    file.read(last.data(), last.size());
    if (std::string_view(last.data(), last.size()) == "\xFF\xD9")
        return true;
    constexpr int startOfPixels = 0xDA;
    constexpr int endOfPicture = 0xD9;
    constexpr auto eof = std::char_traits<char>::eof();
    const auto isWithoutLength = [](int marker) { return marker <= 1 || marker / 8 == 0xD0 / 8; };
    auto& bytes = *file.rdbuf();
    bytes.pubseekpos(2);
    for (int byte = bytes.sbumpc(); byte != eof; byte = bytes.sbumpc()) {
        if (byte != 0xFF)
            continue;
        while (byte == 0xFF)
            byte = bytes.sbumpc();
        if (byte == endOfPicture)
            return true;
        if (byte == eof || isWithoutLength(byte))
            continue;
        const int high = bytes.sbumpc();
        const int low = bytes.sbumpc();
        if (high == eof || low == eof)
            return false;
        if (byte != startOfPixels)
            bytes.pubseekoff(std::max(2, high << 8 | low) - 2, std::ios::cur);
    }
    return false;
}

bool isWhole(const std::string& fileName)
{
    std::ifstream file(pathOf(fileName), std::ios::binary);
    std::error_code isGone;
    const auto fileSize = fs::file_size(pathOf(fileName), isGone);
    const auto beginning = beginningOf(fileName);
    if (isGone)
        return true;  // whoever reads it says what is wrong
    if (beginning.starts_with("SDPX") || beginning.starts_with("XPDS"))
        return isWholeDpx(beginning, fileSize);
    if (beginning.starts_with("\x89PNG"))
        return isWholePng(file, fileSize);
    if (beginning.starts_with("\xFF\xD8\xFF"))
        return isWholeJpeg(file);
    return true;
}

}

void checkPictureFile(const std::string& fileName)
{
    if (const auto why = whyNotOpened(fileName); !why.empty())
        throw std::runtime_error(why);
    if (beginningOf(fileName).empty())
        throw std::runtime_error("it is empty");
    if (!isWhole(fileName))
        throw std::runtime_error(damaged);
}

std::string plainText(std::string text, const std::string& fileName)
{
    const auto says = [&](const char* words) { return text.find(words) != std::string::npos; };
    if (says("find a format reader")) {
        const auto* const known = findBeginning(beginningOf(fileName));
        if (known && known->isPicture)
            return damaged;
        const auto kind = kindText(fileName);
        return kind.empty() ? "no picture of a known kind" : "no picture of a known kind: " + kind;
    }
    for (const auto* const words :
         {"end of file", "TIFFRead", "Read error at", "IO error during reading",
          "Failed to read directory", "Cannot read TIFF header", "Could not read header",
          "wrong bmp header size"})
        if (says(words))
            return damaged;
    const auto name = "\"" + pathOf(fileName) + "\"";
    for (const auto& words :
         {"OpenEXR exception: "s, "Failed OpenEXR read: "s, "PNG read error: "s, "JPEG error: "s,
          "Could not open file: "s, "Cannot read image file " + name + ". ",
          "Error reading pixel data from image file " + name + ". ", " (" + name + ")", name + ": ",
          name + " "})
        for (auto place = text.find(words); place != std::string::npos; place = text.find(words))
            text.erase(place, words.size());
    return text.ends_with('.') ? text.substr(0, text.size() - 1) : text;
}

}
