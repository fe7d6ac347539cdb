#pragma once

#include "imaging/Picture.h"

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

// Finds a kind by its extension, in lower case and without the dot; gives null for files that are
// not written.
const PictureType* findPictureType(const std::string& extension);

// Whether files that are named so are pictures, written or only read. Not media files.
bool isPictureKind(const std::string& extension);

// The depth in which samples are stored without loss; throws when there is none.
SampleDepth losslessDepth(const PictureType& type, SampleDepth source, bool hasAlpha);

// The depth that was asked for; throws when the type does not have it.
SampleDepth checkedDepth(const PictureType& type, SampleDepth depth, bool hasAlpha);

}
