#pragma once

#include "MediaConversion/MediaFile/VelmoraMediaFileWriter.h"
#include "MediaConversion/MediaPipeline/Frames.h"

#include <OpenImageIO/imageio.h>

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace OpenImageIoPlugIn {

// Writes one media file, of three or four channels. Rows come from the upper one on; some at a time
// are converted to the stored format. With the last row, the file appears under its name: what was
// there before stays as it was until then. Standard exceptions become the errors of the output.
class ZeqOutput final : public OIIO::ImageOutput
{
public:
    const char* format_name() const override { return "zeq"; }
    int supports(OIIO::string_view feature) const override;

    bool open(const std::string& fileName, const OIIO::ImageSpec& description,
              OpenMode mode) override;

    // Fails when rows are missing; there is then no file.
    bool close() override;

    bool write_scanline(int y, int z, OIIO::TypeDesc type, const void* data,
                        OIIO::stride_t pixelDistance) override;

    using OIIO::ImageOutput::open;
    using OIIO::ImageOutput::write_scanline;

private:
    template <class Operation>
    bool reportErrors(const Operation& operation);

    // The frame of the file that is being written.
    struct Picture
    {
        std::string fileName;
        MediaConversion::MediaFileOptions options;
        std::unique_ptr<Velmora::ImageFrame> frame;  // in the stored format
        int x = 0;                                   // of the frame's upper left pixel
        int y = 0;
        cv::Mat band;                // rows in BGRA_F32 until they are converted
        int rows = 0;                // of the frame that are in it or in the band
        std::vector<float> samples;  // a row as it is given, in float
    };

    void start(const std::string& fileName, const OIIO::ImageSpec& description);
    void take(int y, OIIO::TypeDesc type, const void* data, OIIO::stride_t pixelDistance);
    void addRow(std::span<const float> samples = {});
    void finish();

    std::unique_ptr<Picture> m_picture;  // none between files, nor once one has failed
    int m_nextY = 0;
};

}
