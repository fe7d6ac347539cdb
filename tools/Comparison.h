#pragma once

#include "MediaConversion/MediaPipeline/Formats.h"
#include "imaging/Difference.h"
#include "imaging/Picture.h"
#include "tools/Jobs.h"

#include <optional>
#include <string>
#include <vector>

namespace Zeq {

// Two files to be compared, or one with itself as a media file of some format would hold it.
struct Pair
{
    std::string name;
    std::string otherName;  // of the other file, or of the picture in the format
    std::optional<int> frame = std::nullopt;
    std::optional<Velmora::FrameFormat> format = std::nullopt;
    std::string heatMap = {};  // the file to write, if any
    std::string problem = {};  // why they cannot be compared, where that is known already
};

// The two files, or the frames of two sequences by their numbers. A frame that only one sequence
// has is a pair with a problem. Throws a UsageError for a file and a sequence.
std::vector<Pair> pairsOf(const std::string& name, const std::string& otherName,
                          const std::string& frames);

// The file, or each frame of the sequence, and what a format makes of it.
std::vector<Pair> pairsWithFormat(const std::string& name, const Velmora::FrameFormat& format,
                                  const std::string& frames);

// Gives each pair without a problem a file for its heat map, as outputs of conversions are named.
// Throws a UsageError, also where that is one of the compared files.
void planHeatMaps(std::vector<Pair>& pairs, const std::string& output);

// What came of a pair.
struct Comparison
{
    Imaging::Difference difference = {};
    bool hasAlpha = false;
    bool otherHasAlpha = false;
};

// Compares the pair and writes its heat map. Throws a FileError.
Comparison compare(const Pair& pair, const Imaging::ReadingOptions& reading, MemoryBudget& budget);

}
