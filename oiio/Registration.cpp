#include "MediaConversion/MediaPipeline/HostMemoryResource.h"
#include "MediaConversion/Version.h"
#include "oiio/ZeqInput.h"
#include "oiio/ZeqOutput.h"

#include <cstdint>
#include <string>

// What OpenImageIO looks up by name when it loads the plug-in.
namespace OpenImageIoPlugIn {

namespace {

// Blocks of a few 4K frames, which a host gets back when other frames want more.
constexpr std::uint64_t mostIdleBytes = std::uint64_t{256} << 20;

// Not before the first file: a host that only loads the plug-in pays nothing.
void installMemoryPoolOnce()
{
    [[maybe_unused]] static const bool isInstalled =
        (Velmora::installMemoryPoolForFrames(mostIdleBytes), true);
}

}

OIIO_PLUGIN_EXPORTS_BEGIN

OIIO_EXPORT int zeq_imageio_version = OIIO_PLUGIN_VERSION;

OIIO_EXPORT const char* zeq_imageio_library_version()
{
    static const auto& text =
        *new std::string("MediaConversion " + MediaConversion::Version::text());
    return text.c_str();
}

OIIO_EXPORT OIIO::ImageInput* zeq_input_imageio_create()
{
    installMemoryPoolOnce();
    return new ZeqInput;
}

OIIO_EXPORT const char* zeq_input_extensions[] = {"zeq", nullptr};

OIIO_EXPORT OIIO::ImageOutput* zeq_output_imageio_create()
{
    installMemoryPoolOnce();
    return new ZeqOutput;
}

OIIO_EXPORT const char* zeq_output_extensions[] = {"zeq", nullptr};

OIIO_PLUGIN_EXPORTS_END

}
