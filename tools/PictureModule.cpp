#include "tools/PictureModule.h"

#include "imaging/PictureReader.h"
#include "imaging/PictureWriter.h"

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
    // With -1, OpenEXR works in the thread that calls it. A single thread of its own would do the
    // work of all files that are converted at once.
    const int threads = cv::getNumThreads();
    OIIO::attribute("threads", threads);
    OIIO::attribute("exr_threads", threads == 1 ? -1 : threads);
    return &module;
}
