#pragma once

#include "imaging/Picture.h"
#include "tools/Commands.h"
#include "tools/Jobs.h"
#include "tools/OpenFile.h"
#include "tools/ReadingArguments.h"

#include <opencv2/core/types.hpp>

#include <string>
#include <vector>

namespace Zeq {

// How the pictures on sheets and the thumbnails are made.
struct ViewOptions
{
    int side = 0;               // the longer one
    bool isForDisplay = false;  // linear light gets the curve of sRGB
    ReadingSettings reading = {};
};

std::vector<Argument> viewArguments(ViewOptions& options);

// A picture for people to look at, with the size that it has in its file.
struct ReducedPicture
{
    Picture picture;
    cv::Size size;
};

// Reads a file within the budget and reduces it. Throws a std::exception.
ReducedPicture readReduced(const std::string& fileName, const ReadingOptions& reading,
                           const ViewOptions& options, MemoryBudget& budget);

// What is said of --srgb, for the descriptions of sub-commands.
inline const std::string displayText =
    R"(Values are shown as they are stored. Where they are linear light, as in most EXR files, pictures
look too dark: with --srgb those of half or float depth get the curve of sRGB; others stay as they
are.)";

}
