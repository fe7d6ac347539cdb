#include "MediaConversion/MediaFile/FileNames.h"
#include "MediaConversion/MediaFile/FileStreams.h"
#include "MediaConversion/MediaFile/Headers.h"
#include "MediaConversion/MediaFile/VelmoraMediaFileReader.h"
#include "tools/Commands.h"
#include "tools/Files.h"
#include "tools/InputFiles.h"
#include "tools/Report.h"

#include <nlohmann/json.hpp>

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
    reader.open(MediaConversion::wideFileName(fileName));
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
    const auto size = std::filesystem::file_size(fileName, isGone);
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

struct Options
{
    std::vector<std::string> files;
    std::string frames;
    bool asJson = false;
};

int show(const Options& options)
{
    Json all = Json::array();
    const auto add = [&](const std::string& fileName) {
        auto facts = factsOf(fileName);
        if (!options.asJson) {
            std::cout << (all.empty() ? "" : "\n");
            print(facts);
        }
        all.push_back(std::move(facts));
    };
    const auto failures = forEachFile(inputFiles(options.files, options.frames), add);
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
dataPresent are bytes of frame data; a file that has more than it needs is sound.)",
        .arguments = {filesArgument(options->files, "media files"),
                      framesArgument(options->frames),
                      {"--json", "", &options->asJson,
                       "print an array with an object for each file"}},
        .run = [options] { return show(*options); },
    };
}

}
