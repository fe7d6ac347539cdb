#include "MediaConversion/Errors.h"
#include "tests/reader/MemoryTest.h"

#include <algorithm>
#include <cstdio>
#include <ctime>

using namespace Headless;

using namespace testing;
using MediaConversion::joined;
using MediaConversion::mediaFormatCodes;
using Velmora::PixelPacking;

namespace {

constexpr std::uint64_t wrap = std::uint64_t{1} << 32;

// Whole groups only, and not wrapped yet.
std::uint64_t byteCount(const PixelPacking& packing, std::uint64_t width, std::uint64_t height)
{
    return height / packing.rowsPerGroup * (width / packing.columnsPerGroup) *
           packing.bytesPerGroup;
}

// What a file has to bring, by nothing but its layout.
struct Expectation
{
    std::vector<std::string> messages;     // of a construction and an open
    int width = 0, height = 0, depth = 0;  // of the picture
    int columns = 0, rows = 0;             // of the stored frame
};

const std::string endOfFile = "Media file has unexpectedly reached End-Of-File";

std::string frameMessage(const PixelPacking& packing, std::uint64_t width, std::uint64_t height,
                         std::uint64_t dataSize)
{
    const auto [bytes, channels, rows, columns] = packing;
    if (width % columns != 0)
        return joined("Frame format column pixel packing of ", columns,
                      " pixels is incompatible with supplied image columns of ", width);
    if (height % rows != 0)
        return joined("Frame format row pixel packing of ", rows,
                      " pixels is incompatible with supplied image rows of ", height);
    const auto needed = byteCount(packing, width, height);
    const bool isFull = bytes == channels && columns == 1 && rows == 1;
    if (needed >= wrap && isFull)
        return joined("Expecting input data byte count ", needed, ", got ", needed % wrap);
    if (needed >= wrap)
        return joined("Expecting input byte count ", needed, " (", height / rows, "x",
                      width / columns, "x", bytes, " matrix), got ", needed % wrap, " bytes");
    if (dataSize < needed)
        return endOfFile;
    return needed == 0 ? "no image data in frame" : "";
}

Expectation expectation(const std::string& bytes)
{
    const auto field = [&](std::size_t offset) {
        std::uint16_t value = 0;
        bytes.copy(reinterpret_cast<char*>(&value), sizeof value, offset);
        return value;
    };
    if (!bytes.starts_with("zeq ") && !bytes.starts_with("zeqZ"))
        return {{"Media file is corrupt", "Media file is corrupt"}};
    const std::size_t frameHeader = bytes.size() > 6 && field(6) % 256 > 1 ? 40 : 20;
    if (bytes.size() < frameHeader + 8)
        return {{endOfFile, endOfFile}};
    const unsigned code = field(8) | unsigned{field(10)} << 16;
    const auto format = mediaFormatCodes().find(code);
    if (format == mediaFormatCodes().end()) {
        char text[50];
        std::snprintf(text, sizeof text, " media header format 0x%04x", code);
        return {{joined("Frame reading is not supported for zeq", text),
                 joined("Frame reading is not supported for", text)}};
    }
    const auto& [_, channelType, packing, name] = format->second;
    const int columns = field(frameHeader), rows = field(frameHeader + 4);
    std::vector messages{frameMessage(packing, columns, rows, bytes.size() - frameHeader - 8)};
    std::erase(messages, "");
    return {messages, field(12), field(16), Velmora::bitsOf(channelType), columns, rows};
}

// Thousands of media files that are wrong, or look like it, bring exactly their texts and cost
// little.
class BadFiles : public MemoryTest
{
protected:
    void TearDown() override
    {
        // A failure would be blocks of memory, too.
        EXPECT_TRUE(HasFailure() || settledBlocks() == m_blocks) << "Memory is still lent";
    }

    // With the data that it claims unless that is much. No format has transparent pixels of these
    // bytes.
    static MediaFileBytes picture(std::uint32_t code, const PixelPacking& packing,
                                  std::uint16_t width = 4, std::uint16_t height = 4)
    {
        const auto claimed = byteCount(packing, width, height) % wrap;
        return MediaFileBytes::picture(code, width, height,
                                       std::string(claimed <= 1 << 18 ? claimed : 0, '\x5A'));
    }

    // Opens the file and shows two rows of it.
    void show(const std::string& bytes)
    {
        if (HasFailure())
            return;  // one file says enough
        [[maybe_unused]] const auto start = std::clock();
        expectTexts(bytes);
#ifdef COSTS_ARE_BOUNDED
        EXPECT_LE(std::clock() - start, CLOCKS_PER_SEC / 20);  // of the processor's time
#endif
        EXPECT_EQ(entryCount("/proc/self/fd"), m_descriptors);
        EXPECT_FALSE(HasFailure())
            << bytes.size() << " bytes: " << PrintToString(bytes.substr(0, 48));
    }

private:
    // As of a host that takes no notice of failures.
    void expectTexts(const std::string& bytes)
    {
        auto expected = expectation(bytes);
        // A new file: one that is written over goes to the disc at once, and we wait for it.
        std::filesystem::remove(path("bad.zeq"));
        const auto file = write("bad.zeq", bytes);
        Allocations::mostLargeBytes = 0;
        auto hosted = construct(file);
        auto& reader = hosted.reader();
        EXPECT_EQ(reader.width(), expected.width);
        EXPECT_EQ(reader.height(), expected.height);
        EXPECT_EQ(reader.depth(), expected.depth);
        EXPECT_EQ(reader.info().channels(),
                  expected.depth ? DD::Image::Mask_RGBA : DD::Image::Mask_None);
        reader.open();
        EXPECT_LE(Allocations::mostLargeBytes, 16u << 20);
        if (expected.messages.empty()) {
            const int lowest = expected.height - expected.rows;
            EXPECT_EQ(opaqueColumns(reader, lowest, expected.columns), expected.columns);
            EXPECT_EQ(opaqueColumns(reader, lowest - 1, expected.columns), 0);
        } else {
            const bool hasNone = bytes.size() < Allocations::leastLargeSize;
            EXPECT_FALSE(hasNone && Allocations::mostLargeBytes > 0) << "Memory for nothing";
            opaqueColumns(reader, 0, 1);
            expected.messages.push_back("No input frame!");
        }
        EXPECT_EQ(hosted.takeMessages(), expected.messages);
    }

    // Of the pixels in a row and one on either side of it, those that are not transparent.
    static int opaqueColumns(DD::Image::Reader& reader, int y, int columns)
    {
        DD::Image::Row row(-1, columns + 1);
        reader.engine(y, -1, columns + 1, DD::Image::Mask_RGBA, row);
        const float* const alpha = row[DD::Image::Chan_Alpha];
        return static_cast<int>(columns + 2 - std::count(alpha - 1, alpha + columns + 1, 0.f));
    }

    const std::ptrdiff_t m_descriptors = entryCount("/proc/self/fd");
    const long m_blocks = settledBlocks();
};

}

TEST_F(BadFiles, thatAreCut)
{
    for (const auto& [code, format] : mediaFormatCodes())
        for (const int revision : {0, 1, 2, 255}) {
            auto file = picture(code, format.pixelPacking);
            file.headerRevision = static_cast<std::uint8_t>(revision);
            for (std::size_t size = 0; size <= file.bytes().size(); ++size)
                show(file.bytesCutTo(size));
        }
}

// In every format that has so large frames, the bytes of some wrap 32 bits to a few, which the file
// has.
TEST_F(BadFiles, ofAllSizes)
{
    const std::initializer_list<std::uint16_t> sizes{
        0,     1,     2,     3,     4,     5,     7,     8,     255,  256,
        29128, 32767, 32768, 32770, 43691, 43694, 52429, 65534, 65535};
    for (const auto& [code, format] : mediaFormatCodes())
        for (const auto width : sizes)
            for (const auto height : sizes) {
                const auto bytes = picture(code, format.pixelPacking, width, height).bytes();
                for (const auto size : {std::size_t{28}, bytes.size() - 1, bytes.size()})
                    show(bytes.substr(0, size));
                show(bytes + "more");
            }
}

// Each byte of the headers has all its values: all revisions, headers that contradict each other.
TEST_F(BadFiles, ofAnyHeader)
{
    for (const auto revision : {'\0', '\2'})
        for (std::size_t byte = 0; byte < (revision ? 48 : 28); ++byte)
            for (int value = 0; value < 256; ++value) {
                const auto& [code, format] = *std::next(begin(mediaFormatCodes()), value % 13);
                auto file = picture(code, format.pixelPacking);
                file.headerRevision = static_cast<std::uint8_t>(revision);
                show(file.bytes().replace(byte, 1, 1, static_cast<char>(value)));
            }
}

TEST_F(BadFiles, ofAnyCode)
{
    for (const auto& [code, format] : mediaFormatCodes())
        for (int bit = 0; bit < 32; ++bit)
            for (const auto other : {code ^ 1u << bit, code - (1u << bit)})
                show(picture(other, {4, 4, 1, 1}).bytes());
    for (std::uint32_t code = 0; code <= 0xFFFF; ++code)
        show(picture(code, {4, 4, 1, 1}).bytes());
}
