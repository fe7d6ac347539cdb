#include "MediaConversion/MediaPipeline/Frames.h"
#include "MediaConversion/MediaPipeline/HostMemoryResource.h"
#include "MediaConversion/MediaPipeline/MemoryPool.h"
#include "reader/qmxReaderFormat.h"
#include "reader/qmxReaderMCL.h"

#include <cstring>
#include <memory>

namespace {

// The pool that all frames of the process share.
void installMemoryPool()
{
    Velmora::ImageFrame::setMemoryPool(
        std::make_shared<Velmora::SelfPruningMemoryPool<Velmora::HostMemoryResource>>());
}

DD::Image::Reader* newReader(DD::Image::Read* readOperator, int descriptor,
                             const unsigned char* block, int length)
{
    // Not before the first reader: a host that only loads the plug-in keeps its own allocator.
    [[maybe_unused]] static const bool isInstalled = (installMemoryPool(), true);
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
