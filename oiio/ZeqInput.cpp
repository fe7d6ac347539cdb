#include "oiio/ZeqInput.h"

#include "MediaConversion/Errors.h"
#include "MediaConversion/MediaFile/FileNames.h"
#include "MediaConversion/MediaFile/Headers.h"
#include "oiio/PictureDescription.h"

#include <algorithm>
#include <exception>
#include <ios>

namespace OpenImageIoPlugIn {

using MediaConversion::fail;
using OIIO::stride_t;
using OIIO::TypeDesc;

template <class Operation>
bool ZeqInput::reportErrors(const Operation& operation)
{
    try {
        operation();
        return true;
    } catch (const std::exception& error) {
        errorfmt("{}", error.what());
        return false;
    }
}

bool ZeqInput::valid_file(const std::string& fileName) const
{
    MediaConversion::FileStream file;
    file.open(fileName, std::ios_base::in | std::ios_base::binary);
    MediaConversion::LittleEndianReader fields(file);
    return readMagic(fields).has_value();
}

bool ZeqInput::open(const std::string& fileName, OIIO::ImageSpec& description)
{
    const lock_guard lock(*this);
    close();
    const bool isOpen = reportErrors([&] {
        m_reader->open(MediaConversion::wideFileName(fileName));
        m_reader->checkFrame();
        const auto header = m_reader->mediaHeader();
        const auto frame = m_reader->frameHeader();
        if (frame.frameWidth == 0 || frame.frameHeight == 0)
            fail("no image data in frame");
        m_spec = descriptionOf(header, frame,
                               MediaConversion::mediaFormatCodes().at(header.mediaFormatCode));
        description = m_spec;
    });
    if (!isOpen)
        close();
    return isOpen;
}

bool ZeqInput::close()
{
    const lock_guard lock(*this);
    m_reader.emplace(m_streams);
    m_rows.reset();
    m_spec = {};
    return true;
}

bool ZeqInput::read_scanline(int y, int z, TypeDesc type, void* data, stride_t pixelDistance)
{
    return read_scanlines(0, 0, y, y + 1, z, 0, -1, type, data, pixelDistance, OIIO::AutoStride);
}

bool ZeqInput::read_native_scanline(int subimage, int mipLevel, int y, int z, void* data)
{
    return read_native_scanlines(subimage, mipLevel, y, y + 1, z, data);
}

bool ZeqInput::read_native_scanlines(int subimage, int mipLevel, int firstY, int endY, int z,
                                     void* data)
{
    return read_native_scanlines(subimage, mipLevel, firstY, endY, z, 0, -1, data);
}

bool ZeqInput::read_native_scanlines(int subimage, int mipLevel, int firstY, int endY, int z,
                                     int firstChannel, int endChannel, void* data)
{
    return read_scanlines(subimage, mipLevel, firstY, endY, z, firstChannel, endChannel,
                          TypeDesc::UNKNOWN, data, OIIO::AutoStride, OIIO::AutoStride);
}

bool ZeqInput::read_scanlines(int subimage, int mipLevel, int firstY, int endY, int z,
                              int firstChannel, int endChannel, TypeDesc type, void* data,
                              stride_t pixelDistance, stride_t rowDistance)
{
    return reportErrors([&] {
        std::shared_ptr<const StoredRows> stored;
        RowRange rows{};
        RowsTarget target{};
        {
            const lock_guard lock(*this);
            if (!seek_subimage(subimage, mipLevel))
                fail("Media file has one picture of one resolution");
            auto& storedNow = storedRows();
            // Hosts may ask for more rows and channels than there are.
            rows = {firstY, std::min(endY, m_spec.height)};
            if (z != 0 || rows.first < 0 || rows.first >= rows.end)
                fail("Media file has no rows ", firstY, " to ", endY - 1);
            if (endChannel < 0 || endChannel > m_spec.nchannels)
                endChannel = m_spec.nchannels;
            if (firstChannel < 0 || firstChannel >= endChannel)
                fail("Media file has no channels ", firstChannel, " to ", endChannel - 1);
            if (type == TypeDesc::UNKNOWN)
                type = m_spec.format;
            stride_t planeDistance = OIIO::AutoStride;
            OIIO::ImageSpec::auto_stride(pixelDistance, rowDistance, planeDistance,
                                         static_cast<stride_t>(type.size()),
                                         endChannel - firstChannel, m_spec.width, m_spec.height);
            target = {static_cast<std::byte*>(data),
                      type,
                      firstChannel,
                      endChannel,
                      pixelDistance,
                      rowDistance};
            if (StoredRows::areFew(rows))
                return storedNow.readOnward(rows, target);
            stored = m_rows;
        }
        stored->read(rows, target, threads());
    });
}

StoredRows& ZeqInput::storedRows()
{
    if (!m_rows)
        m_rows = std::make_shared<StoredRows>(m_reader->readFrame());
    return *m_rows;
}

}
