#pragma once

#include "tools/FramePattern.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace Zeq {

// The frames that a text like "1-100x2,200" or "1-100:2,200" names, in order and each once: every
// second one from 1 to 100, and 200. Numbers may be negative: "-5--1". Throws a UsageError.
std::vector<int> parseFrames(const std::string& text);

// A file that a command works on.
struct InputFile
{
    std::string name;
    std::optional<int> frame;  // its number in its sequence
    std::string problem = {};  // why there is nothing to read, where that is known already
    std::string folder = {};   // the one that was named, if the file was found in it
};

// What of a folder is meant by its name, the folders inside included.
enum class InFolders
{
    nothing,
    mediaFiles,
    pictures,  // media files and all else by whose name it can be told that it is a picture
};

// The files that are meant by names, folders, patterns of frame sequences and, where `--frames` was
// given, certain frames of these. What is named is listed whether it exists or not, so that it is
// reported as a file that cannot be read; a sequence or a folder without any file is one with a
// problem, and so is what cannot be looked at in a folder. Hidden files are left out of folders.
std::vector<InputFile> inputFiles(const std::vector<std::string>& names, const std::string& frames,
                                  InFolders inFolders = InFolders::pictures);

// One of several tasks that work on the same files side by side. Each takes every `count`-th file
// from its own on, whatever exists already, so that neighbours, which cost alike, are spread.
struct Share
{
    std::size_t number = 1;  // from 1 on
    std::size_t count = 1;

    // Of a text like "2/10", or the whole of an empty one. Throws a UsageError.
    static Share parse(const std::string& text);

    bool isFirst() const { return number == 1; }
    bool has(std::size_t index) const { return index % count == number - 1; }
};

template <class File>
std::vector<File> shareOf(const std::vector<File>& files, const Share& share)
{
    std::vector<File> own;
    for (std::size_t index = 0; index < files.size(); ++index)
        if (share.has(index))
            own.push_back(files[index]);
    return own;
}

// Frames that are missing one after the other.
struct Gap
{
    std::string first;
    std::string last;
    std::size_t count = 0;

    std::string text() const;
};

// What is missing between two frames, of which the second may be the same or a later one.
Gap gapBetween(const FramePattern& sequence, int frame, int next);

// Names the frames that are missing between the first and the last on the disk, of each sequence
// among the names, and gives their number. What `--frames` names is missing or not by itself.
std::size_t reportGaps(const std::vector<std::string>& names, const std::string& frames);

// Throws the file's problem.
void throwProblem(const InputFile& file);

// Does this with one file after the other and names those that fail. Gives their number.
std::size_t forEachFile(const std::vector<InputFile>& files,
                        const std::function<void(const std::string& name)>& operation);

}
