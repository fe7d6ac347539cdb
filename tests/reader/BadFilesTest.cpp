#include "tests/reader/BadFiles.h"

#include "tests/reader/MemoryTest.h"

#include <sys/resource.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

using namespace testing;
using namespace BadFiles;
using std::to_string;

namespace {

// What a file has to bring, by nothing but its layout.
struct Expectation
{
    std::string constructionMessage;  // empty when all is well
    std::string openMessage;
    int width = 0, height = 0, depth = 0;  // of the picture
    int columns = 0, rows = 0;             // of the stored frame
};

const std::string endOfFile = "Media file has unexpectedly reached End-Of-File";

std::string frameMessage(const Packing& packing, std::uint64_t width, std::uint64_t height,
                         std::uint64_t dataSize)
{
    if (width % packing.columns != 0)
        return "Frame format column pixel packing of " + to_string(packing.columns) +
               " pixels is incompatible with supplied image columns of " + to_string(width);
    if (height % packing.rows != 0)
        return "Frame format row pixel packing of " + to_string(packing.rows) +
               " pixels is incompatible with supplied image rows of " + to_string(height);
    const auto needed = byteCount(packing, width, height);
    const auto claimed = needed % wrap;
    if (claimed != needed && packing.isFull)
        return "Expecting input data byte count " + to_string(needed) + ", got " +
               to_string(claimed);
    if (claimed != needed)
        return "Expecting input byte count " + to_string(needed) + " (" +
               to_string(height / packing.rows) + "x" + to_string(width / packing.columns) + "x" +
               to_string(packing.bytes) + " matrix), got " + to_string(claimed) + " bytes";
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
    const auto* const packing = std::ranges::find(packings, code, &Packing::code);
    if (packing == std::end(packings)) {
        char format[50];
        std::snprintf(format, sizeof format, " media header format 0x%04x", code);
        return {std::string("Frame reading is not supported for zeq") + format,
                std::string("Frame reading is not supported for") + format};
    }
    const int columns = field(frameHeader, 2), rows = field(frameHeader + 4, 2);
    return {"",
            frameMessage(*packing, columns, rows, bytes.size() - frameHeader - 8),
            field(12, 2),
            field(16, 2),
            packing->depth,
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

auto openDescriptors()
{
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

class BadFile : public MemoryTest, public WithParamInterface<Kind>
{
protected:
    // As a host does that takes no notice of failures.
    void show(const std::string& bytes)
    {
        const auto expected = expectation(bytes);
        std::vector<std::string> messages{expected.constructionMessage, expected.openMessage};
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
};

}

TEST_P(BadFile, bringsExactlyItsTextsAndCostsLittle)
{
    SCOPED_TRACE(GetParam().name);  // the first of two traces, which would count as a block later
    const auto blocks = settledBlocks();
    const auto descriptors = openDescriptors();
    GetParam().visitFiles([&](const std::string& bytes) {
        if (HasFailure())
            return;  // one file says enough
        SCOPED_TRACE(to_string(bytes.size()) + " bytes: " + PrintToString(bytes.substr(0, 48)));
        const auto peak = peakKilobytes();
        [[maybe_unused]] const auto start = std::clock();
        show(bytes);
#ifdef COSTS_ARE_BOUNDED
        EXPECT_LE(std::clock() - start, CLOCKS_PER_SEC / 20);  // of the processor's time
#endif
        EXPECT_LE(peakKilobytes() - peak, 16 << 10);
        EXPECT_EQ(openDescriptors(), descriptors);
    });
    // A failure would be blocks of memory, too.
    EXPECT_TRUE(HasFailure() || settledBlocks() == blocks) << "Memory is still lent";
}

INSTANTIATE_TEST_SUITE_P(Of, BadFile, ValuesIn(kinds),
                         [](const auto& parameter) { return parameter.param.name; });

TEST(BadFiles, areThousands)
{
    int files = 0;
    for (const auto& kind : kinds) {
        kind.visitFiles([&](const std::string&) { ++files; });
        std::cout << files << " files with " << kind.name << '\n';
    }
    EXPECT_GE(files, 8000);
}
