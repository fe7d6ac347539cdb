#include "MediaConversion/MediaFile/RawFrameCreator.h"

#include "MediaConversion/Errors.h"
#include "MediaConversion/MediaPipeline/FullFrame.h"
#include "MediaConversion/MediaPipeline/PackedFrame.h"

#include <utility>

namespace MediaConversion {

namespace {

template <class Frame>
constexpr RawFrameCreator creatorOf{
    .create = [](const Velmora::FrameFormat& format, int rows, int columns,
                 std::unique_ptr<Velmora::RawFrameData> rawFrameData)
        -> std::unique_ptr<Velmora::ImageFrame> {
        return std::make_unique<Frame>(format, columns, rows, std::move(rawFrameData));
    },
    .checkByteCount =
        [](const Velmora::FrameFormat& format, int rows, int columns, std::uint64_t byteCount) {
            Frame::checkByteCount(format, columns, rows, byteCount);
        },
};

}

RawFrameCreator rawFrameCreator(const Velmora::FrameFormat& format)
{
    if (Velmora::FullFormatCvTypes().contains(format))
        return creatorOf<Velmora::FullFrame>;
    if (Velmora::PackedFormatCvTypes().contains(format))
        return creatorOf<Velmora::PackedFrame>;
    // The two blanks before the name are part of the message.
    fail("Raw frame creator not available for frame format  ", format);
}

}
