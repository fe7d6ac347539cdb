#include "tools/InputFiles.h"

#include "tools/Command.h"
#include "tools/Files.h"
#include "tools/FramePattern.h"
#include "tools/FrameRange.h"

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <iterator>
#include <stdexcept>

namespace Zeq {

namespace {

namespace fs = std::filesystem;

// A file that bears the very name comes before the sequence that it might stand for.
std::optional<FramePattern> patternOf(const std::string& name)
{
    return exists(name) ? std::nullopt : FramePattern::parse(name);
}

// The pattern's frames, those that were asked for or all on the disk.
std::vector<InputFile> framesOf(const FramePattern& pattern, const std::string& name,
                                const std::optional<std::vector<int>>& wanted)
try {
    std::vector<InputFile> files;
    for (const int frame : wanted ? *wanted : pattern.framesOnDisk())
        files.push_back({pattern.fileName(frame), frame});
    if (std::ranges::none_of(files, exists, &InputFile::name))
        return {{name, {}, "no frames found"}};
    return files;
} catch (const fs::filesystem_error& error) {
    return {{name, {}, error.code().message()}};
}

void append(std::vector<InputFile>& files, std::vector<InputFile> more)
{
    std::ranges::move(more, std::back_inserter(files));
}

// What bears the name of a media file is one, though it may be a link to nothing or a pipe: it is
// the reader who says what is wrong with it. Links to folders are not followed.
void appendEntries(std::vector<fs::path> folders, std::vector<InputFile>& files)
{
    while (!folders.empty()) {
        const auto folder = folders.back();
        folders.pop_back();
        std::error_code error;
        fs::directory_iterator entry(folder, error);
        for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
            std::error_code problem;
            const auto kind = entry->status(problem).type();
            if (kind == fs::file_type::none)
                files.push_back({entry->path(), {}, problem.message()});
            else if (kind != fs::file_type::directory && hasMediaFileExtension(entry->path()))
                files.push_back({entry->path(), {}});
            else if (kind == fs::file_type::directory && !entry->is_symlink(problem))
                folders.push_back(entry->path());
        }
        if (error)
            files.push_back({folder, {}, error.message()});
    }
}

}

std::vector<InputFile> inputFiles(const std::vector<std::string>& names, const std::string& frames)
{
    const auto wanted = frames.empty() ? std::nullopt : std::optional(parseFrames(frames));
    std::vector<InputFile> files;
    for (const auto& name : names) {
        if (name.empty())
            files.push_back({"''", {}, "no file has an empty name"});
        else if (const auto pattern = patternOf(name))
            append(files, framesOf(*pattern, name, wanted));
        else if (wanted)
            throw UsageError("--frames: " + name + " has no place for the frame's number");
        else
            files.push_back({name, frameNumberIn(name)});
    }
    return files;
}

std::vector<InputFile> mediaFilesIn(const std::string& folder)
{
    std::vector<InputFile> files;
    appendEntries({folder}, files);
    std::ranges::sort(files, {}, &InputFile::name);
    if (files.empty())
        files.push_back({folder, {}, "no media files found"});
    return files;
}

void throwProblem(const InputFile& file)
{
    if (!file.problem.empty())
        throw std::runtime_error(file.problem);
}

}
