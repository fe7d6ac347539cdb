#pragma once

#include "MediaConversion/MediaPipeline/FrameFormat.h"

#include <map>

namespace Velmora {

// OpenCV's type code of the matrix that holds a frame, by the frame's format. A frame cannot be
// built in a format that its table lacks.
using CvTypes = std::map<FrameFormat, int>;

// The 27 formats of full frames: a matrix element is a pixel.
const CvTypes& FullFormatCvTypes();

// The 12 formats of packed frames: a matrix element is a group.
const CvTypes& PackedFormatCvTypes();

// The table's type code for the format; throws a std::runtime_error when the table has none.
int openCvType(const FrameFormat& format, const CvTypes& table);

}
