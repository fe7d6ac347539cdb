#pragma once

#include "MediaConversion/MediaPipeline/FrameFormat.h"

#include <map>

// The formats that have a name. They are functions, so that no table of formats has to wait for
// another's start-up. Colourspace, packing and so on stand in the table of Formats.cpp.
namespace Velmora::Formats {

// Full formats: a group is a pixel, and the name says in which order its channels lie in memory.
// There is no BGR at U15plus1, and ARGB has its 16-bit format at U15plus1 only.
FrameFormat RGB_U8();
FrameFormat RGB_U10();
FrameFormat RGB_U12();
FrameFormat RGB_U15plus1();
FrameFormat RGB_U16();
FrameFormat RGB_F32();
FrameFormat BGR_U8();
FrameFormat BGR_U10();
FrameFormat BGR_U12();
FrameFormat BGR_U16();
FrameFormat BGR_F32();
FrameFormat RGBA_U8();
FrameFormat BGRA_U8();
FrameFormat BGRA_U16();
FrameFormat BGRA_F32();
FrameFormat ARGB_U8();
FrameFormat ARGB_U15plus1();
FrameFormat CoCgAY_U8();

// Packed formats: a group holds the samples of one or several pixels, laid out as the converter of
// each describes.
FrameFormat RGB_DPX_FILLED();
FrameFormat BGR_DPX_FILLED();
FrameFormat RGB_DPX_PACKED();
FrameFormat BGR_DPX_PACKED();
FrameFormat RGB_SMPTE_2110();
FrameFormat BGR_SMPTE_2110();
FrameFormat YUYV_422();
FrameFormat ZEQ_422();
FrameFormat ZEQ_4224_HYBRID();
FrameFormat ZEQ_420();
FrameFormat YCoCg_DXT5();
FrameFormat RGB_DXT1();

}

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
