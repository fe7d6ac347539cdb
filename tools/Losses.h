#pragma once

#include "imaging/OutsideValues.h"
#include "tools/OpenFile.h"

#include <cstdint>
#include <string>

namespace Zeq {

// What was cut off at 0 and 1 of this many pixels, in words; nothing where that was nothing.
std::string cutOffText(const Imaging::OutsideValues& outside, std::uint64_t pixelCount,
                       bool hasAlpha);

// What of a picture that was read an output of this kind cannot hold, in words.
std::string lossText(const IOpenFile& file, bool holdsAlpha, bool isFloat);

// How that is accepted.
inline const std::string acceptanceText = " (--clip accepts that)";

}
