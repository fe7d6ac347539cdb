#include "MediaConversion/Errors.h"
#include "reader/FrameForHost.h"
#include "tests/reader/MemoryTest.h"

#include <sys/resource.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <iterator>
#include <string>

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
    std::string constructionMessage;  // empty when all is well
    std::string openMessage;
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
    const auto claimed = needed % wrap;
    const bool isFull = bytes == channels && columns == 1 && rows == 1;
    if (claimed != needed && isFull)
        return joined("Expecting input data byte count ", needed, ", got ", claimed);
    if (claimed != needed)
        return joined("Expecting input byte count ", needed, " (", height / rows, "x",
                      width / columns, "x", bytes, " matrix), got ", claimed, " bytes");
    if (dataSize < needed)
        return endOfFile;
    return needed == 0 ? "no image data in frame" : "";
}

Expectation expectation(const std::string& bytes)
{
    const auto field = [&](std::size_t offset, std::size_t size) {
        int value = 0;
        while (size-- > 0)
            value = value << 8 | static_cast<unsigned char>(bytes[offset + size]);
        return value;
    };
    if (!bytes.starts_with("zeq ") && !bytes.starts_with("zeqZ"))
        return {"Media file is corrupt", "Media file is corrupt"};
    const std::size_t frameHeader = bytes.size() > 6 && field(6, 1) > 1 ? 40 : 20;
    if (bytes.size() < frameHeader + 8)
        return {endOfFile, endOfFile};
    const unsigned code = field(8, 4);
    const auto format = mediaFormatCodes().find(code);
    if (format == mediaFormatCodes().end()) {
        char text[50];
        std::snprintf(text, sizeof text, " media header format 0x%04x", code);
        return {joined("Frame reading is not supported for zeq", text),
                joined("Frame reading is not supported for", text)};
    }
    const auto& [_, channelType, packing, name] = format->second;
    const int columns = field(frameHeader, 2), rows = field(frameHeader + 4, 2);
    return {"",
            frameMessage(packing, columns, rows, bytes.size() - frameHeader - 8),
            field(12, 2),
            field(16, 2),
            ForHost::depth(channelType),
            columns,
            rows};
}

// Of the pixels in a row and one on either side of it, those that are not transparent.
int opaqueColumns(HostedReader& reader, int y, int columns)
{
    DD::Image::Row row(-1, columns + 1);
    reader.reader().engine(y, -1, columns + 1, DD::Image::Mask_RGBA, row);
    const float* const alpha = row[DD::Image::Chan_Alpha];
    return static_cast<int>(columns + 2 - std::count(alpha - 1, alpha + columns + 1, 0.f));
}

long peakKilobytes()
{
    rusage usage;
    ::getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

// Thousands of media files that are wrong, or look like it, bring exactly their texts and cost
// little.
class BadFiles : public MemoryTest
{
protected:
    // With the data that it claims unless that is much. No format has transparent pixels of these
    // bytes.
    static MediaFileBytes picture(std::uint32_t code, const PixelPacking& packing,
                                  std::uint64_t width = 4, std::uint64_t height = 4)
    {
        const auto claimed = byteCount(packing, width, height) % wrap;
        return MediaFileBytes::picture(code, static_cast<std::uint16_t>(width),
                                       static_cast<std::uint16_t>(height),
                                       std::string(claimed <= 1 << 18 ? claimed : 0, '\x5A'));
    }

    // Opens the file and shows two rows of it.
    void show(const std::string& bytes)
    {
        if (HasFailure())
            return;  // one file says enough
        ++m_files;
        const auto peak = peakKilobytes();
        [[maybe_unused]] const auto start = std::clock();
        expectTexts(bytes);
#ifdef COSTS_ARE_BOUNDED
        EXPECT_LE(std::clock() - start, CLOCKS_PER_SEC / 20);  // of the processor's time
#endif
        EXPECT_LE(peakKilobytes() - peak, 16 << 10);
        EXPECT_EQ(entryCount("/proc/self/fd"), m_descriptors);
        EXPECT_FALSE(HasFailure())
            << bytes.size() << " bytes: " << PrintToString(bytes.substr(0, 48));
    }

    void expectAllShown(int files)
    {
        EXPECT_EQ(m_files, files);
        // A failure would be blocks of memory, too.
        EXPECT_TRUE(HasFailure() || settledBlocks() == m_blocks) << "Memory is still lent";
    }

private:
    // As of a host that takes no notice of failures.
    void expectTexts(const std::string& bytes)
    {
        const auto expected = expectation(bytes);
        Messages messages{expected.constructionMessage, expected.openMessage};
        // A new file: one that is written over goes to the disc at once, and we wait for it.
        std::filesystem::remove(path("bad.zeq"));
        auto reader = construct(write("bad.zeq", bytes));
        EXPECT_EQ(reader.reader().width(), expected.width);
        EXPECT_EQ(reader.reader().height(), expected.height);
        EXPECT_EQ(reader.reader().depth(), expected.depth);
        EXPECT_EQ(reader.reader().info().channels(),
                  expected.depth ? DD::Image::Mask_RGBA : DD::Image::Mask_None);
        const int largeBlocks = Allocations::large;
        reader.open();
        if (expected.openMessage.empty()) {
            const int lowest = expected.height - expected.rows;
            EXPECT_EQ(opaqueColumns(reader, lowest, expected.columns), expected.columns);
            EXPECT_EQ(opaqueColumns(reader, lowest - 1, expected.columns), 0);
        } else {
            const bool hasNone = bytes.size() < Allocations::leastLargeSize;
            EXPECT_FALSE(hasNone && Allocations::large > largeBlocks) << "Memory for nothing";
            opaqueColumns(reader, 0, 1);
            messages.push_back("No input frame!");
        }
        std::erase(messages, "");
        EXPECT_EQ(reader.takeMessages(), messages);
    }

    int m_files = 0;
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
    expectAllShown(4716);
}

TEST_F(BadFiles, ofAllSizes)
{
    const auto sizes = {0, 1, 2, 3, 4, 5, 7, 8, 255, 256, 32767, 32768, 65534, 65535};
    for (const auto& [code, format] : mediaFormatCodes())
        for (const auto width : sizes)
            for (const auto height : sizes) {
                const auto bytes = picture(code, format.pixelPacking, width, height).bytes();
                for (const auto size : {std::size_t{28}, bytes.size() - 1, bytes.size()})
                    show(bytes.substr(0, size));
                show(bytes + "more");
            }
    expectAllShown(10192);
}

// All sizes whose byte count is 2^32 or more and wraps to next to nothing, which the file has.
TEST_F(BadFiles, whoseSizeWraps)
{
    for (const auto& [code, format] : mediaFormatCodes()) {
        const auto& packing = format.pixelPacking;
        for (auto width = packing.columnsPerGroup; width <= 65535; width += packing.columnsPerGroup)
            for (auto count = wrap; count <= byteCount(packing, width, 65535); count += wrap) {
                const auto groupRow = byteCount(packing, width, packing.rowsPerGroup);
                const auto height = (count + groupRow - 1) / groupRow * packing.rowsPerGroup;
                if (height <= 65535 && byteCount(packing, width, height) < count + 256)
                    show(picture(code, packing, width, height).bytes());
            }
    }
    expectAllShown(971);
}

TEST_F(BadFiles, ofOtherMagics)
{
    for (const auto* magic : {"zeqz", "ZEQ ", "ZEQZ", "Zeq ", "zEqZ", "zeQ ", "qez ", " zeq", "zeq",
                              "eq ", "q", "", "zeq  ", "zeqZZ", "zeq zeq "})
        show(magic + uniformPicture(rgbaU8, 4, 4, 'Z').bytes().substr(4));
    expectAllShown(15);
}

// Each byte of the headers has all its values: all revisions, headers that contradict each other.
TEST_F(BadFiles, ofAnyHeader)
{
    for (const auto revision : {'\0', '\2'})
        for (std::size_t byte = 0; byte < (revision ? 48 : 28); ++byte)
            for (int value = 0; value < 256; ++value) {
                const auto& [code, format] =
                    *std::next(begin(mediaFormatCodes()),
                               value % static_cast<std::ptrdiff_t>(mediaFormatCodes().size()));
                auto file = picture(code, format.pixelPacking);
                file.headerRevision = static_cast<std::uint8_t>(revision);
                show(file.bytes().replace(byte, 1, 1, static_cast<char>(value)));
            }
    expectAllShown(19456);
}

TEST_F(BadFiles, ofAnyCode)
{
    const auto showCode = [&](std::uint32_t code) { show(picture(code, {4, 4, 1, 1}).bytes()); };
    for (const auto& [code, format] : mediaFormatCodes())
        for (int bit = 0; bit < 32; ++bit) {
            showCode(code ^ 1u << bit);
            showCode(code - (1u << bit));
        }
    for (std::uint32_t code = 0; code <= 0xFFFF; ++code)
        showCode(code);
    expectAllShown(66368);
}
