#pragma once

#include "MediaConversion/MediaPipeline/FrameFormat.h"

namespace Velmora {

// The matrix of a packed frame: one element per group.
struct PackedMatrixShape
{
    int groupRows;
    int groupColumns;
    int cvType;
};

// The matrix of a frame of width x height pixels. Throws a std::runtime_error when the pixels do
// not fill whole groups, columns first, or when a group does not fill an element of the OpenCV
// type.
PackedMatrixShape packedMatrixShape(const FrameFormat& format, int cvType, int width, int height);

}
