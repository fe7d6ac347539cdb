#pragma once

#include "MediaConversion/MediaFile/Headers.h"
#include "MediaConversion/MediaFile/VelmoraMediaFileWriter.h"
#include "MediaConversion/MediaPipeline/Formats.h"

#include <OpenImageIO/imageio.h>

// How media files and their formats are described to OpenImageIO, and the way back. The attributes
// that begin with "zeq:" hold what only media files have: a copy that keeps them is the same file.
namespace OpenImageIoPlugIn {

using Velmora::FrameFormat;

// The full format in which hosts get the samples of a stored one when they ask for no type.
const FrameFormat& nativeFormat(const FrameFormat& stored);

// The type of a full format's samples.
OIIO::TypeDesc sampleType(const FrameFormat& full);

// The frame is the data window, the picture the display window, both from the upper left corner on.
// Where the picture has no pixels, as headers may say, the display window is the data window.
OIIO::ImageSpec descriptionOf(const MediaConversion::MediaHeader& header,
                              const MediaConversion::FrameHeader& frame, const FrameFormat& stored);

// The format that the attribute zeq:format asks for, or the one that suits the samples. Throws a
// std::runtime_error for a name that no format has.
FrameFormat storedFormat(const OIIO::ImageSpec& description);

// Throws a std::runtime_error for a value that a header cannot hold.
MediaConversion::MediaFileOptions mediaFileOptions(const OIIO::ImageSpec& description);

}
