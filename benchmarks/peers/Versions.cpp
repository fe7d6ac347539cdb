#include "benchmarks/peers/Versions.h"

#include <OpenImageIO/oiioversion.h>

extern "C" {
#include <libavutil/avutil.h>
}

namespace Benchmarks::Peers {

std::string versions()
{
    return std::string("FFmpeg ") + av_version_info() +
           ", OpenImageIO " OIIO_VERSION_STRING ", OpenCV as above, libsquish " SQUISH_VERSION
           ", stb_dxt 1.12";
}

}
