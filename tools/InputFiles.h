#pragma once

#include <optional>
#include <string>
#include <vector>

namespace Zeq {

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

// The media files in a folder and in those inside it, by name. Folders and other entries that
// cannot be looked at have a problem, and so has the folder itself when nothing is found.
std::vector<InputFile> mediaFilesIn(const std::string& folder);

// Throws the file's problem.
void throwProblem(const InputFile& file);

}
