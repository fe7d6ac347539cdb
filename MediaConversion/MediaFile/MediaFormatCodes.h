#pragma once

#include "MediaConversion/MediaPipeline/FrameFormat.h"

#include <cstdint>
#include <map>

namespace MediaConversion {

// The frame formats of media files by the code in the media header. Codes are looked up as they
// stand; their bits have no meaning of their own.
const std::map<std::uint32_t, Velmora::FrameFormat>& mediaFormatCodes();

}
