#include "tools/InputFiles.h"

#include "MediaConversion/Errors.h"
#include "tools/Command.h"
#include "tools/FramePattern.h"
#include "tools/FrameRange.h"

#include <algorithm>
#include <filesystem>

namespace Zeq {

namespace {

bool exists(const std::string& name)
{
    std::error_code ignored;
    return std::filesystem::exists(name, ignored);
}

// A file that bears the very name comes before the sequence that it might stand for.
std::optional<FramePattern> patternOf(const std::string& name)
{
    return exists(name) ? std::nullopt : FramePattern::parse(name);
}

}

std::vector<InputFile> inputFiles(const std::vector<std::string>& names, const std::string& frames)
{
    const auto wanted = frames.empty() ? std::vector<int>() : parseFrames(frames);
    std::vector<InputFile> files;
    for (const auto& name : names) {
        const auto pattern = patternOf(name);
        if (!pattern) {
            if (!frames.empty())
                throw UsageError("--frames: " + name + " has no place for the frame's number");
            files.push_back({name, frameNumberIn(name)});
            continue;
        }
        const auto first = files.size();
        for (const int frame : frames.empty() ? pattern->framesOnDisk() : wanted)
            files.push_back({pattern->fileName(frame), frame});
        if (std::none_of(files.begin() + static_cast<std::ptrdiff_t>(first), files.end(),
                         [](const InputFile& file) { return exists(file.name); }))
            MediaConversion::fail(name, ": no frames found");
    }
    return files;
}

std::vector<std::string> namesOf(const std::vector<InputFile>& files)
{
    std::vector<std::string> names;
    names.reserve(files.size());
    for (const auto& file : files)
        names.push_back(file.name);
    return names;
}

}
