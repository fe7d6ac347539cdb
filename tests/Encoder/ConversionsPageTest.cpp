#include "MediaConversion/Converters/ImageProcessors.h"
#include "MediaConversion/Encoder/ConversionRegistry.h"
#include "MediaConversion/Errors.h"
#include "tests/Converters/ConvertedFrames.h"

#include <cxxabi.h>
#include <opencv2/core/check.hpp>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <typeinfo>

namespace MediaConversion {

namespace {

// As its function is called: RGB_U8, ZEQ_422.
std::string functionOf(const Velmora::FrameFormat& format)
{
    auto name = shortName(format);
    std::ranges::replace(name, '-', '_');
    return name;
}

std::string functionOf(Velmora::ChannelType type)
{
    return toString(type);
}

// Without what surrounds it: ConvertBitDepth.
std::string className(const std::type_info& type)
{
    char* const name = abi::__cxa_demangle(type.name(), nullptr, nullptr, nullptr);
    const std::string text(name);
    std::free(name);
    return text.substr(text.rfind(':') + 1);
}

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

template <class... Processors>
std::string processorSections()
{
    const auto section = [](const auto& type, const auto& table) {
        Destinations destinationsOf;
        for (const auto& [pair, entry] : table)
            destinationsOf[functionOf(pair.first)] += ", " + functionOf(pair.second);
        return joined("\n### ", className(type), ", ", table.size(), " pairs\n\n",
                      pairRows(destinationsOf));
    };
    return (section(typeid(Processors), Processors::conversions()) + ...);
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

std::string tables()
{
    return joined(
        formatRows(), "\n## Pairs\n\nWhat each processor converts in one step.\n",
        processorSections<ImageToFullFrame, ImageToPackedFrame, ImageYCbCr42xToRGB,
                          ImageRGBtoYCbCr42x, ImageYCoCgDXT5toRGB, ImageRGBtoYCoCgDXT5,
                          ImageColourspace, ImageBitDepth>(),
        "\n## Chains\n\nWhat the Encoder does for each of ", conversionRegistry().size(),
        " pairs. Any other goes through BGRA_F32, if there is a chain\nto it and one from it. The "
        "last step ends at the destination.\n",
        chainRows());
}

TEST(ConversionsPage, saysWhatTheTablesHold)
{
    const std::string name = PROJECT_FOLDER "/docs/conversions.md";
    std::ifstream file(name);
    // What stands above the first table's rows is written by hand.
    const std::string written{std::istreambuf_iterator(file), {}};
    const auto page = written.substr(0, written.find("| RGB_U8 |")) + tables();
    if (std::getenv("WRITE_PAGES"))
        std::ofstream(name) << page;
    else
        EXPECT_EQ(written, page);
}

}
}
