#pragma once

#include "imaging/Picture.h"

#include <optional>
#include <string>
#include <vector>

namespace Zeq {

using Imaging::SampleDepth;

// A kind of picture file that is written.
struct PictureType
{
    std::vector<std::string> extensions;
    std::vector<SampleDepth> depths;  // in the order in which they are tried
    bool holdsAlpha;
};

const std::vector<PictureType>& pictureTypes();

// Finds a kind by its extension, without the dot and in any case of letters; gives null for files
// that are not written.
const PictureType* findPictureType(const std::string& extension);

// Depths are asked for as "8", "10", "12", "16", "half" and "float".
std::string nameOf(SampleDepth depth);
std::vector<std::string> depthNames();
SampleDepth depthNamed(const std::string& name);

// The depth in which samples are stored without loss; throws when there is none.
SampleDepth losslessDepth(const PictureType& type, SampleDepth source, bool hasAlpha);

// The depth that was asked for; throws when the type does not have it.
SampleDepth checkedDepth(const PictureType& type, SampleDepth depth, bool hasAlpha);

}
