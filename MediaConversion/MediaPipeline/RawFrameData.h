#pragma once

#include "MediaConversion/MediaPipeline/PooledBuffer.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace Velmora {

// The bytes of one frame as read from a file. Headers before the pixels may stay in the buffer.
class RawFrameData
{
public:
    // The pixels lie from `pixelDataOffset` to `pixelDataEnd`, both in bytes from the start of the
    // buffer; an end of 0 means the end of the buffer. Throws a std::runtime_error when there is no
    // buffer or when they do not lie inside it.
    RawFrameData(std::unique_ptr<PooledBuffer> data, std::uint64_t pixelDataOffset,
                 std::uint64_t pixelDataEnd = 0);

    std::byte* pixels() const { return m_data->data() + m_pixelDataOffset; }
    std::uint64_t pixelByteCount() const;

private:
    std::unique_ptr<PooledBuffer> m_data;
    std::uint64_t m_pixelDataOffset;
    std::uint64_t m_pixelDataEnd;
};

}
