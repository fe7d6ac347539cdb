#include "MediaConversion/Converters/ImageProcessors.h"
#include "MediaConversion/Encoder/ConversionRegistry.h"
#include "MediaConversion/Errors.h"
#include "tests/support/FormatNames.h"

#include <gtest/gtest.h>

#include <opencv2/core/check.hpp>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <map>

namespace MediaConversion {

namespace {

const char* const introduction =
    R"(# Formats and conversions

This page is written from the library's tables by the test that compares it with them; write it anew
by `WRITE_PAGES=1 ./test`. [formats.md](formats.md) says how each format lies in memory.

## Formats

A group is what can be addressed: a pixel of a full format, the samples of several pixels of a packed
one. A frame's matrix has an element for each group. The code is that in the header of a media file.

| format | colourspace | channels | bytes, samples, rows, columns of a group | matrix | code |
|---|---|---|---|---|---|
)";

std::string formatRows()
{
    std::string rows;
    for (const auto& format : allFormats()) {
        const auto& [bytes, channels, groupRows, columns] = format.pixelPacking;
        char code[11] = "";
        if (format.mediaCode != Velmora::NamedFormat::noCode)
            std::snprintf(code, sizeof code, "0x%08X", format.mediaCode);
        rows += joined("| ", functionOf(format()), " | ", format.colourspace, " | ",
                       format.channelType, " | ", bytes, ", ", channels, ", ", groupRows, ", ",
                       columns, " | ", cv::typeToString(format.cvType), " | ", code, " |\n");
    }
    return rows;
}

// The destinations of each source, which begin with a comma.
using Destinations = std::map<std::string, std::string>;

std::string pairRows(const Destinations& destinationsOf)
{
    std::string rows = "| from | to |\n|---|---|\n";
    for (const auto& [source, destinations] : destinationsOf)
        rows += "| " + source + " | " + destinations.substr(2) + " |\n";
    return rows;
}

template <class Processor, class NameOf>
std::string processorSection(const NameOf& nameOf)
{
    Destinations destinationsOf;
    for (const auto& [pair, entry] : Processor::conversions())
        destinationsOf[nameOf(pair.first)] += ", " + nameOf(pair.second);
    return joined("\n### ", className(typeid(Processor)), ", ", Processor::conversions().size(),
                  " pairs\n\n", pairRows(destinationsOf));
}

// Destinations that are reached through the same steps share a table.
std::string chainRows()
{
    std::map<std::string, Destinations> chains;
    for (const auto& [pair, steps] : conversionRegistry()) {
        const auto& [destination, source] = pair;
        std::string text;
        for (const auto& [format, factory] : steps) {
            const auto made = factory(format);
            const IFrameFilter& filter = *made;
            text += (text.empty() ? "" : ", ") + className(typeid(filter));
            if (format != destination)
                text += " to " + functionOf(format);
        }
        chains[text][functionOf(source)] += ", " + functionOf(destination);
    }
    std::string rows;
    for (const auto& [steps, destinationsOf] : chains)
        rows += "\n**" + steps + "**\n\n" + pairRows(destinationsOf);
    return rows;
}

std::string page()
{
    const auto functions = [](const Velmora::FrameFormat& format) { return functionOf(format); };
    const auto types = [](Velmora::ChannelType type) { return toString(type); };
    return introduction + formatRows() +
           "\n## Pairs\n\nWhat each processor converts in one step.\n" +
           processorSection<ImageToFullFrame>(functions) +
           processorSection<ImageToPackedFrame>(functions) +
           processorSection<ImageYCbCr42xToRGB>(functions) +
           processorSection<ImageRGBtoYCbCr42x>(functions) +
           processorSection<ImageYCoCgDXT5toRGB>(functions) +
           processorSection<ImageRGBtoYCoCgDXT5>(functions) +
           processorSection<ImageColourspace>(functions) + processorSection<ImageBitDepth>(types) +
           joined("\n## Chains\n\nWhat the Encoder does for each of ", conversionRegistry().size(),
                  " pairs. Any other goes through BGRA_F32, if there is a chain\nto it and one "
                  "from it. The last step ends at the destination.\n") +
           chainRows();
}

TEST(ConversionsPage, saysWhatTheTablesHold)
{
    const std::string name = PROJECT_FOLDER "/docs/conversions.md";
    if (std::getenv("WRITE_PAGES"))
        std::ofstream(name) << page();
    std::ifstream file(name);
    EXPECT_EQ(std::string(std::istreambuf_iterator(file), {}), page());
}

}
}
