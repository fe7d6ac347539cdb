#include "tools/Comparison.h"

#include "MediaConversion/Encoder/Encoder.h"
#include "MediaConversion/Errors.h"
#include "tools/Conversion.h"
#include "tools/Files.h"
#include "tools/InputFiles.h"
#include "tools/OpenFile.h"
#include "tools/PictureModule.h"
#include "tools/Report.h"

#include <filesystem>
#include <memory>
#include <set>
#include <utility>

namespace Zeq {

using MediaConversion::joined;
using Velmora::FrameFormat;

namespace {

namespace fs = std::filesystem;

Pair withProblem(const InputFile& file)
{
    return {.name = file.name, .otherName = {}, .problem = file.name + ": " + file.problem};
}

// What is there is known from the folders' lists, except of frames that were asked for by number.
std::string problemOf(const std::string& name, const std::string& otherName)
{
    const bool isThere = exists(name);
    const bool isOtherThere = exists(otherName);
    if (isThere && isOtherThere)
        return {};
    if (isThere)
        return otherName + ": is missing, " + name + " has no counterpart";
    if (isOtherThere)
        return name + ": is missing, " + otherName + " has no counterpart";
    return name + ": is missing, and so is " + otherName;
}

}

std::vector<Pair> pairsOf(const std::string& name, const std::string& otherName,
                          const std::string& frames)
{
    const auto files = inputFiles({name}, frames, InFolders::nothing);
    const auto others = inputFiles({otherName}, frames, InFolders::nothing);
    for (const auto& list : {files, others})
        if (!list.front().problem.empty())
            return {withProblem(list.front())};
    const auto sequence = sequenceOf(name);
    const auto other = sequenceOf(otherName);
    if (sequence.has_value() != other.has_value())
        throw UsageError((sequence ? name : otherName) + " is a sequence and " +
                         (sequence ? otherName : name) + " is not");
    if (!sequence)
        return {{.name = name, .otherName = otherName, .frame = files.front().frame}};

    std::set<int> numbers;
    for (const auto& list : {files, others})
        for (const auto& file : list)
            numbers.insert(*file.frame);
    std::vector<Pair> pairs;
    for (const int number : numbers) {
        const auto& pair = pairs.emplace_back(Pair{.name = sequence->fileName(number),
                                                   .otherName = other->fileName(number),
                                                   .frame = number});
        pairs.back().problem = problemOf(pair.name, pair.otherName);
    }
    return pairs;
}

std::vector<Pair> pairsWithFormat(const std::string& name, const FrameFormat& format,
                                  const std::string& frames)
{
    std::vector<Pair> pairs;
    for (const auto& file : inputFiles({name}, frames, InFolders::nothing))
        if (file.problem.empty())
            pairs.push_back({.name = file.name,
                             .otherName = file.name + " as " + shortName(format),
                             .frame = file.frame,
                             .format = format});
        else
            pairs.push_back(withProblem(file));
    return pairs;
}

void planHeatMaps(std::vector<Pair>& pairs, const std::string& output)
{
    std::vector<InputFile> files;
    std::vector<InputFile> others;
    for (const auto& pair : pairs) {
        files.push_back({pair.name, pair.frame, pair.problem});
        others.push_back({pair.otherName, pair.frame});
    }
    InputNames otherNames(others);
    const auto plan = planConversions(files, output, "png");
    for (std::size_t index = 0; index < plan.size(); ++index) {
        pairs[index].heatMap = plan[index].output;
        if (const auto input = otherNames.sameAs(plan[index].output))
            throw UsageError("the heat map would overwrite the input " + *input);
    }
}

namespace {

// The picture as a media file of this format gives it back.
Picture pictureHeldBy(const FrameFormat& format, IOpenFile& file)
{
    checkCanBeHeld(file, format);
    const auto frame = MediaConversion::convert(MediaConversion::convert(file.readFrame(), format),
                                                Velmora::Formats::BGRA_F32());
    return {frame->image(),
            {},
            file.facts().size,
            file.facts().depth,
            file.facts().hasAlpha && hasAlpha(format.colourspace)};
}

std::string textOf(const cv::Size& size)
{
    return joined(size.width, " x ", size.height);
}

// What reading the file takes and, in float, its picture as a whole.
std::uint64_t byteCountOf(const PictureFacts& facts)
{
    return facts.byteCount + fillingUpByteCount(facts);
}

// Folders are left out of the names unless they are what tells them apart.
void writeHeatMap(const Pair& pair, const Picture& picture, const Picture& other,
                  const Imaging::Difference& difference)
{
    const std::string name = fs::path(pair.name).filename();
    const std::string otherName = fs::path(pair.otherName).filename();
    const bool isClear = name != otherName;
    const Imaging::HeatMap map{largestDeviations(picture, other), difference,
                               isClear ? name : pair.name, isClear ? otherName : pair.otherName};
    writeOutput(pair.heatMap, [&](const std::string& temporaryName) {
        pictureModule().writeHeatMap(temporaryName, map);
    });
}

}

Comparison compare(const Pair& pair, const ReadingOptions& reading, MemoryBudget& budget)
{
    if (!pair.problem.empty())
        throw FileError(pair.problem);
    const auto& fileOfOther = pair.format ? pair.name : pair.otherName;
    const auto file = naming(pair.name, [&] { return openFile(pair.name, reading); });
    const auto other = naming(fileOfOther, [&] { return openFile(fileOfOther, reading); });
    const auto& facts = file->facts();
    if (facts.size != other->facts().size)
        throw FileError(joined(pair.name, " has ", textOf(facts.size), " pixels, ", pair.otherName,
                               " has ", textOf(other->facts().size), ": they cannot be compared"));
    const auto byteCount = naming(pair.name, [&] {
        checkNotEmpty(facts);
        return byteCountOf(facts);
    });
    const auto otherByteCount = naming(fileOfOther, [&] { return byteCountOf(other->facts()); });
    const auto forHeatMap =
        pair.heatMap.empty() ? 0 : static_cast<std::uint64_t>(facts.size.area()) * 16;
    const auto reservation =
        naming(pair.name, [&] { return budget.reserve(byteCount + otherByteCount + forHeatMap); });

    const auto picture = naming(pair.name, [&] { return file->readPicture(); });
    const auto otherPicture = naming(fileOfOther, [&] {
        return pair.format ? pictureHeldBy(*pair.format, *other) : other->readPicture();
    });
    const Comparison comparison{differenceOf(picture, otherPicture), picture.hasAlpha,
                                otherPicture.hasAlpha};
    if (!pair.heatMap.empty())
        writeHeatMap(pair, picture, otherPicture, comparison.difference);
    return comparison;
}

}
