#include "tools/PictureModule.h"

#include "imaging/PictureFiles.h"

#include <OpenImageIO/imageio.h>

#include <opencv2/core/utility.hpp>

extern "C" __attribute__((visibility("default"))) const Zeq::PictureModule* zeqPictureModule()
{
    static constexpr Zeq::PictureModule module{
        .open = Imaging::openPicture,
        .write = Imaging::writePicture,
        .writeContactSheet = Imaging::writeContactSheet,
        .writeHeatMap = Imaging::writeHeatMap,
        .openImageIoVersion = OIIO_VERSION_STRING,
    };
    for (const auto* const attribute : {"threads", "exr_threads"})
        OIIO::attribute(attribute, cv::getNumThreads());
    return &module;
}
