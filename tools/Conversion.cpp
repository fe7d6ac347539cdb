#include "tools/Conversion.h"

#include "MediaConversion/Encoder/Encoder.h"
#include "MediaConversion/Errors.h"
#include "MediaConversion/MediaFile/Headers.h"
#include "imaging/Colours.h"
#include "tools/Files.h"
#include "tools/InputFiles.h"
#include "tools/Losses.h"
#include "tools/PictureModule.h"
#include "tools/PictureTypes.h"
#include "tools/Report.h"
#include "tools/StandardFiles.h"

#include <sys/stat.h>
#include <opencv2/core.hpp>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <limits>
#include <map>
#include <memory>
#include <set>
#include <tuple>
#include <utility>

namespace Zeq {

namespace {

namespace fs = std::filesystem;

// The device and the number that all links to a file share; nothing where there is no file.
using FileNumber = std::pair<dev_t, ino_t>;

std::optional<FileNumber> fileNumber(const std::string& name)
{
    struct stat status;
    return ::stat(name.c_str(), &status) == 0
               ? std::optional(FileNumber(status.st_dev, status.st_ino))
               : std::nullopt;
}

// What cannot be looked at keeps its name.
fs::path withoutLinks(const fs::path& path)
{
    std::error_code error;
    const auto plain = fs::weakly_canonical(path, error);
    return error ? path : plain;
}

}

fs::path FileIdentities::of(const std::string& name)
{
    std::error_code error;
    const auto path = fs::absolute(name, error);
    const auto last = path.filename();
    if (error || last.empty() || last == "." || last == ".." ||
        fs::is_symlink(fs::symlink_status(path, error)))
        return withoutLinks(path);
    const auto parent = path.parent_path();
    const auto [folder, isNew] = m_folders.try_emplace(parent.native());
    if (isNew)
        folder->second = withoutLinks(parent);
    return folder->second / last;
}

InputNames::InputNames(const std::vector<InputFile>& inputs)
{
    for (const auto& input : inputs) {
        if (input.name == standardFile)
            continue;
        m_byPath.emplace(m_identities.of(input.name), input.name);
        if (const auto number = fileNumber(input.name))
            m_byNumber.emplace(*number, input.name);
    }
}

std::optional<std::string> InputNames::sameAs(const std::string& output)
{
    if (const auto input = m_byPath.find(m_identities.of(output)); input != m_byPath.end())
        return input->second;
    if (const auto number = fileNumber(output))
        if (const auto input = m_byNumber.find(*number); input != m_byNumber.end())
            return input->second;
    return std::nullopt;
}

namespace {

// How an input's name becomes that of its output.
std::function<std::string(const InputFile&)> naming(const std::string& output,
                                                    const std::string& extension)
{
    if (isFolderName(output))
        return [=](const InputFile& input) {
            if (input.name == standardFile)
                throw UsageError("standard input has no name for a file in " + output);
            const fs::path name(input.name);
            // The folders inside the one that was named are kept.
            const auto place = input.folder.empty()
                                   ? fs::path()
                                   : name.lexically_relative(input.folder).parent_path();
            return (output / place / (name.stem().native() + "." + extension)).native();
        };
    if (const auto pattern = FramePattern::parse(output))
        return [=](const InputFile& input) {
            if (!input.frame)
                throw UsageError(input.name + " has no frame number for " + output);
            return pattern->fileName(*input.frame);
        };
    return [=](const InputFile&) { return output; };
}

}

namespace {

// The inputs without those that were found in a folder because it holds that of the outputs: they
// were made before.
std::vector<InputFile> withoutOutputs(std::vector<InputFile> inputs, const std::string& output)
{
    if (!isFolderName(output))
        return inputs;
    FileIdentities identities;
    const auto folder = identities.of(output);
    std::erase_if(inputs, [&](const InputFile& input) {
        if (input.folder.empty() || identities.of(input.folder) == folder)
            return false;
        const auto path = identities.of(input.name);
        return std::mismatch(folder.begin(), folder.end(), path.begin(), path.end()).first ==
               folder.end();
    });
    return inputs;
}

}

std::vector<Conversion> planConversions(const std::vector<InputFile>& allInputs,
                                        const std::string& output, const std::string& extension)
{
    const auto outputOf = naming(output, extension);
    const auto inputs = withoutOutputs(allInputs, output);
    InputNames inputNames(inputs);
    FileIdentities identities;

    std::vector<Conversion> conversions;
    std::map<fs::path, std::string> taken;  // the outputs and what they are made of
    for (const auto& input : inputs) {
        if (!input.problem.empty()) {
            conversions.push_back({input});
            continue;
        }
        const auto& conversion = conversions.emplace_back(Conversion{input, outputOf(input)});
        const auto& target = conversion.output;
        if (const auto [entry, isFirst] = taken.emplace(identities.of(target), input.name);
            !isFirst)
            throw UsageError(entry->second + " and " + input.name + " would both become " + target);
        if (target == standardFile)
            continue;
        const auto overwritten = inputNames.sameAs(target);
        if (overwritten == input.name)
            throw UsageError(input.name + " would be overwritten by its output " + target);
        if (overwritten)
            throw UsageError(input.name + " would overwrite the input " + *overwritten);
    }
    return conversions;
}

using MediaConversion::fail;
using Velmora::FrameFormat;

namespace {

FrameFormat defaultFormat(const PictureFacts& facts)
{
    return MediaConversion::defaultMediaFormat(factsOf(facts.depth).bits, facts.hasAlpha);
}

// The format that is most like this one and takes any number of pixels.
FrameFormat formatOfAnySize(const FrameFormat& format)
{
    const auto distance = [&](const FrameFormat& other) {
        const int bits = bitsOf(format.channelType) - bitsOf(other.channelType);
        const auto& packing = other.pixelPacking;
        return std::tuple(packing.columnsPerGroup * packing.rowsPerGroup != 1,
                          hasAlpha(other.colourspace) != hasAlpha(format.colourspace),
                          std::abs(bits));
    };
    std::vector<FrameFormat> formats;
    for (const auto& name : MediaConversion::mediaFormatNames())
        formats.push_back(*MediaConversion::mediaFormat(name));
    return *std::ranges::min_element(formats, {}, distance);
}

// The side is "wide" or "high".
void checkSide(const std::string& side, int length, std::uint32_t group, const FrameFormat& format)
{
    constexpr auto limit = std::numeric_limits<std::uint16_t>::max();
    if (length > limit)
        fail("is ", length, " pixels ", side, "; a media file holds at most ", limit);
    if (length % static_cast<int>(group) != 0)
        fail("is ", length, length == 1 ? " pixel " : " pixels ", side, "; ", shortName(format),
             " needs a multiple of ", group, "; ", shortName(formatOfAnySize(format)),
             " takes any ", side == "wide" ? "width" : "height");
}

void writeMediaFile(IOpenFile& file, const std::string& output, const FrameFormat& format,
                    MemoryBudget& budget)
{
    const auto& facts = file.facts();
    const auto options = file.mediaFileOptions();
    checkCanBeHeld(file, format);
    const auto filledUp = options.width ? 0 : fillingUpByteCount(facts);
    const auto reservation =
        budget.reserve(facts.byteCount + filledUp + std::max(facts.byteCount, filledUp) / 4);
    const auto frame = MediaConversion::convert(file.readFrame(), format);
    writeOutput(output, dynamic_cast<const Velmora::ImageFrame&>(*frame), options);
}

// In local time, as cameras and other writers have it.
std::string presentTime()
{
    const auto now = std::time(nullptr);
    std::tm parts{};
    ::localtime_r(&now, &parts);
    char text[sizeof "2001:12:31 23:59:59"];
    return {text, std::strftime(text, sizeof text, "%Y:%m:%d %H:%M:%S", &parts)};
}

// Gives the depth of what is written.
SampleDepth writeOtherPicture(IOpenFile& file, const std::string& output,
                              const std::string& extension, const WantedResult& wanted,
                              MemoryBudget& budget)
{
    const auto& type = *findPictureType(extension);
    const auto& facts = file.facts();
    const bool hasAlpha = facts.hasAlpha && type.holdsAlpha;
    const auto depth = wanted.depth ? checkedDepth(type, *wanted.depth, hasAlpha)
                                    : losslessDepth(type, facts.depth, hasAlpha);
    checkNotEmpty(facts);
    const auto reservation =
        budget.reserve(facts.byteCount + std::max(facts.byteCount, fillingUpByteCount(facts)));
    auto picture = file.readPicture();
    picture.depth = depth;
    picture.hasAlpha = hasAlpha;
    if (wanted.hasTimestamp)
        picture.time = presentTime();
    if (wanted.isPremultiplied && hasAlpha && extension == "exr" && !facts.isExr)
        for (int row = 0; row < picture.pixels.rows; ++row)
            Imaging::multiplyByAlpha(picture.pixels.ptr<cv::Vec4f>(row), picture.pixels.cols);
    const auto write = [&](const std::string& name) {
        pictureModule().write(name, picture, std::filesystem::path(output).filename());
    };
    if (output == standardFile)
        writeStandardOutput(extension, write);
    else
        writeOutput(output, write);
    return depth;
}

}

void checkCanBeHeld(const IOpenFile& file, const FrameFormat& format)
{
    // A media file keeps the frame that it has, of which hosts show the picture.
    if (file.mediaFileOptions().width)
        return;
    const auto& size = file.facts().size;
    checkSide("wide", size.width, format.pixelPacking.columnsPerGroup, format);
    checkSide("high", size.height, format.pixelPacking.rowsPerGroup, format);
}

std::string outputKind(const Conversion& conversion, const WantedResult& wanted)
{
    return conversion.output == standardFile ? wanted.extension : extensionOf(conversion.output);
}

std::string convertFile(const Conversion& conversion, const WantedResult& wanted,
                        MemoryBudget& budget)
{
    const auto extension = outputKind(conversion, wanted);
    auto reading = wanted.reading;
    // From EXR to EXR colours stay as they are: a division would lose where alpha is 0.
    reading.isPremultiplied = wanted.isPremultiplied && extension != "exr";
    const auto file = openFile(conversion.input.name, reading);
    if (extension == "zeq") {
        const auto format = wanted.format ? *wanted.format : defaultFormat(file->facts());
        writeMediaFile(*file, conversion.output, format, budget);
        return wanted.isLossAccepted ? "" : lossText(*file, hasAlpha(format.colourspace), false);
    }
    const auto depth = writeOtherPicture(*file, conversion.output, extension, wanted, budget);
    return wanted.isLossAccepted
               ? ""
               : lossText(*file, findPictureType(extension)->holdsAlpha, factsOf(depth).isFloat);
}

std::vector<JobOutcome> runConversions(
    const std::vector<Conversion>& conversions, const JobSettings& settings,
    const std::function<std::string(const Conversion&, MemoryBudget&)>& make)
{
    std::vector<Job> jobs;
    jobs.reserve(conversions.size());
    std::set<std::string> folders;
    for (const auto& conversion : conversions) {
        const auto& input = conversion.input;
        const auto folder = fs::path(conversion.output).parent_path().native();
        if (!input.folder.empty() && !folder.empty() && folders.insert(folder).second)
            makeFolder(folder);
        jobs.push_back(
            {input.name, input.name + " -> " + conversion.output, [&](MemoryBudget& budget) {
                 throwProblem(input);
                 return make(conversion, budget);
             }});
    }
    removeUnfinishedFilesOnSignals();
    return runJobs(jobs, settings);
}

void checkOutputName(const std::string& fileName, const WantedResult& wanted)
{
    const auto extension = extensionOf(fileName);
    const bool isMediaFile = extension == "zeq";
    if (!isMediaFile && !findPictureType(extension))
        throw UsageError(fileName + ": files of this kind are not written; see --help");
    if (isMediaFile && wanted.depth)
        throw UsageError(
            "--depth is for other pictures; a media file's depth is that of its --format");
    if (!isMediaFile && wanted.format)
        throw UsageError("--format is for media files, which end in .zeq");
}

}
