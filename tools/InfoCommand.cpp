#include "MediaConversion/MediaFile/FileStreams.h"
#include "MediaConversion/MediaFile/Headers.h"
#include "tools/Commands.h"
#include "tools/Files.h"
#include "tools/InputFiles.h"
#include "tools/OpenFile.h"
#include "tools/Report.h"
#include "tools/StandardFiles.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <iostream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Zeq {

namespace {

using Json = nlohmann::ordered_json;

// The facts of a file, each with its name. What is not known is null.
Json factsOf(const std::string& fileName)
{
    MediaConversion::FileStreamFactory streams;
    MediaConversion::VelmoraMediaFileReader reader(streams);
    openReader(reader, fileName);
    const auto header = reader.mediaHeader();
    const auto frame = reader.frameHeader();
    const auto& formats = MediaConversion::mediaFormatCodes();
    const auto format = formats.find(header.mediaFormatCode);
    const bool isKnown = format != formats.end();
    constexpr std::uint64_t shortHeader = 28;
    constexpr std::uint64_t extension = 20;
    const auto headerSize = shortHeader + (header.headerRevision > 1 ? extension : 0);

    Json facts;
    facts["file"] = fileName;
    facts["format"] = isKnown ? Json(shortName(format->second)) : Json();
    facts["formatCode"] = "0x" + MediaConversion::hexadecimal(header.mediaFormatCode);
    facts["width"] = header.width;
    facts["height"] = header.height;
    facts["frameWidth"] = frame.frameWidth;
    facts["frameHeight"] = frame.frameHeight;
    facts["magic"] = toString(header.magic);
    facts["headerRevision"] = header.headerRevision;
    facts["headerByte0"] = header.headerByte0;
    facts["headerByte1"] = header.headerByte1;
    facts["headerByte3"] = header.headerByte3;
    facts["frameField1"] = frame.frameField1;
    facts["headerSize"] = headerSize;
    facts["dataExpected"] = isKnown ? Json(MediaConversion::frameDataSize(
                                          format->second, frame.frameWidth, frame.frameHeight))
                                    : Json();
    std::error_code isGone;
    const auto size = std::filesystem::file_size(pathOf(fileName), isGone);
    facts["dataPresent"] = isGone || size < headerSize ? Json() : Json(size - headerSize);
    return facts;
}

// A line for each fact.
void print(const Json& facts)
{
    for (const auto& [name, value] : facts.items()) {
        std::cout << name << ": ";
        if (value.is_null())
            std::cout << "unknown";
        else if (value.is_string())
            std::cout << shown(value.get_ref<const std::string&>());
        else
            std::cout << value;
        std::cout << '\n';
    }
}

// The facts in a line, in columns.
void printBriefly(const Json& facts, std::size_t nameWidth)
{
    const auto pixels = [&](const char* side) { return std::to_string(facts[side].get<int>()); };
    const auto& present = facts["dataPresent"];
    const auto& expected = facts["dataExpected"];
    std::string state = "unknown";
    if (!expected.is_null() && !present.is_null())
        state = present >= expected
                    ? "complete"
                    : "incomplete: " + present.dump() + " of " + expected.dump() + " bytes";
    const auto padded = [](std::string text, std::size_t width) {
        text.resize(std::max(text.size(), width), ' ');
        return text + "  ";
    };
    const auto& format = facts[facts["format"].is_null() ? "formatCode" : "format"];
    constexpr std::size_t longestFormat = 15;
    constexpr std::size_t longestSize = 11;
    std::cout << padded(shown(facts["file"].get<std::string>()), nameWidth)
              << padded(format.get<std::string>(), longestFormat)
              << padded(pixels("width") + "x" + pixels("height"), longestSize) << state << '\n';
}

struct Options
{
    std::vector<std::string> files;
    std::string frames;
    bool isBrief = false;
    bool asJson = false;
};

int show(const Options& options)
{
    if (options.isBrief && options.asJson)
        throw UsageError("--brief and --json exclude each other");
    const auto files = inputFiles(options.files, options.frames, InFolders::mediaFiles);
    std::size_t nameWidth = 0;
    for (const auto& file : files)
        nameWidth = std::max(nameWidth, shown(file.name).size());
    Json all = Json::array();
    bool isFirst = true;
    const auto add = [&](const std::string& fileName) {
        auto facts = factsOf(fileName);
        if (options.asJson) {
            all.push_back(std::move(facts));
        } else if (options.isBrief) {
            printBriefly(facts, nameWidth);
        } else {
            std::cout << (std::exchange(isFirst, false) ? "" : "\n");
            print(facts);
        }
    };
    const auto failures = forEachFile(files, add);
    // File names are bytes: what is not UTF-8 is replaced.
    if (options.asJson)
        std::cout << all.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
    return failures ? ExitStatus::failure : ExitStatus::success;
}

}

Command info()
{
    const auto options = std::make_shared<Options>();
    return {
        .description = sequencesText + R"(
Prints a fact on each line, its name first, and an empty line between files. dataExpected and
dataPresent are bytes of frame data; a file that has more than it needs is sound. With --brief, a
line has a file's name, format and size, and "complete" or how many of its bytes there are.

A folder stands for the media files in it and in the folders inside, without hidden ones.)",
        .arguments = {filesArgument(options->files, "media files, or folders of such"),
                      framesArgument(options->frames),
                      {"--brief", "", &options->isBrief, "print a line for each file"},
                      {"--json", "", &options->asJson,
                       "print an array with an object for each file"}},
        .run = [options] { return show(*options); },
    };
}

}
