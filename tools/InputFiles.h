#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace Zeq {

// The name of a frame sequence: "shot.####.zeq" or "shot.%04d.zeq". A number takes as many digits
// as there are signs, with zeros in front, and more where it has more.
struct FramePattern
{
    std::string before;  // the number, with the folder
    std::size_t digits;
    std::string after;

    // Gives nothing when the file's name has no place for a number; throws a UsageError when it has
    // two.
    static std::optional<FramePattern> parse(const std::string& path);

    std::string fileName(int frame) const;

    // The numbers of the files that the pattern gives the name of, in ascending order.
    std::vector<int> framesOnDisk() const;
};

// The sequence that a name stands for; a file that bears the very name comes first.
std::optional<FramePattern> sequenceOf(const std::string& name);

// The last number in a file's name, which is 12 for "shot2.0012.zeq".
std::optional<int> frameNumberIn(const std::string& path);

// The frames that a text like "1-100x2,200" names, in order and each once: every second one from 1
// to 100, and 200. Throws a UsageError.
std::vector<int> parseFrames(const std::string& text);

// A file that a command works on.
struct InputFile
{
    std::string name;
    std::optional<int> frame;  // its number in its sequence
    std::string problem = {};  // why there is nothing to read, where that is known already
};

// The files that are meant by names, patterns of frame sequences and, where `--frames` was given,
// certain frames of these. What is named is listed whether it exists or not, so that it is reported
// as a file that cannot be read; a sequence without any frame is one with a problem.
std::vector<InputFile> inputFiles(const std::vector<std::string>& names, const std::string& frames);

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

// The media files in a folder and in those inside it, by name. Folders and other entries that
// cannot be looked at have a problem, and so has the folder itself when nothing is found.
std::vector<InputFile> mediaFilesIn(const std::string& folder);

// Throws the file's problem.
void throwProblem(const InputFile& file);

// Does this with one file after the other and names those that fail. Gives their number.
std::size_t forEachFile(const std::vector<InputFile>& files,
                        const std::function<void(const std::string& name)>& operation);

}
