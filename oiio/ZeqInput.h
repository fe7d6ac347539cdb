#pragma once

#include "MediaConversion/MediaFile/FileStreams.h"
#include "MediaConversion/MediaFile/VelmoraMediaFileReader.h"
#include "oiio/StoredRows.h"

#include <OpenImageIO/imageio.h>

#include <memory>
#include <optional>
#include <string>

namespace OpenImageIoPlugIn {

// Reads one media file. The frame is read with the first rows that are asked for and kept as it is
// stored until the file is closed, so that it is served as often as a host wants. Standard
// exceptions become the errors of the input, with the library's own texts.
class ZeqInput final : public OIIO::ImageInput
{
public:
    ZeqInput() { close(); }

    const char* format_name() const override { return "zeq"; }
    bool valid_file(const std::string& fileName) const override;

    // Refuses a file whose frame would not be read, as far as its headers and its length tell:
    // hosts take the memory that a description asks for.
    bool open(const std::string& fileName, OIIO::ImageSpec& description) override;
    bool close() override;

    bool read_scanline(int y, int z, OIIO::TypeDesc type, void* data,
                       OIIO::stride_t pixelDistance) override;
    bool read_scanlines(int subimage, int mipLevel, int firstY, int endY, int z, int firstChannel,
                        int endChannel, OIIO::TypeDesc type, void* data,
                        OIIO::stride_t pixelDistance, OIIO::stride_t rowDistance) override;
    bool read_native_scanline(int subimage, int mipLevel, int y, int z, void* data) override;
    bool read_native_scanlines(int subimage, int mipLevel, int firstY, int endY, int z,
                               void* data) override;
    bool read_native_scanlines(int subimage, int mipLevel, int firstY, int endY, int z,
                               int firstChannel, int endChannel, void* data) override;

    using OIIO::ImageInput::open;
    using OIIO::ImageInput::read_native_scanlines;
    using OIIO::ImageInput::read_scanline;
    using OIIO::ImageInput::read_scanlines;
    using OIIO::ImageInput::valid_file;

private:
    template <class Operation>
    bool reportErrors(const Operation& operation);

    StoredRows& storedRows();

    MediaConversion::FileStreamFactory m_streams;
    std::optional<MediaConversion::VelmoraMediaFileReader> m_reader;
    std::shared_ptr<StoredRows> m_rows;  // shared with threads that read many rows
};

}
