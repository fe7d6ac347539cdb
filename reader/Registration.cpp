#include "MediaConversion/MediaPipeline/HostMemoryResource.h"
#include "reader/qmxReaderFormat.h"
#include "reader/qmxReaderMCL.h"

#include <cstring>

namespace {

DD::Image::Reader* newReader(DD::Image::Read* readOperator, int descriptor,
                             const unsigned char* block, int length)
{
    // Not before the first reader: a host that only loads the plug-in keeps its own allocator.
    [[maybe_unused]] static const bool isInstalled = (Velmora::installMemoryPool(), true);
    return new qmxReaderMCL(readOperator, descriptor, block, length);
}

// The fourth byte of the magic may be a blank or "Z".
bool isMediaFile(int, const unsigned char* block, int)
{
    return std::memcmp(block, "zeq", 3) == 0;
}

DD::Image::ReaderFormat* newFormat(DD::Image::Read*)
{
    return new qmxReaderFormat;
}

const DD::Image::Reader::Description description("zeq\0", "qmx", newReader, isMediaFile, newFormat);

}
