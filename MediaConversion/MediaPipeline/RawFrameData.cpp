#include "MediaConversion/MediaPipeline/RawFrameData.h"

#include "MediaConversion/Errors.h"

#include <utility>

namespace Velmora {

RawFrameData::RawFrameData(std::unique_ptr<PooledBuffer> data, std::uint64_t pixelDataOffset,
                           std::uint64_t pixelDataEnd)
    : m_data(std::move(data)), m_pixelDataOffset(pixelDataOffset), m_pixelDataEnd(pixelDataEnd)
{
    using MediaConversion::fail;
    if (!m_data)
        fail("Null data");
    const auto size = m_data->size();
    if (m_pixelDataOffset > size)
        fail("Pixel data offset (", m_pixelDataOffset, ") exceeds data size (", size, ")");
    if (m_pixelDataEnd == 0)
        return;
    if (m_pixelDataEnd < m_pixelDataOffset)
        fail("Pixel data end (", m_pixelDataEnd, ") is before pixel data offset (",
             m_pixelDataOffset, ")");
    if (m_pixelDataEnd > size)
        fail("Pixel data end (", m_pixelDataEnd, ") exceeds data size (", size, ")");
}

std::uint64_t RawFrameData::pixelByteCount() const
{
    return (m_pixelDataEnd ? m_pixelDataEnd : m_data->size()) - m_pixelDataOffset;
}

}
