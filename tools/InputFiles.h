#pragma once

#include <optional>
#include <string>
#include <vector>

namespace Zeq {

struct InputFile
{
    std::string name;
    std::optional<int> frame;  // its number in its sequence
};

// The files that are meant by names, patterns of frame sequences and, where `--frames` was given,
// certain frames of these. What is named is listed whether it exists or not, so that it is reported
// as a file that cannot be read. Throws a std::runtime_error when a sequence has no frame at all.
std::vector<InputFile> inputFiles(const std::vector<std::string>& names, const std::string& frames);

std::vector<std::string> namesOf(const std::vector<InputFile>& files);

}
